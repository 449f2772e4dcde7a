#include "tests/harness/stopwatch.h"

#include <algorithm>
#include <sstream>
#include <string>

namespace
{

double seconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

}

::testing::AssertionResult MEASURED_TIME::within(std::chrono::nanoseconds limit) const
{
    if (undisturbed < limit && wall < 10 * limit)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "it took " << seconds(wall) << " s, " << seconds(undisturbed)
           << " s of them while a processor was idle; the limit is " << seconds(limit) << " s";
}

IDLE_TIMES idle_times_in(std::string_view text, std::chrono::nanoseconds tick)
{
    IDLE_TIMES times;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream words(line);
        std::string processor;
        std::int64_t user = 0, nice = 0, system = 0, idle = 0, waiting = 0;
        words >> processor >> user >> nice >> system >> idle >> waiting;
        // The line "cpu" without a number is the total of all processors.
        if (words && processor.size() > 3 && processor.compare(0, 3, "cpu") == 0)
            times.push_back((idle + waiting) * tick);
    }
    return times;
}

std::chrono::nanoseconds undisturbed_part(std::chrono::nanoseconds wall, const IDLE_TIMES& before,
                                          const IDLE_TIMES& after)
{
    if (before.empty() || before.size() != after.size())
        return wall;
    std::chrono::nanoseconds longest{0};
    for (std::size_t i = 0; i < before.size(); ++i)
        longest = std::max(longest, after[i] - before[i]);
    return std::min(wall, longest);
}

void STOPWATCH::restart()
{
    m_idle_before = idle_times();
    m_start = CLOCK::now();
}

MEASURED_TIME STOPWATCH::elapsed() const
{
    const std::chrono::nanoseconds wall = CLOCK::now() - m_start;
    return {wall, undisturbed_part(wall, m_idle_before, idle_times())};
}
