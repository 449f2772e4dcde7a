#include "tests/harness/stopwatch.h"

#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(Stopwatch, AppliesTheLimitOnAnIdleMachine)
{
    EXPECT_TRUE((MEASURED_TIME{900ms, 900ms}.within(1s)));
    EXPECT_FALSE((MEASURED_TIME{1s, 1s}.within(1s)));
}

TEST(Stopwatch, ExcludesTimeUsedByOtherPrograms)
{
    EXPECT_TRUE((MEASURED_TIME{5s, 900ms}.within(1s)));
    EXPECT_FALSE((MEASURED_TIME{5s, 1100ms}.within(1s)));
}

TEST(Stopwatch, AllowsABusyMachineTenTimesTheLimitAtMost)
{
    EXPECT_TRUE((MEASURED_TIME{9s, 0s}.within(1s)));
    EXPECT_FALSE((MEASURED_TIME{10s, 0s}.within(1s)));
}

TEST(Stopwatch, UsesTheProcessorThatWasIdleLongest)
{
    EXPECT_EQ(undisturbed_part(5s, {1s, 20s}, {2s, 23s}), 3s);
    EXPECT_EQ(undisturbed_part(5s, {1s, 20s}, {7s, 20s}), 5s) << "never more than the elapsed time";
}

TEST(Stopwatch, CountsAllTimeWithoutIdleTimes)
{
    EXPECT_EQ(undisturbed_part(5s, {}, {}), 5s);
    EXPECT_EQ(undisturbed_part(5s, {1s}, {1s, 1s}), 5s) << "a processor was added";
}

TEST(Stopwatch, ReadsTheIdleTimesOfEachProcessor)
{
    const char* const text = "cpu  20 2 11 2800 36 0 2 14 0 0\n"
                             "cpu0 9 1 5 1300 5 0 0 8 0 0\n"
                             "cpu1 11 1 6 1500 31 0 2 6 0 0\n"
                             "intr 1 2 3 4 5 6\n";
    EXPECT_EQ(idle_times_in(text, 10ms), (IDLE_TIMES{13'050ms, 15'310ms}));
    EXPECT_TRUE(idle_times_in("", 10ms).empty());
}

TEST(Stopwatch, MeasuresWallTime)
{
    const STOPWATCH watch;
    EXPECT_FALSE(wait_until([] { return false; }, 50ms));
    EXPECT_GE(watch.elapsed().wall, 50ms);
}

TEST(WaitUntil, ReturnsAsSoonAsTheConditionHolds)
{
    int looks = 0;
    EXPECT_TRUE(wait_until([&looks] { return ++looks == 3; }));
    EXPECT_EQ(looks, 3);
}
