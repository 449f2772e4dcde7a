#include "install/vinst/base/vinst_directory_rights.h"

bool forbids_programs(const QString&)
{
    return false;
}

bool is_open_to_other_users(const QString&)
{
    return false;
}
