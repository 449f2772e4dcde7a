#include "install/vinst/console/vinst_block_layout.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_terminal_text.h"

#include <algorithm>

namespace
{

using STATE = VINST_COMPONENT_PROGRESS::STATE;

/// The lines of the complete block, without the blanks with which it overwrites longer lines when
/// it isn't erased before.
QStringList complete_block(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                           const VINST_PROGRESS_TOTALS& totals)
{
    QStringList lines = progress_block(components, totals).split('\n');
    for (QString& line : lines)
        while (line.endsWith(' '))
            line.chop(1);
    return lines;
}

QStringList without_empty_end(QStringList lines)
{
    while (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QStringList elided_lines(QStringList lines, int columns)
{
    for (QString& line : lines)
        line = elided(line, columns);
    return lines;
}

int count_of(const std::vector<VINST_COMPONENT_PROGRESS>& components, STATE state)
{
    return static_cast<int>(std::count_if(components.begin(), components.end(),
                                          [state](const VINST_COMPONENT_PROGRESS& component)
                                          { return component.state == state; }));
}

/// \param shown_failed  how many components in error have their own line
QString line_of_others(const std::vector<VINST_COMPONENT_PROGRESS>& components, int shown_failed,
                       int shown_moving)
{
    QStringList parts;
    if (const int more = count_of(components, STATE::failed) - shown_failed; more > 0)
        parts += QString::number(more) + " more in error";
    if (const int more = count_of(components, STATE::moving) - shown_moving; more > 0)
        parts += QString::number(more) + " more downloading";
    parts += QString::number(count_of(components, STATE::waiting)) + " more waiting";
    parts += QString::number(count_of(components, STATE::verified)) + " verified";
    return parts.join(", ");
}

/// \param lines   of the components, in their order
/// \param height  rows for all of it, at least one
QStringList most_important(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                           const QStringList& lines, int height)
{
    QStringList result;
    const auto take = [&](STATE state)
    {
        const int before = result.size();
        for (int i = 0; i < lines.size() && result.size() + 1 < height; ++i)
            if (components[static_cast<std::size_t>(i)].state == state)
                result += lines[i];
        return result.size() - before;
    };
    const int shown_failed = take(STATE::failed);
    const int shown_moving = take(STATE::moving);
    return result << line_of_others(components, shown_failed, shown_moving);
}

}

QStringList fitted_block(const std::vector<VINST_COMPONENT_PROGRESS>& components,
                         const VINST_PROGRESS_TOTALS& totals, VINST_TERMINAL_SIZE room)
{
    const QStringList complete = complete_block(components, totals);
    if (complete.size() <= room.rows)
        return elided_lines(complete, room.columns);
    const QStringList dense = without_empty_end(complete);
    if (dense.size() <= room.rows)
        return elided_lines(dense, room.columns);

    const int component_count = static_cast<int>(components.size());
    QStringList lines = dense.mid(component_count); // the totals
    if (const int height = room.rows - lines.size(); height > 0)
        lines = most_important(components, dense.mid(0, component_count), height) + lines;
    return elided_lines(lines.mid(0, std::max(room.rows, 0)), room.columns);
}

int least_block_height(const VINST_PROGRESS_TOTALS& totals)
{
    return without_empty_end(complete_block({}, totals)).size();
}

QString pending_checks_line(int files, quint64 bytes)
{
    return QString::number(files) + (files == 1 ? " file and " : " files and ") +
           readable_size(bytes) + " left to check";
}
