#include "install/vinst/console/vinst_screen_region.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_terminal_text.h"

#include <algorithm>

namespace
{

/// Moves the cursor up and erases from there to the end of the screen.
std::string erase_rows_above(int rows)
{
    if (rows <= 0)
        return "\r\x1b[2K";
    // The first row is erased alone: when everything below the screen's first cell is erased, some
    // terminals move it to the scrollback.
    return "\x1b[" + std::to_string(rows) + "A\r\x1b[2K\n\x1b[J\x1b[1A";
}

int common_prefix(const QStringList& a, const QStringList& b)
{
    const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return static_cast<int>(end.first - a.begin());
}

/// The last lines that are completely on the screen, if the cursor is in the row below them.
struct REACHABLE
{
    int first = 0; ///< index of the first of them
    int rows = 0;  ///< that they take
};

REACHABLE reachable(const QStringList& lines, VINST_TERMINAL_SIZE size)
{
    REACHABLE result{lines.size(), 0};
    while (result.first > 0)
    {
        const int rows = row_count(lines[result.first - 1], size.columns);
        if (result.rows + rows > size.rows - 1)
            break;
        result.rows += rows;
        --result.first;
    }
    return result;
}

}

std::string VINST_SCREEN_REGION::redraw(const QStringList& lines, VINST_TERMINAL_SIZE size)
{
    const REACHABLE reach = reachable(m_lines, size);
    const int unchanged = std::min(reach.first, common_prefix(m_lines, lines));
    QStringList lost = m_lines.mid(0, reach.first);
    int rows = reach.rows;
    if (reach.first > unchanged && rows < size.rows - 1)
    {
        // The end of a wrapped line is on the screen, and outdated.
        lost.last() = first_rows(lost.last(), size.columns,
                                 row_count(lost.last(), size.columns) - (size.rows - 1 - rows));
        rows = size.rows - 1;
    }
    const QStringList drawn = lines.mid(unchanged);
    QStringList padding;
    // While lines are in the scrollback, the region fills the screen, so that the cursor is in the
    // last row: only then it is known how many of them a higher terminal brings back.
    for (int missing = size.rows - 1 - row_count(drawn, size.columns);
         !lost.isEmpty() && missing > 0; --missing)
        padding += QString();
    m_lines = lost + padding + drawn;

    std::string output = erase_rows_above(rows);
    for (const QString& line : padding + drawn)
        output += utf8(line) + '\n';
    return output;
}
