#include "install/vinst/gui/vinst_downloader_dlg.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "install/vinst/gui/vinst_window_progress.h"
#include "ui_vinst_downloader_dlg.h"

#include <QMessageBox>
#include <QPointer>

#include <utility>

// The part of the main dialog that starts and stops the job.

namespace
{

/// \return whether the user wants to see the log
bool show_report(const VINST_JOB_REPORT& report)
{
    if (report.text.isEmpty())
        return false;
    if (report.offers_log)
        return offer_in_markup_box(report.text, report.is_error, QStringLiteral("Show log"));
    if (report.is_markup)
        show_markup_box(report.text, report.is_error);
    else
        show_message_box(utf8(report.text), report.is_error);
    return false;
}

}

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
    const QPointer<QWidget> focus_before = focusWidget();
    enter_busy_state();
    m_display.begin_job();
    const VINST_JOB_REPORT report = m_job.run(choices());
    m_display.end_job(report.end);
    return_to_idle();
    const bool was_refused = report.end.result == VINST_JOB_END::RESULT::none;
    if (was_refused && focus_before != nullptr && focus_before->isVisible())
        focus_before->setFocus();
    m_ui->m_download_treeview->refresh_run_flags();
    update_space_labels();
    if (!was_refused || !report.text.isEmpty())
        m_display.outside()->ask_for_attention();
    if (show_report(report))
        show_log();
    if (is_shutting_down())
        close();
}

VINST_JOB_CHOICES VINST_DOWNLOADER_DLG::choices() const
{
    VINST_JOB_CHOICES choices;
    choices.platform = m_platform;
    choices.download_dir = m_ui->m_download_dir_line_edit->text();
    choices.install_dir = m_ui->m_install_dir_line_edit->text();
    choices.auto_install = auto_installs();
    choices.agrees_to_licence = m_ui->m_agree_license_checkbox->isChecked();
    choices.proxy = m_settings_dlg->proxy_settings();
    choices.parallel_downloads = m_settings_dlg->parallel_downloads();
    choices.retry_duration = m_settings_dlg->retry_duration();
    return choices;
}

void VINST_DOWNLOADER_DLG::stop_download()
{
    if (!m_is_busy)
        return;
    if (m_job.is_installing())
        ask_before_stop();
    else
        stop_job();
}

void VINST_DOWNLOADER_DLG::ask_before_stop()
{
    if (m_stop_question != nullptr || is_to_stop())
        return;
    m_stop_question = new QMessageBox(this);
    m_stop_question->setAttribute(Qt::WA_DeleteOnClose);
    prepare_question(*m_stop_question, QStringLiteral("Stop the installation?"),
                     stop_installation_text(m_ui->m_install_dir_line_edit->text()), true);
    connect(m_stop_question, &QDialog::finished, this,
            [this](int answer)
            {
                if (answer == QMessageBox::Yes && m_is_busy)
                    stop_job();
            });
    // Not exec, which would keep the job from continuing until the user answers.
    m_stop_question->open();
}

void VINST_DOWNLOADER_DLG::stop_job()
{
    // Not hasFocus, which is false while another window is active.
    m_stop_had_focus = focusWidget() == m_ui->m_stop_button;
    m_ui->m_stop_button->setEnabled(false);
    m_manager.stop();
    m_display.show_status(QStringLiteral("Download stopped"));
}

void VINST_DOWNLOADER_DLG::stop_for_exit()
{
    if (m_is_busy)
        stop_job();
    delete m_stop_question;
    dismiss_modal_dialogs();
    if (m_settings_dlg->isVisible())
        m_settings_dlg->reject();
    if (!m_is_busy)
        close();
}

void VINST_DOWNLOADER_DLG::enter_busy_state()
{
    m_is_busy = true;
    m_ui->m_download_treeview->set_editable(false);
    m_settings_dlg->set_job_running(true);
    m_ui->m_download_button->setEnabled(false);
    m_ui->m_stop_button->setEnabled(true);
    m_ui->m_close_button->setEnabled(false);
    m_ui->m_download_dir_line_edit->setEnabled(false);
    m_ui->m_install_options_groupbox->setEnabled(false);
    update_licence_link();
    m_ui->m_stop_button->setFocus();
}

void VINST_DOWNLOADER_DLG::return_to_idle()
{
    m_is_busy = false;
    delete m_stop_question; // too late for an answer
    m_ui->m_download_treeview->set_editable(true);
    m_settings_dlg->set_job_running(false);
    m_ui->m_download_button->setEnabled(true);
    m_ui->m_close_button->setEnabled(true);
    m_ui->m_download_dir_line_edit->setEnabled(true);
    apply_auto_install_availability();
    if (std::exchange(m_stop_had_focus, false) || focusWidget() == m_ui->m_stop_button)
        m_ui->m_download_button->setFocus();
    m_ui->m_stop_button->setEnabled(false);
}

bool VINST_DOWNLOADER_DLG::ask(const QString& title, const std::string& text, bool is_warning)
{
    m_display.outside()->ask_for_attention();
    return ask_in_box(this, title, QString::fromStdString(text), is_warning);
}

void VINST_DOWNLOADER_DLG::drop_auto_install()
{
    m_ui->m_install_options_groupbox->setChecked(false);
    m_ui->m_after_install_actions->follow_selection(false);
    m_ui->m_download_treeview->show_run_column(false);
}

void VINST_DOWNLOADER_DLG::accept_licence()
{
    m_ui->m_agree_license_checkbox->setChecked(true);
}
