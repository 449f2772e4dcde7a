#pragma once

#include "install/vinst/console/vinst_terminal.h"

#include <QStringList>

#include <string>

/// The last lines of the terminal's output, which are redrawn in place. The cursor is always at the
/// start of the row below them.
///
/// A terminal may have been resized since the lines were drawn. Most terminals then wrap what they
/// show anew, move rows that don't fit any more from their top to the scrollback, and bring them
/// back when they get higher. Rows in the scrollback can't be redrawn, so the region remembers
/// them until they are back.
class VINST_SCREEN_REGION
{
public:
    /// The output that replaces the region by these lines. Lines in the scrollback that are to stay
    /// the same are not repeated.
    [[nodiscard]] std::string redraw(const QStringList& lines, VINST_TERMINAL_SIZE size);

    /// The region also contains these lines, which were printed below it.
    void append(const QStringList& lines) { m_lines += lines; }

    /// Leaves what has been drawn where it is; the region is empty, and starts at the cursor.
    void release() { m_lines.clear(); }

private:
    QStringList m_lines; ///< as printed
};
