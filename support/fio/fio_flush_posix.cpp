#include "support/fio/fio_flush.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

int descriptor(std::intptr_t file)
{
    return static_cast<int>(file);
}

std::error_code last_error()
{
    return {errno, std::generic_category()};
}

bool cannot_flush_at_all(const std::error_code& error)
{
    return error == std::errc::invalid_argument || error == std::errc::not_supported ||
           error == std::errc::read_only_file_system;
}

std::error_code flush_once(int file)
{
    while (::fdatasync(file) != 0)
        if (errno != EINTR)
            return last_error();
    return {};
}

}

FIO_FLUSH_HANDLE::FIO_FLUSH_HANDLE(std::intptr_t file)
    : m_file(::fcntl(descriptor(file), F_DUPFD_CLOEXEC, 0))
{
    if (!is_open())
        m_error = last_error();
}

FIO_FLUSH_HANDLE::FIO_FLUSH_HANDLE(const std::string& path, const std::function<bool()>&)
    : m_file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
    if (!is_open())
        m_error = last_error();
}

FIO_FLUSH_HANDLE::~FIO_FLUSH_HANDLE()
{
    if (is_open())
        ::close(descriptor(m_file));
}

std::error_code FIO_FLUSH_HANDLE::flush() const
{
    if (!is_open())
        return m_error;
    const std::error_code error = flush_once(descriptor(m_file));
    if (!error || cannot_flush_at_all(error))
        return {};
    // After a failed write Linux marks the cached pages as clean: a checksum of the cached bytes
    // and the next flush would both pass.
    ::posix_fadvise(descriptor(m_file), 0, 0, POSIX_FADV_DONTNEED);
    return error;
}

std::error_code fio_flush_directory(const std::string& path)
{
    return FIO_FLUSH_HANDLE(path).flush();
}
