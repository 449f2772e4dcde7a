#pragma once

#include "install/vinst/download/vinst_connection_test.h"
#include "install/vinst/gui/vinst_job_end.h"
#include "install/vinst/release/vinst_data_components.h"

#include <QString>

#include <chrono>
#include <string>

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
    bool offers_log = false;
    VINST_JOB_END end = {};
};

/// What a job reports to the window that shows it.
class VINST_JOB_VIEW
{
public:
    VINST_JOB_VIEW() = default;
    VINST_JOB_VIEW(const VINST_JOB_VIEW&) = delete;
    VINST_JOB_VIEW& operator=(const VINST_JOB_VIEW&) = delete;

    virtual void show_status(const QString& text) = 0;
    /// The next attempt at these components starts in that time.
    virtual void show_retry_wait(const VINST_COMPONENT_LIST& failed, std::chrono::seconds left) = 0;
    /// The time since the installation has begun; shown once per second while it runs.
    virtual void show_install_time(std::chrono::seconds elapsed) = 0;
    /// The remaining time, or how long the download has taken.
    virtual void show_time(const QString& text) = 0;

protected:
    ~VINST_JOB_VIEW() = default;
};

/// What a job asks the user, and changes in the window accordingly.
class VINST_JOB_FORM
{
public:
    VINST_JOB_FORM() = default;
    VINST_JOB_FORM(const VINST_JOB_FORM&) = delete;
    VINST_JOB_FORM& operator=(const VINST_JOB_FORM&) = delete;

    /// Asks a question in a modal box. \return whether the user answered yes
    virtual bool ask(const QString& title, const std::string& text, bool is_warning) = 0;
    /// The user continues without installation.
    virtual void drop_auto_install() = 0;
    virtual void accept_licence() = 0;

protected:
    ~VINST_JOB_FORM() = default;
};
