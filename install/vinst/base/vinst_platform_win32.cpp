#include "install/vinst/base/vinst_platform.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTextCodec>

#include <array>
#include <vector>

#include <windows.h>

namespace
{

/// Sets the console's code page to UTF-8 and restores the user's afterwards.
class UTF8_CONSOLE
{
public:
    UTF8_CONSOLE() : m_previous(::GetConsoleOutputCP()) { ::SetConsoleOutputCP(CP_UTF8); }
    ~UTF8_CONSOLE()
    {
        if (m_previous != 0)
            ::SetConsoleOutputCP(m_previous);
    }
    UTF8_CONSOLE(const UTF8_CONSOLE&) = delete;
    UTF8_CONSOLE& operator=(const UTF8_CONSOLE&) = delete;

private:
    UINT m_previous;
};

}

QString host_platform()
{
    return QStringLiteral("windows");
}

bool has_admin_rights()
{
    std::array<unsigned char, SECURITY_MAX_SID_SIZE> administrators{};
    DWORD size = administrators.size();
    BOOL is_member = FALSE;
    return ::CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators.data(),
                                &size) != FALSE &&
           ::CheckTokenMembership(nullptr, administrators.data(), &is_member) != FALSE &&
           is_member != FALSE;
}

QString library_directory()
{
    HMODULE module = nullptr;
    const auto address = reinterpret_cast<LPCWSTR>(&library_directory);
    if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                 GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             address, &module) == FALSE)
        return QCoreApplication::applicationDirPath();
    std::vector<wchar_t> path(MAX_PATH);
    DWORD size = 0;
    while ((size = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) ==
           path.size())
        path.resize(path.size() * 2);
    return QFileInfo(QString::fromWCharArray(path.data(), static_cast<int>(size))).path();
}

void open_missing_standard_streams()
{
    // The C library has already reserved its descriptors 0 to 2: without a handle, printing fails
    // and nothing opened later gets these numbers. The system's own standard handles remain: a
    // caller may have passed on a value that is invalid in this process, but may be reused for a
    // file. Windowed programs usually have none, which is safe.
    for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
    {
        const HANDLE handle = ::GetStdHandle(stream);
        DWORD flags = 0;
        if (handle != nullptr && ::GetHandleInformation(handle, &flags) == FALSE)
            ::SetStdHandle(stream, nullptr);
    }
}

void survive_closed_pipes()
{
    // Windows has no signal for that; writing fails.
}

void set_up_console()
{
    static const UTF8_CONSOLE console;
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode) != FALSE)
        ::SetConsoleMode(output,
                         mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING | DISABLE_NEWLINE_AUTO_RETURN);
}

bool has_display()
{
    return true;
}

void use_utf8_file_names()
{
    // File names are wide on Windows; this affects those converted from narrow text.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}
