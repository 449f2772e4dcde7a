#include "install/vinst/download/vinst_install_place.h"

#include "install/vinst/base/vinst_directory_rights.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/release/vinst_data.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QStandardPaths>

namespace
{

constexpr int never_stale = 0; // but the lock of a process that has ended on this machine always is

QString native(const QString& path)
{
    return without_control_characters(QDir::toNativeSeparators(path));
}

QString lock_name(const QString& path)
{
    const QByteArray hash =
        QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex();
    return ".vinst-install-" + QString::fromLatin1(hash.left(16)) + ".lock";
}

QString busy_text(const QString& dir, const QLockFile& lock, const QString& lock_path)
{
    qint64 process = 0;
    QString host;
    QString program;
    QString owner = "another run";
    if (lock.getLockInfo(&process, &host, &program))
        owner += " (process " + QString::number(process) + " on " + native(host) + ')';
    return "Cannot install into " + native(dir) + ": " + owner +
           " is installing into it. If that run has ended, remove " + native(lock_path) + '.';
}

}

QString install_obstacle(VINST_RELEASE& release)
{
    if (forbids_programs(release.ensure_download_dir()))
        return "The installers cannot be run from " + native(release.download_dir()) +
               ", because its file system is mounted with \"noexec\". Choose another download "
               "directory.";
    if (forbids_programs(release.install_dir()))
        return "Programs cannot be run in " + native(release.install_dir()) +
               ", because its file system is mounted with \"noexec\". Choose another install "
               "directory.";
    return {};
}

QString open_download_dir_warning(VINST_RELEASE& release)
{
    if (!is_open_to_other_users(release.ensure_download_dir()))
        return {};
    return "Warning: other users can write the download directory " +
           native(release.download_dir()) +
           " or a directory above it, and could replace files before they are installed. Use a "
           "directory that only the administrator can write.";
}

QString unique_install_path(const QString& dir)
{
    const QString existing = nearest_existing_dir(dir);
    const QString rest = QDir(existing).relativeFilePath(QFileInfo(dir).absoluteFilePath());
    return QDir::cleanPath(QFileInfo(existing).canonicalFilePath() + '/' + rest);
}

VINST_INSTALL_LOCK::VINST_INSTALL_LOCK() = default;
VINST_INSTALL_LOCK::~VINST_INSTALL_LOCK()
{
    release();
}

QString VINST_INSTALL_LOCK::take(const QString& install_dir)
{
    release();
    const QString parent =
        QFileInfo(QDir::cleanPath(QFileInfo(install_dir).absoluteFilePath())).path();
    if (!QFileInfo::exists(parent) && QDir().mkpath(parent))
        m_created_parent = parent;
    const QString path = unique_install_path(install_dir);
    // Beside the directory, because installers expect it to be empty. The other places are for a
    // directory whose parent this user can't write.
    for (const QString& place :
         {QFileInfo(path).path(),
          QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation), QDir::tempPath()})
    {
        const QString lock_path = place + '/' + lock_name(path);
        const QFileInfo in_the_way(lock_path);
        // Opening a named pipe would not return.
        if (in_the_way.isSymLink() || (in_the_way.exists() && !in_the_way.isFile()))
            return "Cannot install into " + native(install_dir) + ": remove " + native(lock_path) +
                   ", which is in the way.";
        auto file = std::make_unique<QLockFile>(lock_path);
        file->setStaleLockTime(never_stale);
        if (file->tryLock(0))
        {
            m_file = std::move(file);
            return {};
        }
        if (file->error() == QLockFile::LockFailedError)
            return busy_text(install_dir, *file, lock_path);
    }
    run_log().info("The install directory cannot be reserved for this run: %s", utf8(install_dir));
    return {};
}

void VINST_INSTALL_LOCK::release()
{
    m_file.reset();
    // Without an installation, nothing is left behind.
    if (!m_created_parent.isEmpty())
        QDir().rmpath(m_created_parent);
    m_created_parent.clear();
}
