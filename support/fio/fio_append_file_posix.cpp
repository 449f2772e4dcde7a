#include "support/fio/fio_append_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{

std::string reason(int error_number)
{
    return std::generic_category().message(error_number);
}

int descriptor(std::intptr_t file)
{
    return static_cast<int>(file);
}

}

void FIO_APPEND_FILE::close_file(std::intptr_t file)
{
    ::close(descriptor(file));
}

bool FIO_APPEND_FILE::open(const std::string& path, OPENING opening)
{
    close();
    m_path = path;
    m_error.clear();
    m_size = 0;

    // O_NONBLOCK prevents the call from blocking on a named pipe without a reader.
    const int create = opening == OPENING::create_if_missing ? O_CREAT : 0;
    m_file = ::open(path.c_str(),
                    O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | create, 0666);
    if (m_file == no_file)
    {
        if (errno == ELOOP)
            m_error = "Cannot write " + path + ": it is a link. Remove it and try again";
        else if (errno != ENOENT || opening == OPENING::create_if_missing)
            m_error = "Cannot write " + path + ": " + reason(errno);
        return false;
    }

    struct stat status = {};
    if (::fstat(descriptor(m_file), &status) != 0 || !S_ISREG(status.st_mode))
        m_error = "Cannot write " + path + ": it is not a regular file";
    else if (::flock(descriptor(m_file), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        m_error = "Cannot write " + path + ": another process is writing it";
    else if (::fstat(descriptor(m_file), &status) != 0)
        m_error = "Cannot get the size of " + path + ": " + reason(errno);
    if (!m_error.empty())
    {
        close();
        return false;
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool FIO_APPEND_FILE::append(const char* data, std::size_t size)
{
    while (size > 0)
    {
        const ssize_t written = ::write(descriptor(m_file), data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
        {
            m_error = "Cannot write " + m_path + ": " + reason(errno);
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
        m_size += static_cast<std::uint64_t>(written);
    }
    return true;
}
