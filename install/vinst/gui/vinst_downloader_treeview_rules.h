#pragma once

#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/release/vinst_component.h"

#include <QString>

#include <vector>

// Decisions and texts of the component tree, independent of the widget.

/// The mapping is inverted: 0 in a component means selected.
Qt::CheckState check_state_of(VINST_SELECTION selection);
VINST_SELECTION selection_of(Qt::CheckState state);

/// The state of a row, from the states of all rows below it at every level: their common state, if
/// they have one.
Qt::CheckState aggregated_state(const std::vector<Qt::CheckState>& descendants);

/// The percentage in a progress cell's text, such as "45%"; negative when there is none.
int progress_percent(const QString& text);

/// The frame of an animation to show at a given time, so that all rows show the same frame.
/// \param milliseconds  since an arbitrary fixed point
/// \param frame_delay   milliseconds
int frame_at(qint64 milliseconds, int frame_count, int frame_delay);

/// What the tree shows for a size: the manifest's text, otherwise the bytes in a readable form,
/// otherwise "N/A".
QString size_text(const QString& display_text, double bytes);

/// The description shown when a component's row is selected. Plain text.
QString description_text(const VINST_COMPONENT& component);

/// Where the checksums begin in a description; negative when it has none.
int begin_of_checksums(const QString& description);

/// The files below a row.
struct VINST_GROUP_FIGURES
{
    int selected = 0;
    int all = 0;
    quint64 bytes = 0; ///< of those that are selected
};
/// "3 of 9, 4.5 GB"; without a size if nothing is selected.
QString group_summary(const VINST_GROUP_FIGURES& figures);

/// The state as text.
QString integrity_text(VINST_INTEGRITY_STATE state);

/// The status after an installer was started by its button, and after it has ended.
QString started_status(const VINST_COMPONENT& component);
QString ended_status(const VINST_COMPONENT& component, int exit_code);

/// The caption of the button that starts a component's installer.
QString run_button_text();
