#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <functional>
#include <vector>

/// The size and checksums of a file, as listed in a manifest.
struct RELEASE_FILE_SUMS
{
    quint64 size = 0; ///< bytes
    QByteArray md5;   ///< lower-case hexadecimal
    QByteArray sha1;
};

/// One file to measure, and to copy if it has a target. No two jobs have the same target.
struct RELEASE_FILE_JOB
{
    QString source;
    QString target; ///< path of the copy; empty when the file is only measured
};

struct RELEASE_FILE_RESULT
{
    RELEASE_FILE_SUMS sums;
    bool copied = false; ///< also false for a target that already had the same content
    QString error;       ///< empty on success; otherwise a sentence that names the file
};

struct RELEASE_FILE_PROGRESS
{
    std::size_t files_done = 0;
    std::size_t files = 0;
    quint64 bytes_done = 0;
    quint64 bytes = 0;
};

using RELEASE_FILE_OBSERVER = std::function<void(const RELEASE_FILE_PROGRESS&)>;

/// Reads every source once, several in parallel, and returns the results in the order of the jobs.
/// A copy appears under its name only when it is complete; an existing link is replaced, not
/// followed.
///
/// \param observer  called on the calling thread, several times per second and once at the end
std::vector<RELEASE_FILE_RESULT> process_files(const std::vector<RELEASE_FILE_JOB>& jobs,
                                               const RELEASE_FILE_OBSERVER& observer);

/// Writes a small file so that it appears complete or not at all. Does not touch a file that
/// already has this content. \return an error message; empty on success
QString write_whole_file(const QString& path, const QByteArray& bytes);
