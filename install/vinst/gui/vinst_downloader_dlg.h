#pragma once

#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/release/vinst_data_space.h"
#include "support/afcq/afcq_dialog.h"
#include "support/cfgq/cfgq_registry_key.h"
#include "support/thr/thr_sleep.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

class QAbstractButton;
class VINST_LOG_VIEWER_DLG;
class VINST_SETTINGS_DLG;

namespace Ui
{
class VINST_DOWNLOADER_DLG;
}

/// The machine, as far as the main dialog asks for it.
struct VINST_DIALOG_HOST
{
    QString platform; ///< the running one
    bool is_admin = false;
    VINST_VOLUME_QUERY query_volume;

    static VINST_DIALOG_HOST this_machine();
};

/// The main window of graphical mode: the components of a release, where they go, and the job that
/// brings them there.
class VINST_DOWNLOADER_DLG final : public AFCQ_DIALOG, private VINST_DOWNLOADER_VIEW
{
    Q_OBJECT

public:
    explicit VINST_DOWNLOADER_DLG(VINST_RELEASE& release,
                                  VINST_DIALOG_HOST host = VINST_DIALOG_HOST::this_machine());
    /// Stores what the next run begins with.
    ~VINST_DOWNLOADER_DLG() override;

    bool is_download_in_progress() const { return m_download_in_progress; }
    bool is_checking_files() const { return m_manager.has_pending_integrity_tasks(); }

    /// Escape closes like the button, so that it never discards a job.
    void reject() override;

public Q_SLOTS:
    void start_download();
    void stop_download();
    /// Closes the window because the process is to stop: ends the job, cancels what waits for the
    /// user, asks nothing. The window stays open until the job has unwound, as the job runs event
    /// loops of its own. Called on the main thread once a stop is requested.
    void stop_for_exit();
    void show_settings();
    void show_log();
    void show_help();
    void browse_clicked();

Q_SIGNALS:
    /// What waits for the next attempt need not wait any longer.
    void stop_requested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // What the manager tells.
    void show_status(const QString& text) override;
    void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) override;
    void show_percentage(VINST_COMPONENT* component, quint64 percent) override;
    void show_overall(const QString& text, quint64 percent) override;
    void show_speed(const QString& text) override;
    void show_time_remaining(const QString& text) override;

    void set_up_header();
    void set_up_connections();
    void restore_settings();
    void save_settings();

    void change_platform(const QString& platform);
    void rebuild_platform();
    void apply_auto_install_availability();
    void apply_auto_install_choice();
    /// What the user has clicked, and what that needs besides.
    void follow_clicks();
    /// Checks what the chosen components need. \return what wasn't chosen before
    VINST_COMPONENT_LIST complete_selection();
    /// Everything that hangs on which components are chosen.
    void follow_selection();
    void hand_components_to_manager();
    void update_space_labels();
    void update_licence_link();
    void update_label_grounds();
    void take_directories();

    void enter_busy_state();
    void return_to_idle();
    bool auto_installs() const;

    // The job; see vinst_downloader_dlg_run.cpp.
    struct REPORT
    {
        QString text;
        bool is_error = false;
        bool is_markup = false; ///< the program's own; else plain text
    };
    REPORT run_job();
    bool pass_checks();
    bool check_rights();
    bool check_licence();
    bool check_download_dir();
    bool check_install_dir();
    bool confirm(const QString& title, const char* message_id, bool is_warning);
    bool refuse(const std::string& text);
    bool establish_connection();
    bool download_with_retries(REPORT& report);
    bool wait_for_retry(int attempt, std::chrono::seconds wait);
    REPORT retries_exhausted();
    REPORT install_components();
    void show_elapsed_time();
    void show(const REPORT& report);

    VINST_RELEASE& m_release;
    const VINST_DIALOG_HOST m_host;
    std::unique_ptr<Ui::VINST_DOWNLOADER_DLG> m_ui;
    CFGQ_REGISTRY_KEY m_settings_key;
    VINST_DOWNLOADER_MGR m_manager;
    VINST_SETTINGS_DLG* m_settings_dlg;     ///< owned by this dialog
    VINST_LOG_VIEWER_DLG* m_log_viewer_dlg; ///< the same
    QString m_platform;                     ///< the selected one
    bool m_download_in_progress = false;
    bool m_is_busy = false; ///< a job is on the stack, also while it ends after a stop
    bool m_stop_had_focus = false;
    bool m_never_ask_feedback = false;
    double m_download_seconds = 0; ///< of the attempts of the job that have ended
    QString m_remaining_text;
    QString m_no_description;      ///< what stands for one until the user is at a component
    QElapsedTimer m_attempt_clock; ///< valid while an attempt runs
    QTimer m_elapsed_timer;
    QTimer m_directory_timer;                  ///< gathers key strokes in the directory fields
    THR_STOP_SUBSCRIPTION m_stop_subscription; ///< the first to go: it calls this dialog
};
