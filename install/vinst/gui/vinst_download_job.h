#pragma once

#include "install/vinst/download/vinst_connection_test.h"
#include "install/vinst/download/vinst_install_place.h"
#include "install/vinst/release/vinst_data_components.h"

#include <QElapsedTimer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <string>

class VINST_DOWNLOADER_MGR;
class VINST_RELEASE;
struct VINST_DIALOG_HOST;
struct VINST_INSTALL_OUTCOME;

/// What the user has chosen for a job. The window does not let the user change it while the job
/// runs.
struct VINST_JOB_CHOICES
{
    QString platform;
    QString download_dir;
    QString install_dir;
    bool auto_install = false;
    bool agrees_to_licence = false;
    VINST_PROXY_SETTINGS proxy;
    int parallel_downloads = 0;
    std::chrono::minutes retry_duration{0};
};

/// What is shown in a message box at the end of a job; nothing when the text is empty.
struct VINST_JOB_REPORT
{
    QString text;
    bool is_error = false;
    bool is_markup = false; ///< written by the program; otherwise plain text
};

/// What a job needs from the window that shows it.
class VINST_JOB_WINDOW
{
public:
    VINST_JOB_WINDOW() = default;
    VINST_JOB_WINDOW(const VINST_JOB_WINDOW&) = delete;
    VINST_JOB_WINDOW& operator=(const VINST_JOB_WINDOW&) = delete;

    virtual void show_status(const QString& text) = 0;
    /// The next attempt at these components starts in that time.
    virtual void show_retry_wait(const VINST_COMPONENT_LIST& failed, std::chrono::seconds left) = 0;
    /// The time since the installation has begun; shown once per second while it runs.
    virtual void show_install_time(std::chrono::seconds elapsed) = 0;
    /// The remaining time, or how long the download has taken.
    virtual void show_time(const QString& text) = 0;

    /// Asks a question in a modal box. \return whether the user answered yes
    virtual bool ask(const QString& title, const std::string& text, bool is_warning) = 0;
    /// The user continues without installation.
    virtual void drop_auto_install() = 0;
    virtual void accept_licence() = 0;

protected:
    ~VINST_JOB_WINDOW() = default;
};

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
};
