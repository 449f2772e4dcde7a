#include "install/vinst/console/vinst_terminal_view.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_block_layout.h"
#include "install/vinst/console/vinst_terminal_text.h"
#include "support/curl/curl_plain_text.h"

#include <algorithm>
#include <utility>

namespace
{

const QString start_heading = QStringLiteral("Start download ...");
const QString progress_heading = QStringLiteral("Download progress:");

}

VINST_TERMINAL_VIEW::VINST_TERMINAL_VIEW(SIZE_QUERY size) : m_size(std::move(size)) {}

void VINST_TERMINAL_VIEW::start()
{
    start_attempt({start_heading});
}

void VINST_TERMINAL_VIEW::begin_wait(const QString& announcement)
{
    show_reported_line(announcement);
    report(utf8(announcement), false);
}

void VINST_TERMINAL_VIEW::end_wait()
{
    start_attempt({start_heading});
}

void VINST_TERMINAL_VIEW::show_attempt(const VINST_COMPONENT_LIST& components)
{
    start_attempt({start_heading, progress_heading});
    m_components = components;
}

void VINST_TERMINAL_VIEW::start_attempt(const QStringList& headings)
{
    m_headings = headings;
    m_components.clear();
    m_progress.clear();
    m_totals.reset();
    m_reported.clear();
    m_is_settled = false;
    redraw();
}

void VINST_TERMINAL_VIEW::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                        const VINST_PROGRESS_TOTALS& totals)
{
    m_progress = progress;
    m_totals = totals;
    redraw();
}

void VINST_TERMINAL_VIEW::show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state)
{
    // While the manager waits for checks there are no progress passes.
    const auto found = std::find(m_components.begin(), m_components.end(), component);
    const auto index = static_cast<std::size_t>(found - m_components.begin());
    if (index >= m_progress.size())
        return;
    if (state == VINST_INTEGRITY_STATE::passed)
        m_progress[index].state = VINST_COMPONENT_PROGRESS::STATE::verified;
    if (state == VINST_INTEGRITY_STATE::failed)
        m_progress[index].state = VINST_COMPONENT_PROGRESS::STATE::failed;
}

void VINST_TERMINAL_VIEW::show_pending_checks(int files, quint64 bytes)
{
    m_check_line = files > 0 ? pending_checks_line(files, bytes) : QString();
    redraw();
}

void VINST_TERMINAL_VIEW::show_reported_line(const QString& line)
{
    const QStringList lines = QString::fromStdString(curl_plain_text(utf8(line))).split('\n');
    redraw(lines);
    if (m_is_settled)
        return;
    m_reported += lines;
    m_region.append(lines);
}

int VINST_TERMINAL_VIEW::rows_for_block(const QStringList& coming, VINST_TERMINAL_SIZE size) const
{
    const int other_rows = row_count(m_headings + m_reported + coming, size.columns) +
                           (m_check_line.isEmpty() ? 0 : 1);
    return size.rows - 1 - other_rows; // the cursor is in the row below
}

void VINST_TERMINAL_VIEW::settle_if_too_high(const QStringList& coming, VINST_TERMINAL_SIZE size)
{
    if (m_is_settled || !is_over(coming) || rows_for_block(coming, size) >= 0)
        return;
    print_text(m_region.redraw(m_headings + m_reported, size));
    m_region.release();
    m_is_settled = true;
}

/// The manager reports lines about an attempt only at its end.
bool VINST_TERMINAL_VIEW::is_over(const QStringList& coming) const
{
    return !m_reported.isEmpty() || !coming.isEmpty();
}

QStringList VINST_TERMINAL_VIEW::block(const QStringList& coming, VINST_TERMINAL_SIZE size) const
{
    if (!m_totals)
        return {};
    int rows = rows_for_block(coming, size);
    // On a terminal of a few rows, the headings leave the screen, so that the totals are on it.
    if (!is_over(coming))
        rows = std::max(rows, std::min(least_block_height(*m_totals), size.rows - 1));
    return fitted_block(m_progress, *m_totals, {rows, size.columns});
}

void VINST_TERMINAL_VIEW::redraw(const QStringList& coming)
{
    const VINST_TERMINAL_SIZE size = m_size();
    settle_if_too_high(coming, size);
    QStringList lines;
    if (!m_is_settled)
        lines = m_headings + block(coming, size) + m_reported;
    if (!m_check_line.isEmpty())
        lines += elided(m_check_line, size.columns);
    print_text(m_region.redraw(lines, size));
}
