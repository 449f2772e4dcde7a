#pragma once

#include <QStringList>

class QWidget;

/// The visible controls of a window that can't be seen or read completely, each with the reason: it
/// is outside of its parent or its window, overlaps another one, or is smaller than its text. What
/// a scroll area has scrolled out of view counts as seen, unless it is wider than the area.
QStringList cut_controls(const QWidget& window);
