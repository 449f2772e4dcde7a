#include "install/vinst/gui/vinst_downloader_dlg.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_announcer.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "ui_vinst_downloader_dlg.h"

#include <QMessageBox>

#include <algorithm>
#include <utility>

// The part of the main dialog that starts, stops and shows the job.

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
    enter_busy_state();
    m_ui->m_job_end_view->clear();
    m_ui->m_download_treeview->clear_row_states();
    m_attempt.clear();
    const VINST_JOB_REPORT report = m_job.run(choices());
    show_failed_rows();
    m_ui->m_download_treeview->settle_row_states();
    show_installation_step({});
    return_to_idle();
    m_ui->m_download_treeview->refresh_run_flags();
    m_ui->m_job_end_view->show_end(report.end);
    update_space_labels();
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
    m_stop_had_focus = m_ui->m_stop_button->hasFocus();
    m_ui->m_stop_button->setEnabled(false);
    m_manager.stop();
    show_status(QStringLiteral("Download stopped"));
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
    if (m_ui->m_stop_button->hasFocus() || std::exchange(m_stop_had_focus, false))
        m_ui->m_download_button->setFocus();
    m_ui->m_stop_button->setEnabled(false);
}

void VINST_DOWNLOADER_DLG::show_status(const QString& text)
{
    m_ui->m_download_message_label->setText(text);
    m_ui->m_download_message_label->setStyleSheet(status_style(text));
    m_announcer->follow();
}

void VINST_DOWNLOADER_DLG::show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state)
{
    m_ui->m_download_treeview->show_integrity(component, state);
    if (!m_is_busy)
        return;
    if (state == VINST_INTEGRITY_STATE::checking)
        m_ui->m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::checking});
    else if (state == VINST_INTEGRITY_STATE::passed)
        m_ui->m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::verified});
}

void VINST_DOWNLOADER_DLG::show_attempt(const VINST_COMPONENT_LIST& components)
{
    m_attempt = components;
    for (const VINST_COMPONENT* component : components)
        m_ui->m_download_treeview->show_row_state(
            component, {component->file.has_passed() ? VINST_ROW_STATE::KIND::verified
                                                     : VINST_ROW_STATE::KIND::waiting});
}

void VINST_DOWNLOADER_DLG::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                         const VINST_PROGRESS_TOTALS& /*totals*/)
{
    // Stopped transfers seem to wait.
    if (is_to_stop())
        return;
    // In the order of the attempt.
    const std::size_t count = std::min(progress.size(), m_attempt.size());
    for (std::size_t i = 0; i < count; ++i)
        m_ui->m_download_treeview->show_row_state(
            m_attempt[i], row_state_of(progress[i], m_attempt[i]->file.is_being_checked()));
}

void VINST_DOWNLOADER_DLG::show_retry_wait(const VINST_COMPONENT_LIST& failed,
                                           std::chrono::seconds left)
{
    for (const VINST_COMPONENT* component : failed)
        m_ui->m_download_treeview->show_row_state(component,
                                                  {VINST_ROW_STATE::KIND::retrying, left, {}});
}

void VINST_DOWNLOADER_DLG::show_failed_rows()
{
    for (const VINST_COMPONENT* component : m_attempt)
        if (!component->last_failure.isEmpty())
            m_ui->m_download_treeview->show_row_state(
                component, {VINST_ROW_STATE::KIND::failed, {}, component->last_failure});
}

void VINST_DOWNLOADER_DLG::show_installer(VINST_COMPONENT* component, int number, int count)
{
    m_ui->m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::installing});
    show_installation_step(installation_step(*component, number, count));
}

void VINST_DOWNLOADER_DLG::show_installer_end(VINST_COMPONENT* component, const QString& failure)
{
    m_ui->m_download_treeview->show_row_state(
        component, failure.isEmpty() ? VINST_ROW_STATE{VINST_ROW_STATE::KIND::installed}
                                     : VINST_ROW_STATE{VINST_ROW_STATE::KIND::failed, {}, failure});
}

void VINST_DOWNLOADER_DLG::show_action(const VINST_COMPONENT& action)
{
    show_installation_step("Running: " + action.display_name());
}

void VINST_DOWNLOADER_DLG::show_installer_output(const QString& line)
{
    QLabel& label = *m_ui->m_installer_output_label;
    label.setToolTip(line.toHtmlEscaped());
    label.setText(label.fontMetrics().elidedText(line, Qt::ElideRight, label.width()));
}

void VINST_DOWNLOADER_DLG::show_install_time(std::chrono::seconds elapsed)
{
    if (!m_installation_step.isEmpty())
        m_ui->m_installation_label->setText(installation_step_text(m_installation_step, elapsed));
}

void VINST_DOWNLOADER_DLG::show_installation_step(const QString& step)
{
    m_installation_step = step;
    const bool is_installing = !step.isEmpty();
    m_ui->m_installation_label->setText(step);
    m_ui->m_installer_output_label->clear();
    m_ui->m_installer_output_label->setToolTip({});
    m_ui->m_installation_label->setVisible(is_installing);
    m_ui->m_installer_output_label->setVisible(is_installing);
    // A range without a width makes the bar busy.
    m_ui->m_total_download_progress_bar->setRange(0, is_installing ? 0 : 100);
    if (!is_installing)
        m_ui->m_total_download_progress_bar->setValue(m_overall_percent);
}

void VINST_DOWNLOADER_DLG::show_percentage(VINST_COMPONENT* component, quint64 percent)
{
    m_ui->m_download_treeview->show_percentage(component, percent);
}

void VINST_DOWNLOADER_DLG::show_overall(const QString& text, quint64 percent)
{
    m_ui->m_total_size_downloaded_label->setText(downloaded_label(text, percent));
    m_overall_percent = static_cast<int>(std::min<quint64>(percent, 100));
    m_ui->m_total_download_progress_bar->setValue(m_overall_percent);
}

void VINST_DOWNLOADER_DLG::show_speed(const QString& text)
{
    m_ui->m_avg_download_speed_label->setText(speed_label(text));
}

void VINST_DOWNLOADER_DLG::show_time_remaining(const QString& text)
{
    m_job.show_time_remaining(text);
}

void VINST_DOWNLOADER_DLG::show_time(const QString& text)
{
    m_ui->m_time_label->setText(text);
}

bool VINST_DOWNLOADER_DLG::ask(const QString& title, const std::string& text, bool is_warning)
{
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
