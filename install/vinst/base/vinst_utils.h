#pragma once

#include <QString>

#include <string>

class QUrl;

/// The temporary directory in native separators, with a trailing one; empty when it can't be
/// written, which was then said on standard output.
QString temp_dir();

/// Whether a directory exists and can be written, proved by making a directory inside it.
bool is_writable_dir(const QString& path);

/// Whether a directory holds nothing at all, or isn't there.
bool is_empty_or_missing_dir(const QString& path);

/// The absolute path of the path itself, or of its closest existing ancestor.
QString nearest_existing_dir(const QString& path);

/// The three checks of a directory that the user chose. A failure is reported, and its message
/// stored in `error`. They leave no trace on disk.
///
/// \param platform  the host's; decides on links and the length limit
bool validate_path(const QString& path, std::string& error);
bool validate_download_path(const QString& path, std::string& error);
bool validate_install_path(const QString& path, std::string& error, const QString& platform);

/// Bytes available to the user on the volume of the path or its nearest existing directory, which
/// the log tells too; 0 when the volume can't be queried.
quint64 free_disk_space(const std::string& path);

/// Bytes as GB the way every figure counts them: whole mebibytes divided by 1024.
double gigabytes(quint64 bytes);

bool is_valid_proxy_server(const std::string& text);
bool is_valid_proxy_port(const std::string& text);

/// Opens an address in the browser; whether that worked can't be known.
void open_url(const QUrl& url);
