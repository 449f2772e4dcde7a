#pragma once

#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/gui/vinst_downloader_treeview_model.h"
#include "install/vinst/gui/vinst_row_state.h"
#include "support/afcq/afcq_tree_view.h"
#include "support/cfgq/cfgq_registry_key.h"

#include <QTimer>

class VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE;
class VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE;
class VINST_TREE_SELECTION;

/// The release's components for a platform, as a tree of check boxes. The boxes reflect the
/// selection in the release's data.
class VINST_DOWNLOADER_TREEVIEW final : public AFCQ_TREE_VIEW
{
    Q_OBJECT

public:
    explicit VINST_DOWNLOADER_TREEVIEW(QWidget* parent = nullptr);

    /// The release outlives the tree.
    void set_release(VINST_RELEASE& release);
    void set_platform(const QString& platform) { m_platform = platform; }
    const QString& platform() const { return m_platform; }

    /// Rebuilds the rows of the platform.
    void populate();

    /// Shows only the rows that match a text, also after `populate`. \return whether there are any
    bool set_filter(const QString& text);

    /// Unlocks the check boxes, or locks them during a run.
    void set_editable(bool is_editable);
    void show_run_column(bool is_shown);

    /// Saves the check states of the rows under the components' names.
    void save_states();
    void restore_states();

    /// Emits `selection_changed` now for clicks that are still being batched.
    void take_clicks();

    /// Checks the rows of these components as a click would, but without a signal.
    void check(const VINST_COMPONENT_LIST& components);

    void show_percentage(const VINST_COMPONENT* component, quint64 percent);
    void show_row_state(const VINST_COMPONENT* component, const VINST_ROW_STATE& state);
    /// Removes the states of all rows.
    void clear_row_states();
    /// Shows what remains of the states after a job.
    void settle_row_states();
    void show_integrity(const VINST_COMPONENT* component, VINST_INTEGRITY_STATE state);
    /// Shows the state of each row's file in the download directory, ignoring earlier results.
    void refresh_from_files();
    /// Removes the progress and the states of the rows that aren't selected.
    void hide_bars_of_deselected();
    /// Offers the Run button for each component whose verified installer can be started.
    void refresh_run_flags();

Q_SIGNALS:
    /// Emitted once for all changes by the user within 200 ms.
    void selection_changed();
    /// What a Run button has started, or that it has ended.
    void run_reported(const QString& status);
    /// The description of the current row, as plain text.
    void current_component_changed(const QString& description);
    void current_title_changed(const QString& title);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    using ITEM = VINST_DOWNLOADER_TREEVIEW_ITEM;

    /// Shows whether the row's file is complete, ignoring earlier checks.
    void show_state_of_file(ITEM& row);
    void resize_columns();
    void toggle(const QModelIndex& index);
    void press_run_button(QKeyEvent& event);
    void run_installer(const QModelIndex& index);
    void note_started(VINST_COMPONENT& component);
    void note_ended(VINST_COMPONENT& component, int exit_code);
    void show_running(const VINST_COMPONENT& component);
    bool is_running(const VINST_COMPONENT& component) const;
    /// Shows a file that has changed since it was verified as not checked.
    void refuse_changed_file(ITEM& row);
    bool is_run_offered(const ITEM& row) const;
    /// \return whether the button is offered
    bool refresh_run_flag(ITEM& row);
    /// \return whether the state has changed
    bool show_state(ITEM& row, VINST_INTEGRITY_STATE state);
    void show_progress_text(ITEM& row, const QString& text);
    void show_row_state(ITEM& row, const VINST_ROW_STATE& state);
    /// Updates what screen readers read in the progress cell.
    void name_progress(ITEM& row);
    void animate();

    VINST_RELEASE* m_release = nullptr;
    QString m_platform;
    CFGQ_REGISTRY_KEY m_settings_key;
    /// Owned by this view, replaced by each `populate`.
    VINST_DOWNLOADER_TREEVIEW_MODEL* m_model;
    VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE* m_integrity_delegate;   ///< owned by this view
    VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE* m_run_button_delegate; ///< owned by this view
    VINST_TREE_SELECTION* m_selection;                                    ///< the same
    QString m_filter;
    bool m_is_busy = false;
    bool m_is_run_column_shown = false;
    bool m_was_shown = false;
    QHash<const VINST_COMPONENT*, VINST_ROW_STATE> m_row_states; ///< without those that are none
    QSet<ITEM*> m_checking_rows;
    QSet<const VINST_COMPONENT*> m_running; ///< whose installers run, started by their buttons
    QTimer m_batch_timer;
    QTimer m_animation_timer; ///< runs while a row is being checked
};
