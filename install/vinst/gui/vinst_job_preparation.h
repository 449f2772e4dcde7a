#pragma once

#include "install/vinst/download/vinst_install_place.h"
#include "install/vinst/gui/vinst_job_window.h"

class VINST_RELEASE;
struct VINST_DIALOG_HOST;
struct VINST_INSTALL_OUTCOME;

/// Checks before the download whether a job can run as the user has chosen, and asks where the user
/// has to decide.
class VINST_JOB_PREPARATION
{
public:
    VINST_JOB_PREPARATION(VINST_RELEASE& release, const VINST_DIALOG_HOST& host,
                          VINST_JOB_FORM& form);

    /// Locks the install directory of a job that installs.
    /// \param choices  changed when the user continues without installation
    /// \return whether the job continues
    bool prepare(VINST_JOB_CHOICES& choices);
    void release_install_dir() { m_install_lock.release(); }

    /// Remembers the directory of an installation that is incomplete.
    void note(const VINST_INSTALL_OUTCOME& outcome);
    /// Whether the directory has an incomplete installation of this process, which the next run
    /// offers to continue.
    bool continues_in(const QString& install_dir) const;

private:
    bool check_all();
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

    VINST_RELEASE& m_release;
    const VINST_DIALOG_HOST& m_host;
    VINST_JOB_FORM& m_form;
    VINST_JOB_CHOICES m_choices;
    VINST_INSTALL_LOCK m_install_lock; ///< held while a job runs that installs
    QString m_accepted_open_dir;       ///< writable by others, as the user knows
    /// The unique path of an install directory in which this process has left an incomplete
    /// installation; otherwise empty.
    QString m_incomplete_install_dir;
};
