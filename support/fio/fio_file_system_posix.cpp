#include "support/fio/fio_file_system.h"

#include "support/fio/fio_owner_posix.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{

std::int64_t nanoseconds(const struct timespec& time)
{
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Renames a file unless the new name exists. \return false with errno set
bool rename_new(const FIO_PATH& from, const FIO_PATH& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Network file systems and old kernels don't know the flag, but create links exclusively.
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    return ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

}

FIO_PATH fio_path(std::string_view utf8)
{
    return std::filesystem::u8path(utf8);
}

bool FIO_FILE_SYSTEM::exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(fio_path(path), error);
}

FIO_FILE_SYSTEM::RENAMING FIO_FILE_SYSTEM::rename(const FIO_PATH& from, const FIO_PATH& to,
                                                  bool overwrite)
{
    const bool done = overwrite ? ::rename(from.c_str(), to.c_str()) == 0 : rename_new(from, to);
    if (done)
        return RENAMING::done;
    return errno == EXDEV ? RENAMING::other_file_system : RENAMING::failed;
}

bool FIO_FILE_SYSTEM::copy_content(const FIO_PATH& from, const FIO_PATH& to)
{
    std::error_code error;
    return std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing,
                                      error) &&
           !error;
}

void FIO_FILE_SYSTEM::wait_until_readable(const std::string&, const std::function<bool()>&) {}

bool FIO_FILE_SYSTEM::remove_if_exists(const std::string& path, const std::function<bool()>&)
{
    std::error_code error;
    std::filesystem::remove(fio_path(path), error);
    return !error;
}

bool FIO_FILE_SYSTEM::create_private_file(const std::string& path)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    ::close(file);
    return true;
}

bool FIO_FILE_SYSTEM::create_private_directory(const std::string& path)
{
    return ::mkdir(path.c_str(), 0700) == 0;
}

bool FIO_FILE_SYSTEM::is_own_directory(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool FIO_FILE_SYSTEM::remove_unless_held(const std::string& path)
{
    return remove_if_exists(path);
}

std::optional<FIO_FILE_IDENTITY> FIO_FILE_SYSTEM::identity(const std::string& path)
{
    struct stat status = {};
    // A link of another user could lead elsewhere at any time.
    if (::lstat(path.c_str(), &status) != 0 || fio_is_of_another_user(status) ||
        ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        fio_is_of_another_user(status))
        return std::nullopt;
    FIO_FILE_IDENTITY identity;
    identity.size = static_cast<std::uint64_t>(status.st_size);
    identity.modified = nanoseconds(status.st_mtim);
    identity.changed = nanoseconds(status.st_ctim);
    identity.owner = status.st_uid;
    identity.device = status.st_dev;
    identity.inode = status.st_ino;
    return identity;
}
