#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <vector>

/// Time that has passed, and how much of it the program could have used.
struct MEASURED_TIME
{
    std::chrono::nanoseconds wall{};
    std::chrono::nanoseconds undisturbed{}; ///< while a processor of the machine was idle

    /// Whether a limit was kept. Where programs beside the test used all processors, its own had to
    /// wait for them, and that time doesn't count. Whatever they did, ten times the limit is too
    /// long.
    [[nodiscard]] ::testing::AssertionResult within(std::chrono::nanoseconds limit) const;
};

/// What each processor of this machine has been idle since it started; empty where that can't be
/// read.
using IDLE_TIMES = std::vector<std::chrono::nanoseconds>;
IDLE_TIMES idle_times();

/// The idle times in a text like /proc/stat, whose ticks are so long.
IDLE_TIMES idle_times_in(std::string_view text, std::chrono::nanoseconds tick);

/// The part of a time in which a processor was idle; all of it where that isn't known.
std::chrono::nanoseconds undisturbed_part(std::chrono::nanoseconds wall, const IDLE_TIMES& before,
                                          const IDLE_TIMES& after);

/// Measures how long something takes, so that a test of a time limit doesn't depend on what else
/// runs on the machine. Starts when it is made.
class STOPWATCH final
{
public:
    STOPWATCH() { restart(); }

    void restart();
    [[nodiscard]] MEASURED_TIME elapsed() const;
    [[nodiscard]] ::testing::AssertionResult within(std::chrono::nanoseconds limit) const
    {
        return elapsed().within(limit);
    }

private:
    using CLOCK = std::chrono::steady_clock;

    CLOCK::time_point m_start;
    IDLE_TIMES m_idle_before;
};
