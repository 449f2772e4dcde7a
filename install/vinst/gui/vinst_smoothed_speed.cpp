#include "install/vinst/gui/vinst_smoothed_speed.h"

#include "install/vinst/base/vinst_text.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr std::chrono::seconds window{10};

}

void VINST_SMOOTHED_SPEED::reset()
{
    m_samples.clear();
    m_rest = 0;
}

void VINST_SMOOTHED_SPEED::add(CLOCK::time_point time, const VINST_PROGRESS_TOTALS& totals)
{
    m_samples.push_back({time, totals.received});
    while (m_samples.size() > 2 && time - m_samples[1].time >= window)
        m_samples.pop_front();
    m_rest = totals.total - std::min(totals.total, totals.downloaded);
}

quint64 VINST_SMOOTHED_SPEED::bytes_per_second() const
{
    if (m_samples.size() < 2)
        return 0;
    const SAMPLE& first = m_samples.front();
    const SAMPLE& last = m_samples.back();
    const double seconds = std::chrono::duration<double>(last.time - first.time).count();
    // What was received may be taken back, for example when a server has changed its file.
    if (seconds <= 0 || last.received <= first.received)
        return 0;
    return static_cast<quint64>(static_cast<double>(last.received - first.received) / seconds);
}

QString VINST_SMOOTHED_SPEED::speed_text() const
{
    const quint64 speed = bytes_per_second();
    return speed > 0 ? readable_size(speed) + "/sec" : QString();
}

QString VINST_SMOOTHED_SPEED::remaining_text() const
{
    const quint64 speed = bytes_per_second();
    if (speed == 0 || m_rest == 0)
        return {};
    const quint64 longest = std::numeric_limits<int>::max();
    const quint64 seconds = std::max<quint64>(1, m_rest / speed);
    return QString::fromStdString(format_duration(static_cast<int>(std::min(seconds, longest))));
}
