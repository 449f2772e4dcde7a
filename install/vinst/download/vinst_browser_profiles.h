#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// The directories of profiles that a file of the browser names as default.
struct VINST_DEFAULT_PROFILES
{
    QStringList of_installations; ///< an installation of the browser starts with them
    QStringList of_old_versions;  ///< only used by a browser that hasn't chosen one for itself
};

/// Reads the text of a "profiles.ini" or "installs.ini".
/// \param root  the directory of the file, to which paths are relative
VINST_DEFAULT_PROFILES default_profiles(const QString& text, const QString& root);

/// The preference files of the browser's profiles in a home directory, also of its snap and flatpak
/// packages. Those of default profiles come last, so that they overwrite the others; and of these,
/// the one that was written last, which belongs to the installation that is in use. \param
/// keep_looking  called before each directory; false ends the search
QStringList browser_preference_files(const QString& home,
                                     const std::function<bool()>& keep_looking);
