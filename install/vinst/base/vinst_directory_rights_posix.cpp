#include "install/vinst/base/vinst_directory_rights.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

bool forbids_programs(const QString& dir)
{
    struct statvfs file_system = {};
    return ::statvfs(utf8(nearest_existing_dir(dir)).c_str(), &file_system) == 0 &&
           (file_system.f_flag & ST_NOEXEC) != 0;
}

bool is_open_to_other_users(const QString& dir)
{
    struct stat status = {};
    return ::geteuid() == 0 && ::stat(utf8(nearest_existing_dir(dir)).c_str(), &status) == 0 &&
           (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0);
}
