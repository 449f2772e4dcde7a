#pragma once

#include <sys/stat.h>
#include <unistd.h>

/// Whether a file belongs to a user who could change it behind this process's back. Root can change
/// every file anyway.
inline bool fio_is_of_another_user(const struct stat& status)
{
    return status.st_uid != ::geteuid() && status.st_uid != 0;
}
