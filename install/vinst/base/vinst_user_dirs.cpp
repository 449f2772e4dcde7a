#include "install/vinst/base/vinst_user_dirs.h"

#include <algorithm>

QString best_downloads_dir(const QStringList& dirs)
{
    const auto found = std::find_if(dirs.begin(), dirs.end(),
                                    [](const QString& dir) { return !dir.contains(' '); });
    return found != dirs.end() ? *found : dirs.value(0);
}
