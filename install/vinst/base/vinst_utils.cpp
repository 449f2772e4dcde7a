#include "install/vinst/base/vinst_utils.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"
#include "support/fio/fio_file_system.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUrl>

#include <cerrno>
#include <cstdlib>

namespace
{

QString with_trailing_separator(const QString& path)
{
    return path.endsWith(QDir::separator()) ? path : path + QDir::separator();
}

/// Stores and reports why a path was refused.
bool refuse(std::string& error, const std::string& text)
{
    error = text;
    report(text, false);
    return false;
}

/// Whether the missing directory can be created, with its missing parents. Creates them below a
/// directory with a unique name instead of in their place: another process may be about to use
/// them, so they must not be removed again.
bool can_be_created(const QString& path)
{
    QString ancestor = QDir::cleanPath(QDir(path).absolutePath());
    QStringList missing;
    while (!QFileInfo::exists(ancestor))
    {
        const QFileInfo info(ancestor);
        if (info.isSymLink() || info.isRoot())
            return false;
        missing.prepend(info.fileName());
        ancestor = info.path();
    }
    if (missing.isEmpty()) // another process has just created it
        return is_writable_dir(path);
    if (!QFileInfo(ancestor).isDir())
        return false;

    const QDir probe(QString::fromStdString(FIO_FILE_SYSTEM::get_tmp_path(utf8(ancestor))));
    const bool created = probe.mkpath(missing.join('/'));
    for (; !missing.isEmpty(); missing.removeLast())
        probe.rmdir(missing.join('/'));
    QDir().rmdir(probe.path());
    return created;
}

bool is_link(const QString& path)
{
    const QFileInfo info(path);
    return info.isSymLink() || info.isJunction();
}

}

QString temp_dir()
{
    const QString path = QDir::toNativeSeparators(QDir::tempPath());
    if (path.isEmpty())
    {
        report_early("Error: can't locate TEMP directory on your machine", true, false);
        return {};
    }
    const QString dir = with_trailing_separator(path);
    if (is_writable_dir(dir))
        return dir;
    report_early("Error: " + utf8(dir) + " is not writable", true, false);
    return {};
}

bool is_writable_dir(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QString dir = with_trailing_separator(QDir::toNativeSeparators(QDir::cleanPath(path)));
    if (!QFileInfo(dir).isDir())
        return false;
    const std::string probe = FIO_FILE_SYSTEM::get_tmp_path(utf8(dir));
    QDir().mkdir(QString::fromStdString(probe));
    if (!FIO_FILE_SYSTEM::exists(probe))
        return false;
    QDir().rmdir(QString::fromStdString(probe));
    return true;
}

bool is_empty_or_missing_dir(const QString& path)
{
    const QDir::Filters everything =
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    return !QDir(path).exists() || QDir(path).isEmpty(everything);
}

QString nearest_existing_dir(const QString& path)
{
    QString dir = QDir(path).absolutePath();
    while (!QFileInfo(dir).isDir())
    {
        const int separator = dir.lastIndexOf('/');
        if (separator <= 0)
            return QDir::rootPath();
        dir.truncate(separator);
    }
    return QDir(dir).absolutePath();
}

bool validate_path(const QString& path, std::string& error)
{
    if (path.isEmpty())
        return refuse(error, message("ERROR_PATH_IS_EMPTY"));
    if (path.contains(' '))
        return refuse(error, message("ERROR_SPACE_IN_PATH"));
    const QString dir = with_trailing_separator(QDir::toNativeSeparators(QDir::cleanPath(path)));
    const bool usable = QFileInfo::exists(dir) ? is_writable_dir(dir) : can_be_created(dir);
    return usable || refuse(error, message("ERROR_CREATE_DIRECTORY", utf8(path)));
}

bool validate_download_path(const QString& path, std::string& error)
{
    return validate_path(path, error);
}

bool validate_install_path(const QString& path, std::string& error, const QString& platform)
{
    if (!validate_path(path, error))
        return false;
    if (platform == "windows" && is_link(path))
        return refuse(error, message("ERROR_WINDOWS_SYMLINK_PATH"));
    if (utf8(path).size() > install_path_limit(platform))
        return refuse(error, message("ERROR_PATH_LENGTH_OVER_LIMIT"));
    return true;
}

double gigabytes(quint64 bytes)
{
    const quint64 whole_mebibytes = bytes / 1048576;
    return static_cast<double>(whole_mebibytes) / 1024;
}

QString gigabytes_text(quint64 bytes)
{
    // QString rounds halves up, and printf to even digits, as in "0.12" for 0.125.
    return QString::fromStdString(CURL_LOGGER::formatted("%.2f GB", gigabytes(bytes)));
}

namespace
{

/// Qt reports unknown figures as -1.
quint64 known_bytes(qint64 figure)
{
    return static_cast<quint64>(std::max<qint64>(figure, 0));
}

QStorageInfo volume_of(const std::string& path)
{
    return QStorageInfo(nearest_existing_dir(QString::fromStdString(path)));
}

void log_volume(const std::string& path, const QStorageInfo& volume)
{
    CURL_LOGGER& log = run_log();
    log.info("Path: %s", path);
    if (volume.isReadOnly())
        log.info("isReadOnly");
    log.info("Total disk space: %.2f GB", gigabytes(known_bytes(volume.bytesTotal())));
    log.info("Free disk space: %.2f GB", gigabytes(known_bytes(volume.bytesAvailable())));
}

}

quint64 free_disk_space(const std::string& path)
{
    const QStorageInfo volume = volume_of(path);
    log_volume(path, volume);
    return known_bytes(volume.bytesAvailable());
}

void log_disk_space(const std::string& path)
{
    log_volume(path, volume_of(path));
}

bool is_valid_proxy_server(const std::string& text)
{
    return QUrl(QString::fromStdString(text), QUrl::TolerantMode).isValid();
}

bool is_valid_proxy_port(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    const long port = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && errno == 0 && end == text.c_str() + text.size() && port >= 1 &&
           port <= 65535;
}

void open_url(const QUrl& url)
{
    run_log().info("Open URL: %s", url.toString(QUrl::FullyEncoded).toStdString());
    QDesktopServices::openUrl(url);
}
