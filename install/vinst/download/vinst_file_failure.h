#pragma once

#include "support/curl/curl_failure.h"

#include <QString>

#include <optional>

struct VINST_COMPONENT;

/// What is known about a file that is not verified after an attempt.
struct VINST_FILE_FAILURE
{
    QString title;
    QString url;                            ///< may contain credentials
    CURL_FAILURE transfer;                  ///< of kind `none` when the transfer succeeded
    quint64 size = 0;                       ///< bytes, as listed in the release
    quint64 on_disk = 0;                    ///< bytes
    std::optional<quint64> free_space = {}; ///< bytes; only for write errors
    QString md5_listed;
    QString md5_found; ///< empty when the file wasn't hashed
    QString problem;   ///< another reason why the file wasn't accepted; otherwise empty
};

/// Queries the free disk space after a write error.
VINST_FILE_FAILURE file_failure(const VINST_COMPONENT& component, const CURL_FAILURE& transfer);

/// What failed, where and why, in one line without credentials and control characters:
/// "TITLE (ADDRESS): REASON, through the proxy HOST:PORT (SOURCE)".
QString failure_text(const VINST_FILE_FAILURE& failure);

/// Why the local file of a component isn't the verified one, in one line without control
/// characters: "TITLE (PATH): REASON".
QString local_failure_text(const VINST_COMPONENT& component);

/// What a user can do about a connection test that failed, in one line: about a proxy that refuses,
/// a TLS failure, or another file in place of the test file. Empty for other failures.
QString connection_failure_text(const CURL_FAILURE& transfer);
