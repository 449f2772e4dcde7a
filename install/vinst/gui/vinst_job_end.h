#pragma once

#include "install/vinst/release/vinst_data_components.h"

#include <QElapsedTimer>
#include <QString>

#include <vector>

struct VINST_INSTALL_OUTCOME;

/// How a job ended, and what it has done.
struct VINST_JOB_END
{
    enum class RESULT
    {
        none, ///< nothing was begun, and there is nothing to show
        downloaded,
        installed,
        stopped,
        failed
    };

    RESULT result = RESULT::none;
    bool was_begun = false;      ///< the download has begun
    bool was_installing = false; ///< the installation has begun
    int components = 0;          ///< to be downloaded
    int done = 0;                ///< verified; once the installation has begun, installed
    quint64 fetched = 0;         ///< bytes received by this job
    quint64 reused = 0;          ///< bytes of the verified files that were on the disk before
    double seconds = 0;          ///< since the download began
    QString dir = {};            ///< where the files were downloaded or installed
};

/// What the job has done, in one line: "7 components, 2.20 GB in 14 min, installed to /opt/crest".
/// Empty for none.
QString job_end_text(const VINST_JOB_END& end);

/// A duration without needless precision: "less than 1 s", "42 s", "14 min", "2 h 5 min".
QString rounded_duration(double seconds);

/// Observes what a job does, for its end.
class VINST_JOB_RECORD
{
public:
    /// The job is about to be prepared.
    void reset();
    /// The download of these components begins.
    void begin(const VINST_COMPONENT_LIST& components);
    void begin_installation() { m_is_installing = true; }
    void note(const VINST_INSTALL_OUTCOME& outcome);

    [[nodiscard]] VINST_JOB_END end(VINST_JOB_END::RESULT result, const QString& download_dir,
                                    const QString& install_dir) const;

private:
    struct FILE_BEFORE
    {
        const VINST_COMPONENT* component;
        quint64 fetched; ///< bytes, by earlier jobs of this process
    };

    std::vector<FILE_BEFORE> m_files;
    QElapsedTimer m_clock; ///< valid once the download has begun
    bool m_is_installing = false;
    int m_installed = 0;
};
