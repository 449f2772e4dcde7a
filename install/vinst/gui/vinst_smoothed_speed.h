#pragma once

#include "install/vinst/download/vinst_progress_block.h"

#include <QString>

#include <chrono>
#include <deque>

/// The average speed of the last 10 s, so that the figures in the window can be read. The log and
/// the console show the speed of each second instead.
class VINST_SMOOTHED_SPEED
{
public:
    using CLOCK = std::chrono::steady_clock;

    /// Before an attempt, whose bytes are counted from zero.
    void reset();
    /// \param totals  of a progress pass at that time
    void add(CLOCK::time_point time, const VINST_PROGRESS_TOTALS& totals);

    /// Bytes per second; 0 while nothing is known.
    [[nodiscard]] quint64 bytes_per_second() const;
    /// "3.00 MB/sec"; empty while nothing is being received.
    [[nodiscard]] QString speed_text() const;
    /// "1 min 5 secs" until everything has been received; empty while that is not known.
    [[nodiscard]] QString remaining_text() const;

private:
    struct SAMPLE
    {
        CLOCK::time_point time;
        quint64 received; ///< bytes in this attempt
    };

    std::deque<SAMPLE> m_samples; ///< of the last 10 s, and one before them
    quint64 m_rest = 0;           ///< bytes
};
