#include "support/fio/fio_append_file.h"

#include "support/fio/fio_owner_posix.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace
{

std::string reason(int error_number)
{
    return std::generic_category().message(error_number);
}

/// Appending to such a file would also change it for others, or leave it to others to change it.
bool must_be_replaced(const struct stat& status)
{
    return S_ISREG(status.st_mode) && (fio_is_of_another_user(status) || status.st_nlink > 1);
}

std::string why_replaced(const struct stat& status)
{
    return fio_is_of_another_user(status)
               ? "belongs to another user (number " + std::to_string(status.st_uid) + ')'
               : "has another name, too (it is a hard link)";
}

int descriptor(std::intptr_t file)
{
    return static_cast<int>(file);
}

/// A file that is open for reading, not through a link.
class SOURCE final
{
public:
    explicit SOURCE(const std::string& path)
        : m_file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))
    {
    }
    ~SOURCE()
    {
        if (m_file >= 0)
            ::close(m_file);
    }
    SOURCE(const SOURCE&) = delete;
    SOURCE& operator=(const SOURCE&) = delete;

    int file() const { return m_file; }

private:
    const int m_file;
};

/// Lets the file system copy to the end of a file, which it does by sharing blocks where it can.
/// \return bytes copied; none where the file system or the kernel can't
std::size_t copy_within_file_system(int from, std::uint64_t offset, int to, std::uint64_t end,
                                    std::size_t most)
{
    // The call refuses a file that is opened for appending.
    const int flags = ::fcntl(to, F_GETFL);
    if (flags < 0 || ::fcntl(to, F_SETFL, flags & ~O_APPEND) != 0)
        return 0;
    auto begin = static_cast<off64_t>(offset);
    auto target = static_cast<off64_t>(end);
    ssize_t copied = 0;
    do
        copied = ::copy_file_range(from, &begin, to, &target, most, 0);
    while (copied < 0 && errno == EINTR);
    ::fcntl(to, F_SETFL, flags);
    return copied > 0 ? static_cast<std::size_t>(copied) : 0;
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

    const bool create = opening == OPENING::create_if_missing;
    struct stat status = {};
    if (::lstat(path.c_str(), &status) == 0 && must_be_replaced(status))
    {
        if (create && ::unlink(path.c_str()) != 0)
            m_error =
                "Cannot replace " + path + ", which " + why_replaced(status) + ": " + reason(errno);
        if (!create || !m_error.empty())
            return false;
    }

    // O_NONBLOCK prevents the call from blocking on a named pipe without a reader.
    m_file = ::open(
        path.c_str(),
        O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | (create ? O_CREAT : 0), 0666);
    if (m_file == no_file)
    {
        if (errno == ELOOP)
            m_error = "Cannot write " + path + ": it is a link. Remove it and try again";
        else if (errno != ENOENT || create)
            m_error = "Cannot write " + path + ": " + reason(errno);
        return false;
    }

    if (::fstat(descriptor(m_file), &status) != 0 || !S_ISREG(status.st_mode))
        m_error = "Cannot write " + path + ": it is not a regular file";
    else if (must_be_replaced(status)) // placed there since the look above
        m_error = "Cannot write " + path + ": it " + why_replaced(status);
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
            return fail("write", m_path, reason(errno));
        data += written;
        size -= static_cast<std::size_t>(written);
        m_size += static_cast<std::uint64_t>(written);
    }
    return true;
}

bool FIO_APPEND_FILE::shorten(std::uint64_t size)
{
    if (size >= m_size)
        return true;
    while (::ftruncate(descriptor(m_file), static_cast<off_t>(size)) != 0)
    {
        if (errno == EINTR)
            continue;
        return fail("write", m_path, reason(errno));
    }
    m_size = size;
    return true;
}

bool FIO_APPEND_FILE::append_from(const std::string& path, std::uint64_t offset, std::size_t most)
{
    const SOURCE source(path);
    if (source.file() < 0)
        return fail("read", path, reason(errno));
    if (const std::size_t copied =
            copy_within_file_system(source.file(), offset, descriptor(m_file), m_size, most);
        copied > 0)
    {
        m_size += copied;
        return true;
    }
    std::vector<char> block(most);
    const ssize_t count =
        ::pread(source.file(), block.data(), block.size(), static_cast<off_t>(offset));
    if (count <= 0)
        return fail("read", path, count < 0 ? reason(errno) : "it is too short");
    return append(block.data(), static_cast<std::size_t>(count));
}
