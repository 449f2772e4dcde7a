#include "support/fio/fio_append_file.h"

#include "support/fio/fio_file_system.h"
#include "support/fio/fio_reparse.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include <windows.h>

namespace
{

HANDLE handle(std::intptr_t file)
{
    return reinterpret_cast<HANDLE>(file);
}

/// The system's message for an error, without its full stop and line end.
std::string reason(DWORD error)
{
    std::array<wchar_t, 512> wide{};
    const DWORD size = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, error, 0, wide.data(), wide.size(), nullptr);
    std::wstring text(wide.data(), size);
    text.erase(text.find_last_not_of(L"\r\n .") + 1);
    return text.empty() ? "error " + std::to_string(error) : std::filesystem::path(text).u8string();
}

FIO_REPARSE_KIND reparse_kind(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO tag = {};
    ::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag);
    return fio_reparse_kind(tag.FileAttributes, tag.ReparseTag);
}

bool has_second_name(const FIO_PATH& path)
{
    const HANDLE file = ::CreateFileW(
        path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool is_known = ::GetFileInformationByHandle(file, &information) != FALSE;
    ::CloseHandle(file);
    return is_known && information.nNumberOfLinks > 1 &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// Other programs may read the file meanwhile, as hashing does, but not write, move or remove it.
/// FILE_WRITE_DATA is needed to shorten the file, so each write has to name its end.
HANDLE open_for_appending(const FIO_PATH& path, bool create, DWORD link_flag)
{
    return ::CreateFileW(path.c_str(),
                         FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                         FILE_SHARE_READ, nullptr, create ? OPEN_ALWAYS : OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL | link_flag, nullptr);
}

}

void FIO_APPEND_FILE::close_file(std::intptr_t file)
{
    ::CloseHandle(handle(file));
}

bool FIO_APPEND_FILE::open(const std::string& path, OPENING opening)
{
    close();
    m_path = path;
    m_error.clear();
    m_size = 0;

    const FIO_PATH native = fio_path(path);
    const bool create = opening == OPENING::create_if_missing;
    // Appending would also change it under its other name.
    if (has_second_name(native))
    {
        if (create && ::DeleteFileW(native.c_str()) == FALSE)
            m_error =
                "Cannot replace " + path +
                ", which has another name, too (it is a hard link): " + reason(::GetLastError());
        if (!create || !m_error.empty())
            return false;
    }
    HANDLE file = open_for_appending(native, create, FILE_FLAG_OPEN_REPARSE_POINT);
    const FIO_REPARSE_KIND kind =
        file != INVALID_HANDLE_VALUE ? reparse_kind(file) : FIO_REPARSE_KIND::none;
    const bool led_elsewhere = kind == FIO_REPARSE_KIND::redirection;
    if (kind == FIO_REPARSE_KIND::stored)
    {
        // Its content is reached only without FILE_FLAG_OPEN_REPARSE_POINT.
        ::CloseHandle(file);
        file = open_for_appending(native, create, 0);
    }
    if (file == INVALID_HANDLE_VALUE)
    {
        const DWORD error = ::GetLastError();
        const DWORD attributes = ::GetFileAttributesW(native.c_str());
        const bool is_missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            m_error = "Cannot write " + path + ": it is not a regular file";
        else if (error == ERROR_SHARING_VIOLATION)
            m_error = "Cannot write " + path + ": another process is writing it";
        else if (!is_missing || create)
            m_error = "Cannot write " + path + ": " + reason(error);
        return false;
    }
    m_file = reinterpret_cast<std::intptr_t>(file);

    LARGE_INTEGER size = {};
    if (led_elsewhere)
        m_error = "Cannot write " + path + ": it is a link. Remove it and try again";
    else if (::GetFileType(file) != FILE_TYPE_DISK)
        m_error = "Cannot write " + path + ": it is not a regular file";
    else if (::GetFileSizeEx(file, &size) == FALSE)
        m_error = "Cannot get the size of " + path + ": " + reason(::GetLastError());
    if (!m_error.empty())
    {
        close();
        return false;
    }
    m_size = static_cast<std::uint64_t>(size.QuadPart);
    return true;
}

bool FIO_APPEND_FILE::append(const char* data, std::size_t size)
{
    while (size > 0)
    {
        const auto part = static_cast<DWORD>(
            std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
        DWORD written = 0;
        OVERLAPPED end_of_file = {};
        end_of_file.Offset = end_of_file.OffsetHigh = std::numeric_limits<DWORD>::max();
        if (::WriteFile(handle(m_file), data, part, &written, &end_of_file) == FALSE ||
            written == 0)
            return fail("write", m_path, reason(::GetLastError()));
        data += written;
        size -= written;
        m_size += written;
    }
    return true;
}

bool FIO_APPEND_FILE::shorten(std::uint64_t size)
{
    if (size >= m_size)
        return true;
    FILE_END_OF_FILE_INFO end = {};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (::SetFileInformationByHandle(handle(m_file), FileEndOfFileInfo, &end, sizeof end) == FALSE)
        return fail("write", m_path, reason(::GetLastError()));
    m_size = size;
    return true;
}

/// ReFS could share the blocks, but only with a file that has its new size before, which would then
/// not be the beginning of the complete one.
bool FIO_APPEND_FILE::append_from(const std::string& path, std::uint64_t offset, std::size_t most)
{
    // Whoever writes the other file may have it open meanwhile.
    const HANDLE source = ::CreateFileW(
        fio_path(path).c_str(), GENERIC_READ,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
        FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (source == INVALID_HANDLE_VALUE)
        return fail("read", path, reason(::GetLastError()));
    std::vector<char> block(std::min<std::size_t>(most, std::numeric_limits<std::int32_t>::max()));
    OVERLAPPED begin = {};
    begin.Offset = static_cast<DWORD>(offset);
    begin.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    DWORD count = 0;
    const bool is_read =
        ::ReadFile(source, block.data(), static_cast<DWORD>(block.size()), &count, &begin) != FALSE;
    const DWORD error = ::GetLastError();
    ::CloseHandle(source);
    const bool is_at_end = is_read ? count == 0 : error == ERROR_HANDLE_EOF;
    if (is_at_end || !is_read)
        return fail("read", path, is_at_end ? "it is too short" : reason(error));
    return append(block.data(), count);
}
