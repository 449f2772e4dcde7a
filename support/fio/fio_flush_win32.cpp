#include "support/fio/fio_flush.h"

#include "support/fio/fio_file_system.h"
#include "support/fio/fio_repeat_win32.h"

namespace
{

constexpr std::chrono::minutes longest_flush{5};

HANDLE handle(std::intptr_t file)
{
    return reinterpret_cast<HANDLE>(file);
}

std::error_code error_code(DWORD error)
{
    return {static_cast<int>(error), std::system_category()};
}

bool cannot_flush_at_all(DWORD error)
{
    return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED ||
           error == ERROR_WRITE_PROTECT;
}

bool is_read_only(DWORD error)
{
    return error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT;
}

}

FIO_FLUSH_HANDLE::FIO_FLUSH_HANDLE(std::intptr_t file)
{
    HANDLE duplicate = nullptr;
    if (::DuplicateHandle(::GetCurrentProcess(), handle(file), ::GetCurrentProcess(), &duplicate, 0,
                          FALSE, DUPLICATE_SAME_ACCESS) != FALSE)
        m_file = reinterpret_cast<std::intptr_t>(duplicate);
    else
        m_error = error_code(::GetLastError());
}

FIO_FLUSH_HANDLE::FIO_FLUSH_HANDLE(const std::string& path, const std::function<bool()>& is_to_stop)
{
    const FIO_PATH native = fio_path(path);
    HANDLE file = INVALID_HANDLE_VALUE;
    const DWORD error = fio_repeat_while_held(
        [&native, &file]() -> DWORD
        {
            file = ::CreateFileW(native.c_str(), GENERIC_WRITE,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
            if (file != INVALID_HANDLE_VALUE)
                return ERROR_SUCCESS;
            const DWORD failure = ::GetLastError();
            return is_read_only(failure) ? ERROR_SUCCESS : failure;
        },
        is_to_stop, longest_flush);
    if (file != INVALID_HANDLE_VALUE)
        m_file = reinterpret_cast<std::intptr_t>(file);
    else if (error != ERROR_SUCCESS)
        m_error = error_code(error);
}

FIO_FLUSH_HANDLE::~FIO_FLUSH_HANDLE()
{
    if (is_open())
        ::CloseHandle(handle(m_file));
}

std::error_code FIO_FLUSH_HANDLE::flush() const
{
    if (!is_open())
        return m_error;
    if (::FlushFileBuffers(handle(m_file)) != FALSE)
        return {};
    const DWORD error = ::GetLastError();
    return cannot_flush_at_all(error) ? std::error_code() : error_code(error);
}

std::error_code fio_flush_directory(const std::string&)
{
    return {};
}
