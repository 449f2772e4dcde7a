#pragma once

#include "install/vinst/gui/vinst_job_preparation.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>

class VINST_DOWNLOADER_MGR;
class VINST_RELEASE;
struct VINST_DIALOG_HOST;

/// Downloads the manager's components with retries and installs them, while the window shows how
/// far it is. Lives on the main thread, where it processes events while it waits. Each wait ends
/// when a stop is requested.
class VINST_DOWNLOAD_JOB
{
public:
    VINST_DOWNLOAD_JOB(VINST_RELEASE& release, VINST_DOWNLOADER_MGR& manager,
                       const VINST_DIALOG_HOST& host, VINST_JOB_VIEW& view, VINST_JOB_FORM& form);

    /// Runs to the end, or until it is stopped.
    VINST_JOB_REPORT run(const VINST_JOB_CHOICES& choices);

    /// Shows the estimate of the manager. While it is empty, the elapsed time is shown instead.
    void show_time_remaining(const QString& text);
    /// Whether installers or after-install actions are running.
    bool is_installing() const { return m_install_clock.isValid(); }
    /// Whether the directory has an incomplete installation of this process, which the next run
    /// offers to continue.
    bool continues_in(const QString& install_dir) const
    {
        return m_preparation.continues_in(install_dir);
    }
    /// Clears the times of the last run.
    void forget_times();

private:
    VINST_JOB_REPORT run_steps();

    /// Why there is nothing to download, as a sentence for the user; otherwise empty.
    QString reason_for_nothing() const;

    bool establish_connection();
    void log_run_summary();

    bool download_with_retries(VINST_JOB_REPORT& report);
    void download_once();
    bool wait_for_retry(int attempt, std::chrono::seconds wait);
    VINST_JOB_REPORT retries_exhausted();
    VINST_JOB_REPORT install_components();
    void show_time();

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_MGR& m_manager;
    VINST_JOB_VIEW& m_view;
    VINST_JOB_PREPARATION m_preparation;
    VINST_JOB_CHOICES m_choices;
    QString m_remaining_text;
    double m_download_seconds = 0; ///< of the job's finished attempts
    QElapsedTimer m_attempt_clock; ///< valid while an attempt runs
    QElapsedTimer m_install_clock; ///< valid while the job installs
    QTimer m_time_updates;         ///< active while a job downloads or installs
    VINST_JOB_RECORD m_record;
    VINST_JOB_END::RESULT m_result = VINST_JOB_END::RESULT::none; ///< of the job so far
};
