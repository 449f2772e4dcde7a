#pragma once

#include "install/vinst/console/vinst_terminal.h"
#include "install/vinst/download/vinst_progress_block.h"

#include <QStringList>

/// The progress block in a part of a terminal's rows: one line per row, none longer than the
/// terminal is wide. A block that is too high shows the components that are in error, then those
/// that are moving, as far as there is room, and one line with the numbers of the others. The
/// totals come last, and first when only they fit.
QStringList fitted_block(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                         const VINST_PROGRESS_TOTALS& totals, VINST_TERMINAL_SIZE room);

/// The rows that the totals alone take.
int least_block_height(const VINST_PROGRESS_TOTALS& totals);

/// "2 files and 1.50 GB left to check".
QString pending_checks_line(int files, quint64 bytes);
