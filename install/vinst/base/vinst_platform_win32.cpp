#include "install/vinst/base/vinst_platform.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTextCodec>

#include <array>
#include <atomic>
#include <vector>

#include <windows.h>

namespace
{

/// The user's console: its code page and the mode of its output.
class CONSOLE_SETTINGS
{
public:
    CONSOLE_SETTINGS() = default;
    ~CONSOLE_SETTINGS() { restore(); }
    CONSOLE_SETTINGS(const CONSOLE_SETTINGS&) = delete;
    CONSOLE_SETTINGS& operator=(const CONSOLE_SETTINGS&) = delete;

    void change()
    {
        if (m_is_changed)
            return;
        m_code_page = ::GetConsoleOutputCP();
        m_output = ::GetStdHandle(STD_OUTPUT_HANDLE);
        m_has_mode = ::GetConsoleMode(m_output, &m_mode) != FALSE;
        m_is_changed = true;
        ::SetConsoleOutputCP(CP_UTF8);
        if (m_has_mode)
            ::SetConsoleMode(m_output, m_mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING |
                                           DISABLE_NEWLINE_AUTO_RETURN);
    }

    void restore() noexcept
    {
        if (!m_is_changed.exchange(false))
            return;
        if (m_code_page != 0)
            ::SetConsoleOutputCP(m_code_page);
        if (m_has_mode)
            ::SetConsoleMode(m_output, m_mode);
    }

private:
    std::atomic<bool> m_is_changed{false}; ///< also protects the other members
    UINT m_code_page = 0;                  ///< 0: there is no console
    HANDLE m_output = nullptr;
    DWORD m_mode = 0;
    bool m_has_mode = false; ///< the output is a console's
};

CONSOLE_SETTINGS console_settings;

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
    console_settings.change();
}

void restore_console() noexcept
{
    console_settings.restore();
}

void suppress_system_dialogs()
{
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS);
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
