#pragma once

#include "support/fio/fio_file_system.h"

#include <QCryptographicHash>
#include <QString>

#include <functional>
#include <optional>

/// Called with the number of bytes that have been read from the file so far.
using VINST_READ_CALLBACK = std::function<void(quint64)>;

/// The MD5 checksum of a file that may still be growing: each call hashes only what has been
/// appended since the last one. Any thread, but one at a time.
class VINST_FILE_DIGEST
{
public:
    explicit VINST_FILE_DIGEST(QString path) : m_path(std::move(path)) {}

    /// Hashes up to the end of the file. Starts again with a file that was replaced or is shorter
    /// than what has been hashed.
    /// \return false when the file can't be read or `is_cancelled` returned true
    bool read_to_end(const std::function<bool()>& is_cancelled = {},
                     const VINST_READ_CALLBACK& on_read = {});

    /// Forgets what has been hashed.
    void start_again();

    const QString& path() const { return m_path; }
    quint64 bytes_read() const { return m_bytes_read; }
    /// Of what has been hashed, as 32 lower-case hexadecimal digits.
    QString md5() const { return QString::fromLatin1(m_hash.result().toHex()); }

private:
    void start_again_if_replaced();

    const QString m_path;
    QCryptographicHash m_hash{QCryptographicHash::Md5};
    quint64 m_bytes_read = 0;
    std::optional<FIO_FILE_IDENTITY> m_file; ///< whose place on the disk is that of the bytes read
};
