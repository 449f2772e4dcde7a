#include "install/vinst/gui/vinst_job_preparation.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/gui/vinst_dialog_host.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/release/vinst_data_space.h"

#include <QDir>

namespace
{

/// For a text that is in the log already.
bool show_refusal(const std::string& text)
{
    show_message_box(text, true);
    return false;
}

bool refuse(const std::string& text)
{
    run_log().error("%s", text);
    return show_refusal(text);
}

}

VINST_JOB_PREPARATION::VINST_JOB_PREPARATION(VINST_RELEASE& release, const VINST_DIALOG_HOST& host,
                                             VINST_JOB_FORM& form)
    : m_release(release), m_host(host), m_form(form)
{
}

bool VINST_JOB_PREPARATION::prepare(VINST_JOB_CHOICES& choices)
{
    m_choices = choices;
    const bool is_ready = check_all();
    choices.auto_install = m_choices.auto_install;
    return is_ready;
}

bool VINST_JOB_PREPARATION::check_all()
{
    return resolve_missing_rights() && obtain_licence() && prepare_download_dir() &&
           accept_open_download_dir() && check_install_dir();
}

bool VINST_JOB_PREPARATION::resolve_missing_rights()
{
    if (!m_choices.auto_install || m_host.is_admin)
        return true;
    if (!confirm("Proceed without installation?", "ERROR_NOT_ADMIN_CANT_INSTALL", true))
        return false;
    m_choices.auto_install = false;
    m_form.drop_auto_install();
    return true;
}

bool VINST_JOB_PREPARATION::obtain_licence()
{
    if (!m_choices.auto_install || m_choices.agrees_to_licence)
        return true;
    if (!confirm("Accept License Agreement?", "ERROR_AGREE_EULA_GUI", false))
        return false;
    m_form.accept_licence();
    return true;
}

bool VINST_JOB_PREPARATION::prepare_download_dir()
{
    const QString& dir = m_choices.download_dir;
    std::string error;
    if (!validate_download_path(dir, error))
        return show_refusal(error);
    if (!QDir().mkpath(QDir(dir).absolutePath()))
        return refuse(message("ERROR_CREATE_DIRECTORY", "Download"));
    return has_enough_download_space(m_release, m_choices.platform, m_host.query_volume) ||
           confirm("Insufficient Disk Space", "WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE", true);
}

bool VINST_JOB_PREPARATION::accept_open_download_dir()
{
    const QString warning = open_download_dir_warning(m_release);
    if (warning.isEmpty() || m_choices.download_dir == m_accepted_open_dir)
        return true;
    run_log().info("%s", utf8(warning));
    if (!ask("Use a directory that others can write?", utf8(warning) + "\n\nContinue anyway?",
             true))
        return false;
    m_accepted_open_dir = m_choices.download_dir;
    return true;
}

bool VINST_JOB_PREPARATION::check_install_dir()
{
    if (!m_choices.auto_install)
        return true;
    const QString& dir = m_choices.install_dir;
    std::string error;
    if (!validate_install_path(dir, error, m_host.platform))
        return show_refusal(error);
    if (!accept_files_in_install_dir())
        return false;
    QString obstacle = install_obstacle(m_release);
    if (obstacle.isEmpty())
        obstacle = m_install_lock.take(dir);
    if (!obstacle.isEmpty())
        return refuse(utf8(obstacle));
    return has_enough_install_space(m_release, m_choices.platform, m_host.query_volume) ||
           confirm("Insufficient Disk Space", "WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE", true);
}

bool VINST_JOB_PREPARATION::accept_files_in_install_dir()
{
    const QString& dir = m_choices.install_dir;
    if (is_empty_or_missing_dir(dir))
        return true;
    if (!continues_in(dir))
        return refuse(message("ERROR_INSTALLDIR_IS_NOT_EMPTY"));
    return ask("Continue the installation?",
               "The last installation in " + utf8(without_control_characters(dir)) +
                   " is incomplete. Do you want to install into the same directory again?",
               false);
}

bool VINST_JOB_PREPARATION::continues_in(const QString& install_dir) const
{
    return !m_incomplete_install_dir.isEmpty() &&
           unique_install_path(install_dir) == m_incomplete_install_dir;
}

bool VINST_JOB_PREPARATION::confirm(const QString& title, const char* message_id, bool is_warning)
{
    return ask(title, message(message_id), is_warning);
}

bool VINST_JOB_PREPARATION::ask(const QString& title, const std::string& text, bool is_warning)
{
    // A stop may be requested while the question is shown.
    return !is_to_stop() && m_form.ask(title, text, is_warning) && !is_to_stop();
}

void VINST_JOB_PREPARATION::note(const VINST_INSTALL_OUTCOME& outcome)
{
    using OUTCOME = VINST_INSTALL_OUTCOME::RESULT;
    if (outcome.result == OUTCOME::installed)
        m_incomplete_install_dir.clear();
    else if (outcome.result != OUTCOME::nothing_to_install &&
             !is_empty_or_missing_dir(m_choices.install_dir))
        m_incomplete_install_dir = unique_install_path(m_choices.install_dir);
}
