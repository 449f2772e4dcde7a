#pragma once

#include <QString>

#include <memory>

class QLockFile;
class VINST_RELEASE;

/// Why installers can't run from the release's download directory or programs not in its install
/// directory, as a sentence for the user; empty when they can.
QString install_obstacle(VINST_RELEASE& release);

/// Warns an administrator whose downloads other users could replace; otherwise empty.
QString open_download_dir_warning(VINST_RELEASE& release);

/// The same path for every way to write the directory's name, whether it exists or not.
QString unique_install_path(const QString& dir);

/// Reserves an install directory for one run at a time, in all processes and, on a shared file
/// system, on all machines. Ends with this object or its process.
///
/// The lock is a file beside the directory, so that the directory's parent is created. If that
/// can't be written, it is in the user's cache directory.
class VINST_INSTALL_LOCK
{
public:
    VINST_INSTALL_LOCK();
    ~VINST_INSTALL_LOCK();
    VINST_INSTALL_LOCK(const VINST_INSTALL_LOCK&) = delete;
    VINST_INSTALL_LOCK& operator=(const VINST_INSTALL_LOCK&) = delete;

    /// Ends an earlier reservation. \return why another run has the directory, as a sentence for
    /// the user; empty when it is reserved for this one
    [[nodiscard]] QString take(const QString& install_dir);
    void release();

private:
    QString m_created_parent; ///< removed again if it stays empty
    std::unique_ptr<QLockFile> m_file;
};
