#pragma once

#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/gui/vinst_dialog_host.h"
#include "install/vinst/gui/vinst_download_job.h"
#include "install/vinst/gui/vinst_job_display.h"
#include "support/afcq/afcq_dialog.h"
#include "support/cfgq/cfgq_registry_key.h"
#include "support/thr/thr_sleep.h"

#include <QPointer>
#include <QTimer>

#include <memory>

class QAbstractButton;
class QMessageBox;
struct VINST_SPACE_AVAILABLE;
class VINST_LOG_VIEWER_DLG;
class VINST_SETTINGS_DLG;

namespace Ui
{
class VINST_DOWNLOADER_DLG;
}

/// The main window of graphical mode: shows the components of a release, sets their directories,
/// and starts and stops the job that downloads and installs them.
class VINST_DOWNLOADER_DLG final : public AFCQ_DIALOG, private VINST_JOB_FORM
{
    Q_OBJECT

public:
    explicit VINST_DOWNLOADER_DLG(VINST_RELEASE& release,
                                  VINST_DIALOG_HOST host = VINST_DIALOG_HOST::this_machine());
    /// Stores the settings for the next run.
    ~VINST_DOWNLOADER_DLG() override;

    bool is_download_in_progress() const { return m_is_busy && !is_to_stop(); }
    bool is_checking_files() const { return m_manager.has_pending_integrity_tasks(); }

    /// Escape closes the window in the same way as the button, so that it never discards a job.
    void reject() override;

public Q_SLOTS:
    void start_download();
    void stop_download();
    /// Closes the window because the process is to stop: ends the job and dismisses open dialogs
    /// without asking. The window stays open until the job has unwound, because the job runs its
    /// own event loops. Called on the main thread once a stop is requested.
    void stop_for_exit();
    void show_settings();
    void show_log();
    void show_help();
    void browse_clicked();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // For the job.
    bool ask(const QString& title, const std::string& text, bool is_warning) override;
    void drop_auto_install() override;
    void accept_licence() override;

    void set_up_header();
    void set_up_connections();
    void set_up_filter();
    void restore_settings();
    void save_settings();

    void change_platform(const QString& platform);
    void change_rate_limit(quint64 bytes_per_second);
    void rebuild_platform();
    void apply_auto_install_availability();
    void apply_auto_install_choice();
    /// Applies the user's clicks and adds the components that they require.
    void follow_clicks();
    /// Checks the components that the selected ones need. \return those that weren't selected
    /// before
    VINST_COMPONENT_LIST complete_selection();
    /// Updates everything that depends on the selected components.
    void follow_selection();
    void hand_components_to_manager();
    void update_space_labels();
    /// Shows below each directory's field what is wrong with it.
    void update_directory_problems(const VINST_SPACE_FIGURES& figures,
                                   const VINST_SPACE_AVAILABLE& available);
    void update_licence_link();
    void update_label_grounds();
    void take_directories();

    /// Asks before it stops an installation, while that continues.
    void ask_before_stop();
    void stop_job();
    void enter_busy_state();
    void return_to_idle();
    bool auto_installs() const;
    VINST_JOB_CHOICES choices() const;

    VINST_RELEASE& m_release;
    const VINST_DIALOG_HOST m_host;
    std::unique_ptr<Ui::VINST_DOWNLOADER_DLG> m_ui;
    CFGQ_REGISTRY_KEY m_settings_key;
    VINST_JOB_DISPLAY m_display;
    VINST_DOWNLOADER_MGR m_manager;
    VINST_DOWNLOAD_JOB m_job;
    VINST_SETTINGS_DLG* m_settings_dlg;     ///< owned by this dialog
    VINST_LOG_VIEWER_DLG* m_log_viewer_dlg; ///< the same
    QString m_platform;                     ///< selected by the user
    bool m_is_busy = false; ///< a job is on the stack, even while it unwinds after a stop
    bool m_stop_had_focus = false;
    bool m_never_ask_feedback = false;
    QPointer<QMessageBox> m_stop_question; ///< owned by this dialog; while it is shown
    QString m_no_description;              ///< shown until the user selects a row
    QTimer m_directory_timer; ///< delays the update while the user types in a directory field
    THR_STOP_SUBSCRIPTION m_stop_subscription; ///< destroyed first: it calls this dialog
};
