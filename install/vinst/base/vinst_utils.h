#pragma once

#include <QString>

#include <string>

class QUrl;

/// The temporary directory in native separators, with a trailing one; empty when it isn't writable,
/// which is reported on standard output.
QString temp_dir();

/// Whether a directory exists and is writable; tested by creating a directory in it.
bool is_writable_dir(const QString& path);

/// Whether a directory is empty or doesn't exist.
bool is_empty_or_missing_dir(const QString& path);

/// The absolute path of the directory, or of its nearest existing ancestor.
QString nearest_existing_dir(const QString& path);

/// Check a directory chosen by the user. A failure is reported, and its message stored in `error`.
/// Nothing is left behind on disk.
///
/// \param platform  the host's; determines the checks of links and length
bool validate_path(const QString& path, std::string& error);
bool validate_download_path(const QString& path, std::string& error);
bool validate_install_path(const QString& path, std::string& error, const QString& platform);

/// Bytes available to the user on the volume of the path or its nearest existing directory; 0 when
/// the volume can't be queried. Logs the same as `log_disk_space`.
quint64 free_disk_space(const std::string& path);

/// Logs the path and the size and free space of that volume.
void log_disk_space(const std::string& path);

/// Bytes as GB, as in all messages: whole mebibytes divided by 1024.
double gigabytes(quint64 bytes);
/// The same as text, rounded as by printf: "1.50 GB".
QString gigabytes_text(quint64 bytes);

bool is_valid_proxy_server(const std::string& text);
bool is_valid_proxy_port(const std::string& text);

/// Opens a URL in the browser. Success can't be detected.
void open_url(const QUrl& url);
