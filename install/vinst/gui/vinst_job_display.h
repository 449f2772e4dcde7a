#pragma once

#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/gui/vinst_job_window.h"
#include "install/vinst/gui/vinst_smoothed_speed.h"

#include <memory>

class QWidget;
class VINST_ANNOUNCER;
class VINST_DOWNLOAD_JOB;
class VINST_WINDOW_PROGRESS;
struct VINST_DIALOG_HOST;

namespace Ui
{
class VINST_DOWNLOADER_DLG;
}

/// Shows in the widgets of the main dialog what a job and its manager report: the status group and
/// the states of the rows.
class VINST_JOB_DISPLAY final : public VINST_DOWNLOADER_VIEW, public VINST_JOB_VIEW
{
public:
    /// \param ui  outlives this display; its widgets exist before anything is shown
    explicit VINST_JOB_DISPLAY(Ui::VINST_DOWNLOADER_DLG& ui);
    ~VINST_JOB_DISPLAY() override;

    /// To be called once the widgets exist. The job outlives this display's last report.
    void set_up(VINST_DOWNLOAD_JOB& job, QWidget& window, const VINST_DIALOG_HOST& host);
    /// How users see the job who look at another window; null before the widgets exist.
    VINST_WINDOW_PROGRESS* outside() const { return m_outside.get(); }

    void begin_job();
    /// Shows what remains of the states, and the end.
    void end_job(const VINST_JOB_END& end);
    /// The last job's end is not of interest any more.
    void forget_end();
    /// Whether the last job has installed there, and its end is still shown.
    bool has_installed_to(const QString& dir) const;

    /// To be called after each change of the window's palette.
    void follow_palette();

    // Reports from the manager and from the job.
    void show_status(const QString& text) override;

    // Reports from the manager.
    void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) override;
    void show_percentage(VINST_COMPONENT* component, quint64 percent) override;
    void show_overall(const QString& text, quint64 percent) override;
    void show_speed(const QString& text) override;
    void show_time_remaining(const QString& text) override;
    void show_attempt(const VINST_COMPONENT_LIST& components) override;
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override;
    void show_installer(VINST_COMPONENT* component, int number, int count) override;
    void show_installer_end(VINST_COMPONENT* component, const QString& failure) override;
    void show_action(const VINST_COMPONENT& action) override;
    void show_installer_output(const QString& line) override;

    // Reports from the job.
    void show_retry_wait(const VINST_COMPONENT_LIST& failed, std::chrono::seconds left) override;
    void show_install_time(std::chrono::seconds elapsed) override;
    void show_time(const QString& text) override;

private:
    void show_failed_rows();
    void show_smoothed_speed(const VINST_PROGRESS_TOTALS& totals);
    /// Shows or hides what an installation shows: the step, the output, and a busy bar.
    void show_installation_step(const QString& step);

    Ui::VINST_DOWNLOADER_DLG& m_ui;
    VINST_DOWNLOAD_JOB* m_job = nullptr;
    std::unique_ptr<VINST_ANNOUNCER> m_announcer;
    std::unique_ptr<VINST_WINDOW_PROGRESS> m_outside;
    bool m_is_job_running = false;
    VINST_COMPONENT_LIST m_attempt; ///< the components of the current or last attempt
    VINST_SMOOTHED_SPEED m_speed;
    int m_overall_percent = 0;
    QString m_installation_step; ///< such as "Installing 2 of 5: The device"; else empty
};
