#include "support/fio/fio_file_system.h"

#include "support/fio/fio_repeat_win32.h"

#include <memory>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace
{

/// System calls require the prefix for longer paths; a directory must leave room for an 8.3 name.
constexpr std::size_t longest_plain_path = 246;

DWORD last_error_unless(BOOL succeeded)
{
    return succeeded != FALSE ? ERROR_SUCCESS : ::GetLastError();
}

DWORD remove_once(const FIO_PATH& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return ::GetLastError();
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return last_error_unless(::RemoveDirectoryW(path.c_str()));
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        ::SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    return last_error_unless(::DeleteFileW(path.c_str()));
}

bool is_gone(DWORD error)
{
    return error == ERROR_SUCCESS || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

struct LOCAL_DELETER
{
    void operator()(void* memory) const { ::LocalFree(memory); }
};
struct HANDLE_DELETER
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const
    {
        if (handle != INVALID_HANDLE_VALUE)
            ::CloseHandle(handle);
    }
};
using HANDLE_OWNER = std::unique_ptr<void, HANDLE_DELETER>;

/// Rights for the current user, the system and the administrators; none are inherited.
class PRIVATE_RIGHTS
{
public:
    PRIVATE_RIGHTS()
    {
        const std::wstring user = user_sid();
        if (user.empty())
            return;
        const std::wstring rights =
            L"D:P(A;OICI;FA;;;" + user + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1,
                                                                   &descriptor, nullptr) == FALSE)
            return;
        m_descriptor.reset(descriptor);
        m_attributes = {sizeof m_attributes, descriptor, FALSE};
    }

    SECURITY_ATTRIBUTES* get() { return m_descriptor == nullptr ? nullptr : &m_attributes; }

private:
    static std::wstring user_sid()
    {
        HANDLE token = nullptr;
        if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE)
            return {};
        const HANDLE_OWNER owner(token);
        alignas(TOKEN_USER) char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
        DWORD size = 0;
        wchar_t* text = nullptr;
        if (::GetTokenInformation(token, TokenUser, user, sizeof user, &size) == FALSE ||
            ::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user)->User.Sid, &text) == FALSE)
            return {};
        const std::unique_ptr<void, LOCAL_DELETER> text_owner(text);
        return text;
    }

    std::unique_ptr<void, LOCAL_DELETER> m_descriptor;
    SECURITY_ATTRIBUTES m_attributes = {};
};

}

FIO_PATH fio_path(std::string_view utf8)
{
    FIO_PATH path = std::filesystem::u8path(utf8).make_preferred();
    const std::wstring& text = path.native();
    if (text.size() <= longest_plain_path || !path.is_absolute() || text.rfind(L"\\\\?\\", 0) == 0)
        return path;
    // With the prefix the system doesn't normalize the path, so ".." must be resolved first.
    const std::wstring whole = path.lexically_normal().native();
    return whole.rfind(L"\\\\", 0) == 0 ? L"\\\\?\\UNC" + whole.substr(1) : L"\\\\?\\" + whole;
}

// The standard library's queries fail for paths with the prefix.
bool FIO_FILE_SYSTEM::exists(const std::string& path)
{
    return ::GetFileAttributesW(fio_path(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

FIO_FILE_SYSTEM::RENAMING FIO_FILE_SYSTEM::rename(const FIO_PATH& from, const FIO_PATH& to,
                                                  bool overwrite)
{
    const DWORD attributes = ::GetFileAttributesW(to.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return RENAMING::failed;
    const DWORD flags = overwrite ? MOVEFILE_REPLACE_EXISTING : 0;
    const DWORD error = fio_repeat_while_held(
        [&] { return last_error_unless(::MoveFileExW(from.c_str(), to.c_str(), flags)); });
    if (error == ERROR_SUCCESS)
        return RENAMING::done;
    return error == ERROR_NOT_SAME_DEVICE ? RENAMING::other_file_system : RENAMING::failed;
}

bool FIO_FILE_SYSTEM::copy_content(const FIO_PATH& from, const FIO_PATH& to)
{
    return ::CopyFileW(from.c_str(), to.c_str(), FALSE) != FALSE;
}

void FIO_FILE_SYSTEM::wait_until_readable(const std::string& path,
                                          const std::function<bool()>& is_to_stop)
{
    const FIO_PATH native = fio_path(path);
    fio_repeat_while_held(
        [&native]
        {
            const HANDLE_OWNER file(
                ::CreateFileW(native.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
            return last_error_unless(file.get() != INVALID_HANDLE_VALUE ? TRUE : FALSE);
        },
        is_to_stop);
}

bool FIO_FILE_SYSTEM::remove_if_exists(const std::string& path,
                                       const std::function<bool()>& is_to_stop)
{
    const FIO_PATH native = fio_path(path);
    return is_gone(fio_repeat_while_held([&native] { return remove_once(native); }, is_to_stop));
}

bool FIO_FILE_SYSTEM::remove_unless_held(const std::string& path)
{
    const FIO_PATH native = fio_path(path);
    if (is_gone(remove_once(native)))
        return true;
    // Works only for an administrator.
    ::MoveFileExW(native.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    return false;
}

bool FIO_FILE_SYSTEM::create_private_file(const std::string& path)
{
    PRIVATE_RIGHTS rights;
    if (rights.get() == nullptr)
        return false;
    const HANDLE_OWNER file(::CreateFileW(fio_path(path).c_str(), GENERIC_WRITE, 0, rights.get(),
                                          CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.get() != INVALID_HANDLE_VALUE;
}

bool FIO_FILE_SYSTEM::create_private_directory(const std::string& path)
{
    PRIVATE_RIGHTS rights;
    return rights.get() != nullptr &&
           ::CreateDirectoryW(fio_path(path).c_str(), rights.get()) != FALSE;
}

bool FIO_FILE_SYSTEM::is_own_directory(const std::string& path)
{
    const DWORD attributes = ::GetFileAttributesW(fio_path(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

std::optional<FIO_FILE_IDENTITY> FIO_FILE_SYSTEM::identity(const std::string& path)
{
    const HANDLE_OWNER file(::CreateFileW(fio_path(path).c_str(), FILE_READ_ATTRIBUTES,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    FILE_BASIC_INFO times = {};
    if (file.get() == INVALID_HANDLE_VALUE ||
        ::GetFileInformationByHandle(file.get(), &information) == FALSE ||
        ::GetFileInformationByHandleEx(file.get(), FileBasicInfo, &times, sizeof times) == FALSE ||
        (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return std::nullopt;

    const auto joined = [](DWORD high, DWORD low)
    { return static_cast<std::uint64_t>(high) << 32U | low; };
    const std::uint64_t ticks = joined(information.ftLastWriteTime.dwHighDateTime,
                                       information.ftLastWriteTime.dwLowDateTime);
    FIO_FILE_IDENTITY identity;
    identity.size = joined(information.nFileSizeHigh, information.nFileSizeLow);
    identity.modified = static_cast<std::int64_t>(ticks);
    identity.changed = times.ChangeTime.QuadPart;
    identity.device = information.dwVolumeSerialNumber;
    identity.inode = joined(information.nFileIndexHigh, information.nFileIndexLow);
    return identity;
}
