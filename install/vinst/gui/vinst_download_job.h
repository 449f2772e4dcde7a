#pragma once

#include "install/vinst/download/vinst_install_place.h"
#include "install/vinst/gui/vinst_job_window.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>

class VINST_DOWNLOADER_MGR;
class VINST_RELEASE;
struct VINST_DIALOG_HOST;
struct VINST_INSTALL_OUTCOME;

/// Downloads the manager's components with retries and installs them, while the window shows how
/// far it is. Lives on the main thread, where it processes events while it waits. Each wait ends
/// when a stop is requested.
class VINST_DOWNLOAD_JOB
{
public:
    VINST_DOWNLOAD_JOB(VINST_RELEASE& release, VINST_DOWNLOADER_MGR& manager,
                       const VINST_DIALOG_HOST& host, VINST_JOB_WINDOW& window);

    /// Runs to the end, or until it is stopped.
    VINST_JOB_REPORT run(const VINST_JOB_CHOICES& choices);

    /// Shows the estimate of the manager. While it is empty, the elapsed time is shown instead.
    void show_time_remaining(const QString& text);
    /// Whether installers or after-install actions are running.
    bool is_installing() const { return m_install_clock.isValid(); }
    /// Whether the directory has an incomplete installation of this process, which the next run
    /// offers to continue.
    bool continues_in(const QString& install_dir) const;
    /// Clears the times of the last run.
    void forget_times();

private:
    VINST_JOB_REPORT run_steps();

    /// Why there is nothing to download, as a sentence for the user; otherwise empty.
    QString reason_for_nothing() const;

    // Before the download. \return whether the job continues
    bool prepare();
    bool resolve_missing_rights();
    bool obtain_licence();
    bool prepare_download_dir();
    /// Warns once about each directory.
    bool accept_open_download_dir();
    bool check_install_dir();
    /// Refuses a directory that isn't empty, unless the user continues an incomplete installation.
    bool accept_files_in_install_dir();
    bool confirm(const QString& title, const char* message_id, bool is_warning);
    bool ask(const QString& title, const std::string& text, bool is_warning);
    bool establish_connection();
    void log_run_summary();

    bool download_with_retries(VINST_JOB_REPORT& report);
    void download_once();
    bool wait_for_retry(int attempt, std::chrono::seconds wait);
    VINST_JOB_REPORT retries_exhausted();
    VINST_JOB_REPORT install_components();
    void remember_incomplete_installation(const VINST_INSTALL_OUTCOME& outcome);
    void show_time();

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_MGR& m_manager;
    const VINST_DIALOG_HOST& m_host;
    VINST_JOB_WINDOW& m_window;
    VINST_JOB_CHOICES m_choices;
    VINST_INSTALL_LOCK m_install_lock; ///< held while a job runs that installs
    QString m_accepted_open_dir;       ///< writable by others, as the user knows
    /// The unique path of an install directory in which this process has left an incomplete
    /// installation; otherwise empty.
    QString m_incomplete_install_dir;
    QString m_remaining_text;
    double m_download_seconds = 0; ///< of the job's finished attempts
    QElapsedTimer m_attempt_clock; ///< valid while an attempt runs
    QElapsedTimer m_install_clock; ///< valid while the job installs
    QTimer m_time_updates;         ///< active while a job downloads or installs
    VINST_JOB_RECORD m_record;
    VINST_JOB_END::RESULT m_result = VINST_JOB_END::RESULT::none; ///< of the job so far
};
