#include "install/vinst/base/vinst_user_dirs.h"

#include <QDir>

QStringList downloads_dirs()
{
    return {QDir::homePath() + "/Downloads"};
}
