#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/download/vinst_retry.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "ui_vinst_downloader_dlg.h"

#include <QDir>
#include <QMessageBox>

using namespace std::chrono_literals;

void VINST_DOWNLOADER_DLG::start_download()
{
    if (m_is_busy || is_shutting_down())
        return;
    m_ui->m_download_treeview->take_clicks();
    take_directories();
    if (complete_selection().empty())
        hand_components_to_manager();
    else
        follow_selection();
    begin_stoppable_work();
    enter_busy_state();
    const REPORT report = run_job();
    m_elapsed_timer.stop();
    return_to_idle();
    m_ui->m_download_treeview->refresh_run_flags();
    update_space_labels();
    show(report);
    if (is_shutting_down())
        close();
}

void VINST_DOWNLOADER_DLG::stop_download()
{
    if (!m_is_busy)
        return;
    m_stop_had_focus = m_ui->m_stop_button->hasFocus();
    m_ui->m_stop_button->setEnabled(false);
    m_manager.stop();
    show_status(QStringLiteral("Download stopped"));
}

void VINST_DOWNLOADER_DLG::stop_for_exit()
{
    stop_download();
    dismiss_modal_dialogs();
    if (!m_is_busy)
        close();
}

VINST_DOWNLOADER_DLG::REPORT VINST_DOWNLOADER_DLG::run_job()
{
    if (!prepare() || !establish_connection())
        return {};
    m_download_seconds = 0;
    m_elapsed_timer.start();
    REPORT report;
    if (!download_with_retries(report))
        return report;
    if (!auto_installs())
        return {download_report(static_cast<int>(m_manager.passed_components().size())), false,
                true};
    return install_components();
}

bool VINST_DOWNLOADER_DLG::prepare()
{
    return resolve_missing_rights() && obtain_licence() && prepare_download_dir() &&
           check_install_dir();
}

bool VINST_DOWNLOADER_DLG::resolve_missing_rights()
{
    if (!auto_installs() || m_host.is_admin)
        return true;
    if (!confirm("Proceed without installation?", "ERROR_NOT_ADMIN_CANT_INSTALL", true))
        return false;
    m_ui->m_install_options_groupbox->setChecked(false);
    m_ui->m_after_install_actions->follow_selection(false);
    m_ui->m_download_treeview->show_run_column(false);
    return true;
}

bool VINST_DOWNLOADER_DLG::obtain_licence()
{
    if (!auto_installs() || m_ui->m_agree_license_checkbox->isChecked())
        return true;
    if (!confirm("Accept License Agreement?", "ERROR_AGREE_EULA_GUI", false))
        return false;
    m_ui->m_agree_license_checkbox->setChecked(true);
    return true;
}

bool VINST_DOWNLOADER_DLG::prepare_download_dir()
{
    const QString dir = m_ui->m_download_dir_line_edit->text();
    std::string error;
    if (!validate_download_path(dir, error))
        return refuse(error);
    if (!QDir().mkpath(QDir(dir).absolutePath()))
        return refuse(message("ERROR_CREATE_DIRECTORY", "Download"));
    return has_enough_download_space(m_release, m_platform, m_host.query_volume) ||
           confirm("Insufficient Disk Space", "WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE", true);
}

bool VINST_DOWNLOADER_DLG::check_install_dir()
{
    if (!auto_installs())
        return true;
    const QString dir = m_ui->m_install_dir_line_edit->text();
    std::string error;
    if (!validate_install_path(dir, error, m_host.platform))
        return refuse(error);
    if (!is_empty_or_missing_dir(dir))
        return refuse(message("ERROR_INSTALLDIR_IS_NOT_EMPTY"));
    return has_enough_install_space(m_release, m_platform, m_host.query_volume) ||
           confirm("Insufficient Disk Space", "WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE", true);
}

bool VINST_DOWNLOADER_DLG::confirm(const QString& title, const char* message_id, bool is_warning)
{
    if (is_to_stop())
        return false;
    const QString text = QString::fromStdString(message(message_id));
    const QMessageBox::StandardButtons buttons = QMessageBox::Yes | QMessageBox::No;
    const QMessageBox::StandardButton answer =
        is_warning ? QMessageBox::warning(this, title, text, buttons, QMessageBox::No)
                   : QMessageBox::question(this, title, text, buttons, QMessageBox::No);
    return answer == QMessageBox::Yes && !is_to_stop();
}

bool VINST_DOWNLOADER_DLG::refuse(const std::string& text)
{
    show_message_box(text, true);
    return false;
}

bool VINST_DOWNLOADER_DLG::establish_connection()
{
    show_status(QStringLiteral("Establishing a connection..."));
    QCoreApplication::processEvents();
    if (is_to_stop())
        return false;
    const VINST_CONNECTION_RESULT result =
        m_manager.test_download(m_settings_dlg->proxy_settings());
    if (is_to_stop())
        return false;
    if (result.works)
        return true;
    show_status(QStringLiteral("Download failed"));
    return refuse(result.error);
}

bool VINST_DOWNLOADER_DLG::download_with_retries(REPORT& report)
{
    QElapsedTimer since_start;
    since_start.start();
    for (int attempt = 1;; ++attempt)
    {
        m_attempt_clock.start();
        m_manager.download(m_settings_dlg->parallel_downloads());
        m_download_seconds += static_cast<double>(m_attempt_clock.elapsed()) / 1000;
        m_attempt_clock.invalidate();
        show_elapsed_time();
        if (is_to_stop())
            return false;
        if (m_manager.failed_components().empty())
            return true;

        const VINST_RETRY_DECISION decision =
            decide_retry(attempt, std::chrono::nanoseconds(since_start.nsecsElapsed()),
                         m_settings_dlg->retry_duration(),
                         m_manager.write_error() || m_manager.not_found_error());
        switch (decision.action)
        {
        case VINST_RETRY_DECISION::ACTION::give_up_on_error:
            report = {m_manager.lasting_error_texts().join('\n'), true, false};
            show_status(m_manager.lasting_error_texts().join(' '));
            return false;
        case VINST_RETRY_DECISION::ACTION::give_up_on_time:
            report = retries_exhausted();
            return false;
        case VINST_RETRY_DECISION::ACTION::retry:
            break;
        }
        if (!wait_for_retry(attempt, decision.wait))
            return false;
    }
}

bool VINST_DOWNLOADER_DLG::wait_for_retry(int attempt, std::chrono::seconds wait)
{
    run_log().info("%s", utf8(retry_status(attempt, wait)));
    for (std::chrono::seconds left = wait; left > 0s; left -= 1s)
    {
        show_status(retry_status(attempt, left));
        if (!wait_unless_stopped(1s))
            return false;
    }
    return true;
}

VINST_DOWNLOADER_DLG::REPORT VINST_DOWNLOADER_DLG::retries_exhausted()
{
    const QString status =
        QStringLiteral("Download failed. Exceeded retry limit. Process aborted.");
    show_status(status);
    run_log().info("%s", utf8(status));
    QStringList names;
    for (const VINST_COMPONENT* component : m_manager.failed_components())
        names.append(component->display_name());
    return {failed_components_text(names, m_manager.error_text()), true, false};
}

VINST_DOWNLOADER_DLG::REPORT VINST_DOWNLOADER_DLG::install_components()
{
    m_ui->m_install_options_groupbox->setEnabled(false);
    show_status(QStringLiteral("Installing the selected components, please wait..."));
    QElapsedTimer clock;
    clock.start();
    const VINST_INSTALL_OUTCOME outcome = m_manager.install();
    const QString status = install_status(outcome, static_cast<double>(clock.elapsed()) / 1000);
    show_status(status);
    for (const QString& line : outcome.not_installed)
        run_log().info("%s", utf8(line));
    run_log().info("%s", utf8(status));
    return {install_report(outcome), outcome.result != VINST_INSTALL_OUTCOME::RESULT::installed,
            true};
}

void VINST_DOWNLOADER_DLG::show_elapsed_time()
{
    if (!m_remaining_text.isEmpty())
    {
        m_ui->m_time_label->setText(m_remaining_text);
        return;
    }
    double seconds = m_download_seconds;
    if (m_attempt_clock.isValid())
        seconds += static_cast<double>(m_attempt_clock.elapsed()) / 1000;
    m_ui->m_time_label->setText(seconds > 0 ? "Total download time: " + format_elapsed(seconds)
                                            : QString());
}

void VINST_DOWNLOADER_DLG::show(const REPORT& report)
{
    if (report.text.isEmpty())
        return;
    if (report.is_markup)
        show_markup_box(report.text, report.is_error);
    else
        show_message_box(utf8(report.text), report.is_error);
}
