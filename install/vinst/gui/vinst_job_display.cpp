#include "install/vinst/gui/vinst_job_display.h"

#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/gui/vinst_announcer.h"
#include "install/vinst/gui/vinst_dialog_host.h"
#include "install/vinst/gui/vinst_download_job.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_label_ground.h"
#include "install/vinst/gui/vinst_window_progress.h"
#include "ui_vinst_downloader_dlg.h"

#include <algorithm>

VINST_JOB_DISPLAY::VINST_JOB_DISPLAY(Ui::VINST_DOWNLOADER_DLG& ui) : m_ui(ui) {}

VINST_JOB_DISPLAY::~VINST_JOB_DISPLAY() = default;

void VINST_JOB_DISPLAY::set_up(VINST_DOWNLOAD_JOB& job, QWidget& window,
                               const VINST_DIALOG_HOST& host)
{
    m_outside = std::make_unique<VINST_WINDOW_PROGRESS>(window, host.alert);
    m_job = &job;
    m_announcer = std::make_unique<VINST_ANNOUNCER>(*m_ui.m_download_message_label, host.announce);
    show_installation_step({});
}

void VINST_JOB_DISPLAY::begin_job()
{
    m_is_job_running = true;
    m_outside->show_percentage(m_overall_percent);
    m_ui.m_job_end_view->clear();
    m_ui.m_download_treeview->clear_row_states();
    m_attempt.clear();
}

void VINST_JOB_DISPLAY::end_job(const VINST_JOB_END& end)
{
    m_is_job_running = false;
    m_outside->show_percentage({});
    show_failed_rows();
    m_ui.m_download_treeview->settle_row_states();
    show_installation_step({});
    m_ui.m_job_end_view->show_end(end);
}

void VINST_JOB_DISPLAY::forget_end()
{
    m_ui.m_job_end_view->clear();
}

bool VINST_JOB_DISPLAY::has_installed_to(const QString& dir) const
{
    const VINST_JOB_END& end = m_ui.m_job_end_view->end();
    return end.result == VINST_JOB_END::RESULT::installed && end.dir == dir;
}

void VINST_JOB_DISPLAY::show_status(const QString& text)
{
    m_ui.m_download_message_label->setText(text);
    m_ui.m_download_message_label->setStyleSheet(status_style(text));
    follow_palette();
    m_announcer->follow();
}

void VINST_JOB_DISPLAY::follow_palette()
{
    QLabel& status = *m_ui.m_download_message_label;
    set_readable_ground(status, status_color(status.text()));
}

void VINST_JOB_DISPLAY::show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state)
{
    m_ui.m_download_treeview->show_integrity(component, state);
    if (!m_is_job_running)
        return;
    if (state == VINST_INTEGRITY_STATE::checking)
        m_ui.m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::checking});
    else if (state == VINST_INTEGRITY_STATE::passed)
        m_ui.m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::verified});
}

void VINST_JOB_DISPLAY::show_attempt(const VINST_COMPONENT_LIST& components)
{
    m_attempt = components;
    m_speed.reset();
    for (const VINST_COMPONENT* component : components)
        m_ui.m_download_treeview->show_row_state(component, {component->file.has_passed()
                                                                 ? VINST_ROW_STATE::KIND::verified
                                                                 : VINST_ROW_STATE::KIND::waiting});
}

void VINST_JOB_DISPLAY::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                      const VINST_PROGRESS_TOTALS& totals)
{
    // Stopped transfers seem to wait.
    if (is_to_stop())
        return;
    show_smoothed_speed(totals);
    // In the order of the attempt.
    const std::size_t count = std::min(progress.size(), m_attempt.size());
    for (std::size_t i = 0; i < count; ++i)
        m_ui.m_download_treeview->show_row_state(
            m_attempt[i], row_state_of(progress[i], m_attempt[i]->file.is_being_checked()));
}

void VINST_JOB_DISPLAY::show_retry_wait(const VINST_COMPONENT_LIST& failed,
                                        std::chrono::seconds left)
{
    for (const VINST_COMPONENT* component : failed)
        m_ui.m_download_treeview->show_row_state(component,
                                                 {VINST_ROW_STATE::KIND::retrying, left, {}});
}

void VINST_JOB_DISPLAY::show_failed_rows()
{
    for (const VINST_COMPONENT* component : m_attempt)
        if (!component->last_failure.isEmpty())
            m_ui.m_download_treeview->show_row_state(
                component, {VINST_ROW_STATE::KIND::failed, {}, component->last_failure});
}

void VINST_JOB_DISPLAY::show_installer(VINST_COMPONENT* component, int number, int count)
{
    m_ui.m_download_treeview->show_row_state(component, {VINST_ROW_STATE::KIND::installing});
    show_installation_step(installation_step(*component, number, count));
}

void VINST_JOB_DISPLAY::show_installer_end(VINST_COMPONENT* component, const QString& failure)
{
    m_ui.m_download_treeview->show_row_state(
        component, failure.isEmpty() ? VINST_ROW_STATE{VINST_ROW_STATE::KIND::installed}
                                     : VINST_ROW_STATE{VINST_ROW_STATE::KIND::failed, {}, failure});
}

void VINST_JOB_DISPLAY::show_action(const VINST_COMPONENT& action)
{
    show_installation_step("Running: " + action.display_name());
}

void VINST_JOB_DISPLAY::show_installer_output(const QString& line)
{
    QLabel& label = *m_ui.m_installer_output_label;
    label.setToolTip(line.toHtmlEscaped());
    label.setText(label.fontMetrics().elidedText(line, Qt::ElideRight, label.width()));
}

void VINST_JOB_DISPLAY::show_install_time(std::chrono::seconds elapsed)
{
    if (!m_installation_step.isEmpty())
        m_ui.m_installation_label->setText(installation_step_text(m_installation_step, elapsed));
}

void VINST_JOB_DISPLAY::show_installation_step(const QString& step)
{
    m_installation_step = step;
    const bool is_installing = !step.isEmpty();
    m_ui.m_installation_label->setText(step);
    m_ui.m_installer_output_label->clear();
    m_ui.m_installer_output_label->setToolTip({});
    m_ui.m_installation_label->setVisible(is_installing);
    m_ui.m_installer_output_label->setVisible(is_installing);
    // A range without a width makes the bar busy.
    m_ui.m_total_download_progress_bar->setRange(0, is_installing ? 0 : 100);
    if (!is_installing)
        m_ui.m_total_download_progress_bar->setValue(m_overall_percent);
}

void VINST_JOB_DISPLAY::show_percentage(VINST_COMPONENT* component, quint64 percent)
{
    m_ui.m_download_treeview->show_percentage(component, percent);
}

void VINST_JOB_DISPLAY::show_overall(const QString& text, quint64 percent)
{
    m_ui.m_total_size_downloaded_label->setText(downloaded_label(text, percent));
    m_overall_percent = static_cast<int>(std::min<quint64>(percent, 100));
    m_ui.m_total_download_progress_bar->setValue(m_overall_percent);
    if (m_is_job_running)
        m_outside->show_percentage(m_overall_percent);
}

void VINST_JOB_DISPLAY::show_speed(const QString& text)
{
    // The manager's figures are those of the last second; here, only their end counts.
    if (text.isEmpty())
        m_ui.m_avg_download_speed_label->clear();
}

void VINST_JOB_DISPLAY::show_time_remaining(const QString& text)
{
    if (text.isEmpty())
        m_job->show_time_remaining({});
}

void VINST_JOB_DISPLAY::show_smoothed_speed(const VINST_PROGRESS_TOTALS& totals)
{
    m_speed.add(VINST_SMOOTHED_SPEED::CLOCK::now(), totals);
    m_ui.m_avg_download_speed_label->setText(speed_label(m_speed.speed_text()));
    const QString remaining = m_speed.remaining_text();
    m_job->show_time_remaining(remaining.isEmpty() ? QString()
                                                   : "Est. time remaining " + remaining);
}

void VINST_JOB_DISPLAY::show_time(const QString& text)
{
    m_ui.m_time_label->setText(text);
}
