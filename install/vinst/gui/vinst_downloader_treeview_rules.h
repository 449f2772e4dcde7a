#pragma once

#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/release/vinst_component.h"

#include <QString>

#include <vector>

// What the component tree decides, without a widget.

/// The mapping is inverted: a component's 0 means selected.
Qt::CheckState check_state_of(VINST_SELECTION selection);
VINST_SELECTION selection_of(Qt::CheckState state);

/// The state of a row by those of all rows below it, at every level: theirs where they agree.
Qt::CheckState aggregated_state(const std::vector<Qt::CheckState>& descendants);

/// The percentage in a progress cell's text, such as "45%"; negative when there is none to show.
int progress_percent(const QString& text);

/// Which frame of an animation shows at a moment, so that all that show it are in step.
/// \param milliseconds  since any fixed point
/// \param frame_delay   milliseconds
int frame_at(qint64 milliseconds, int frame_count, int frame_delay);

/// What the tree shows for a size: the manifest's words, else the bytes for people, else "N/A".
QString size_text(const QString& display_text, double bytes);

/// What is told about a component when its row is chosen. Plain text.
QString description_text(const VINST_COMPONENT& component);

/// What a state means, in words.
QString integrity_text(VINST_INTEGRITY_STATE state);

/// What stands on the button that starts a component's installer.
QString run_button_text();
