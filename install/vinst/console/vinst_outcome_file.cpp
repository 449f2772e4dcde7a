#include "install/vinst/console/vinst_outcome_file.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "support/fio/fio_file_system.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace
{

constexpr qint64 outcome_limit = 64 * 1024 * 1024; // bytes

/// The path through no link of a directory; the file need not exist.
QString resolved(const QString& path)
{
    const QFileInfo info(QDir::fromNativeSeparators(path));
    const QString dir = QFileInfo(info.absolutePath()).canonicalFilePath();
    return (dir.isEmpty() ? QDir::cleanPath(info.absolutePath()) : dir) + '/' + info.fileName();
}

/// Also true for another name of a file that exists.
bool is_same_file(const QString& one, const QString& other)
{
    // On all platforms, because a disk may ignore the case on any.
    if (resolved(one).compare(resolved(other), Qt::CaseInsensitive) == 0)
        return true;
    const auto first = FIO_FILE_SYSTEM::identity(utf8(one));
    const auto second = FIO_FILE_SYSTEM::identity(utf8(other));
    return first && second && first->device == second->device && first->inode == second->inode;
}

/// What the run would use or overwrite if it were the outcome; empty if it is nothing of this kind.
QString use_in_run(const QString& path, const VINST_RELEASE& release)
{
    if (!release.manifest_path.isEmpty() && is_same_file(path, release.manifest_path))
        return QStringLiteral("It is the manifest");
    if (release.download_dir().isEmpty())
        return {};
    const QDir downloads(release.download_dir());
    if (is_same_file(path, downloads.filePath(release.log_file_name())))
        return QStringLiteral("It is the log of this run");
    for (const auto& component : release.components())
        if (!component->filename.isEmpty() &&
            is_same_file(path, downloads.filePath(component->filename)))
            return QStringLiteral("It is a file of the release");
    return {};
}

}

QString obstacle_to_writing(const QString& path, const VINST_RELEASE& release)
{
    if (path.isEmpty())
        return QStringLiteral("The name is empty"); // QSaveFile would accept it
    // QSaveFile would put a file in the place of a device or a pipe.
    if (const QFileInfo existing(path); existing.exists() && !existing.isFile())
        return QStringLiteral("It is not a regular file");
    if (const QString use = use_in_run(path, release); !use.isEmpty())
        return use;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    file.cancelWriting();
    return {};
}

bool is_replaceable_outcome(const QString& path)
{
    const QFileInfo existing(path);
    if (!existing.exists())
        return !existing.isSymLink();
    if (!existing.isFile() || existing.size() > outcome_limit)
        return false;
    QFile file(path);
    if (existing.size() == 0)
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    return object.contains("format") && object.contains("result") && object.contains("versions");
}

QString replace_file(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    file.write(bytes);
    return file.commit() ? QString() : file.errorString();
}
