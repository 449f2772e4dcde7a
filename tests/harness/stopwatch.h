#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <vector>

/// Elapsed time, and how much of it the program could have used.
struct MEASURED_TIME
{
    std::chrono::nanoseconds wall{};
    std::chrono::nanoseconds undisturbed{}; ///< while a processor of the machine was idle

    /// Whether a limit was met. Time in which other programs used all processors doesn't count. In
    /// any case, ten times the limit is too long.
    [[nodiscard]] ::testing::AssertionResult within(std::chrono::nanoseconds limit) const;
};

/// How long each processor has been idle since the machine started; empty if unknown.
using IDLE_TIMES = std::vector<std::chrono::nanoseconds>;
IDLE_TIMES idle_times();

/// The idle times in a text like /proc/stat with the given tick length.
IDLE_TIMES idle_times_in(std::string_view text, std::chrono::nanoseconds tick);

/// The part of a time in which a processor was idle; all of it if unknown.
std::chrono::nanoseconds undisturbed_part(std::chrono::nanoseconds wall, const IDLE_TIMES& before,
                                          const IDLE_TIMES& after);

/// Measures how long something takes, so that a test of a time limit doesn't depend on what else
/// runs on the machine. The constructor starts it.
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
