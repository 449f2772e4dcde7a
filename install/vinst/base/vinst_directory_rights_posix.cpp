#include "install/vinst/base/vinst_directory_rights.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"

#include <filesystem>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

constexpr mode_t others_write = S_IWGRP | S_IWOTH;

bool is_writable_by_others(const fs::path& dir)
{
    struct stat status = {};
    return ::stat(dir.c_str(), &status) != 0 || status.st_uid != 0 ||
           (status.st_mode & others_write) != 0;
}

/// Whether others can rename what is in the directory, for example because it is their own.
bool lets_others_rename(const fs::path& dir)
{
    struct stat status = {};
    if (::stat(dir.c_str(), &status) != 0 || status.st_uid != 0)
        return true;
    const bool only_their_own = (status.st_mode & S_ISVTX) != 0; // as in /tmp
    return (status.st_mode & others_write) != 0 && !only_their_own;
}

}

bool forbids_programs(const QString& dir)
{
    struct statvfs file_system = {};
    return ::statvfs(utf8(nearest_existing_dir(dir)).c_str(), &file_system) == 0 &&
           (file_system.f_flag & ST_NOEXEC) != 0;
}

bool is_open_to_other_users(const QString& dir)
{
    if (::geteuid() != 0)
        return false;
    std::error_code error;
    const fs::path path = fs::canonical(utf8(nearest_existing_dir(dir)), error);
    if (error || is_writable_by_others(path))
        return true;
    fs::path parent = path;
    while (parent.has_relative_path())
    {
        parent = parent.parent_path();
        if (lets_others_rename(parent))
            return true;
    }
    return false;
}
