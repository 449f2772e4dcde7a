#include "install/vinst/console/vinst_line_view.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_block_layout.h"

#include <algorithm>
#include <utility>

namespace
{

void print_event(const QString& text)
{
    print_text(timed_lines(utf8(text)));
}

QString bytes_text(quint64 bytes)
{
    return QString::number(bytes) + " bytes";
}

/// "A / B", followed by the average speed and the remaining time while something is received.
QString totals_text(const VINST_PROGRESS_TOTALS& average)
{
    QString text = "Total downloaded: " + overall_text(average);
    if (const QString speed = speed_text(average); !speed.isEmpty())
        text += ", " + speed + ", est. time remaining: " + remaining_text(average);
    return text;
}

}

VINST_LINE_VIEW::VINST_LINE_VIEW(std::function<TIME()> now) : m_now(std::move(now)) {}

void VINST_LINE_VIEW::show_connection_attempt(const std::string& host, const std::string& port)
{
    const QString proxy = QString::fromStdString(host + ':' + port);
    print_event(host.empty() ? QStringLiteral("Testing internet connection without a proxy ...")
                             : "Testing internet connection through the proxy " + proxy + " ...");
}

void VINST_LINE_VIEW::start()
{
    print_event(QStringLiteral("Start download ..."));
}

void VINST_LINE_VIEW::begin_wait(const QString& announcement)
{
    report(utf8(announcement), false);
}

void VINST_LINE_VIEW::show_attempt(const VINST_COMPONENT_LIST& components)
{
    m_components = components;
    m_last_total.reset();
    m_has_progress_to_show = false;
    // A file that stays verified is not reported once more in the next attempt.
    for (auto& [component, shown] : m_shown)
        if (!shown.verified)
            shown = {};
}

void VINST_LINE_VIEW::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                    const VINST_PROGRESS_TOTALS& totals)
{
    for (std::size_t i = 0; i < std::min(progress.size(), m_components.size()); ++i)
        show_events(progress[i], m_shown[m_components[i]]);
    m_has_progress_to_show = m_has_progress_to_show || totals.delta > 0;
    m_totals = totals;
    if (!m_last_total)
    {
        m_last_total = m_now();
        m_received_then = totals.received;
    }
    else if (is_time_for_total())
    {
        show_total(m_now());
    }
}

void VINST_LINE_VIEW::show_events(const VINST_COMPONENT_PROGRESS& progress, SHOWN& shown)
{
    using STATE = VINST_COMPONENT_PROGRESS::STATE;
    const bool is_complete = progress.size > 0 && progress.bytes >= progress.size;
    if (progress.state == STATE::moving && !std::exchange(shown.started, true))
        print_event(progress.name + ": downloading, " + bytes_text(progress.bytes) + " of " +
                    QString::number(progress.size));
    if (is_complete && shown.started && !std::exchange(shown.complete, true))
        print_event(progress.name + ": downloaded, " + bytes_text(progress.bytes));
    if (progress.state == STATE::verified)
        show_verified(progress.name, shown);
    if (progress.error_line != std::exchange(shown.error_line, progress.error_line) &&
        !progress.error_line.isEmpty())
        print_event(progress.error_line);
}

void VINST_LINE_VIEW::show_verified(const QString& name, SHOWN& shown)
{
    if (!std::exchange(shown.verified, true))
        print_event(name + ": verified");
}

void VINST_LINE_VIEW::show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state)
{
    const bool is_of_attempt =
        std::find(m_components.begin(), m_components.end(), component) != m_components.end();
    if (!is_of_attempt)
        return;
    SHOWN& shown = m_shown[component];
    if (state == VINST_INTEGRITY_STATE::passed)
        show_verified(component->display_name(), shown);
    if (state == VINST_INTEGRITY_STATE::failed && !std::exchange(shown.failed, true))
        print_event(component->display_name() + ": checksum mismatch");
}

void VINST_LINE_VIEW::show_pending_checks(int files, quint64 bytes)
{
    if (files == 0 || !is_time_for_total())
        return;
    print_event(pending_checks_line(files, bytes));
    m_last_total = m_now();
}

/// The manager reports lines about an attempt only at its end.
void VINST_LINE_VIEW::show_reported_line(const QString&)
{
    if (m_has_progress_to_show)
        show_total(m_now());
}

bool VINST_LINE_VIEW::is_time_for_total()
{
    return m_last_total && m_now() - *m_last_total >= total_interval;
}

void VINST_LINE_VIEW::show_total(TIME now)
{
    VINST_PROGRESS_TOTALS average = m_totals;
    const double seconds = std::chrono::duration<double>(now - *m_last_total).count();
    // Each attempt counts from zero.
    const quint64 bytes = m_totals.received - std::min(m_totals.received, m_received_then);
    average.delta = seconds > 0 ? static_cast<quint64>(static_cast<double>(bytes) / seconds) : 0;
    print_event(totals_text(average));
    m_last_total = now;
    m_received_then = m_totals.received;
    m_has_progress_to_show = false;
}
