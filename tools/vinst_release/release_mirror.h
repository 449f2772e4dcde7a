#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>

struct RELEASE_MIRROR_SETTINGS
{
    QString manifest;  ///< path of the release's manifest
    QString directory; ///< created if necessary
    QString platform;  ///< "linux", "windows", or empty for both
    /// Comma-separated names, to which their dependencies and parents are added; empty for all.
    QString components;
    QString url; ///< another mirror to fetch from; empty for the manifest's own address
    int retry_minutes;
};

struct RELEASE_MIRROR_RESULT
{
    QStringList faults; ///< empty when the mirror is complete
    QStringList notes;  ///< what its users have to know
    std::size_t files = 0;
    quint64 bytes = 0; ///< of all files of components
};

/// Fetches a release into a directory from which any web server can serve it: the components'
/// files, the connection test's file and, last, a copy of the manifest. Files that are there are
/// verified and only fetched if they are wrong; partial files are resumed. Failed downloads are
/// retried.
///
/// Ends soon after the process is asked to stop (`is_to_stop`), with a fault. Processes events; to
/// be called on the thread of the application object.
///
/// \param say  receives the lines about each failed attempt
RELEASE_MIRROR_RESULT mirror_release(const RELEASE_MIRROR_SETTINGS& settings,
                                     const std::function<void(const QString& line)>& say);
