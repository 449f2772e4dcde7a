#include "install/vinst/gui/vinst_smoothed_speed.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace
{

constexpr quint64 kib = 1024;

/// A download of 1000 KiB, whose figures are added at injected times.
class SmoothedSpeed : public ::testing::Test
{
protected:
    void add(std::chrono::milliseconds time, quint64 received)
    {
        VINST_PROGRESS_TOTALS totals;
        totals.total = 1000 * kib;
        totals.downloaded = totals.received = received;
        speed.add(VINST_SMOOTHED_SPEED::CLOCK::time_point() + time, totals);
    }

    VINST_SMOOTHED_SPEED speed;
};

}

TEST_F(SmoothedSpeed, IsUnknownAtFirst)
{
    EXPECT_EQ(speed.speed_text(), "");
    add(0s, 0);
    EXPECT_EQ(speed.speed_text(), "");
    EXPECT_EQ(speed.remaining_text(), "");
    add(1s, 10 * kib);
    EXPECT_EQ(speed.speed_text(), "10.00 KB/sec");
    EXPECT_EQ(speed.remaining_text(), "1 min 39 secs");
}

TEST_F(SmoothedSpeed, IsTheAverageOfTenSeconds)
{
    add(0s, 0);
    for (quint64 second = 1; second <= 10; ++second)
        add(std::chrono::seconds(second),
            second % 2 == 0 ? second * 10 * kib : second * 10 * kib - 5);
    EXPECT_EQ(speed.bytes_per_second(), 10 * kib);
    add(11s, 200 * kib); // as much in one second as before in ten
    EXPECT_EQ(speed.bytes_per_second(), (200 * kib - (10 * kib - 5)) / 10);
}

TEST_F(SmoothedSpeed, ForgetsWhatWasBefore)
{
    add(0s, 0);
    add(1s, 500 * kib);
    for (quint64 second = 2; second <= 11; ++second)
        add(std::chrono::seconds(second), 500 * kib + (second - 1) * kib);
    EXPECT_EQ(speed.bytes_per_second(), kib);
    EXPECT_EQ(speed.remaining_text(), "8 mins 10 secs");
}

TEST_F(SmoothedSpeed, FadesWhenNothingArrivesAnyMore)
{
    add(0s, 0);
    add(1s, 100 * kib);
    add(5s, 100 * kib);
    EXPECT_EQ(speed.speed_text(), "20.00 KB/sec");
    add(11s, 100 * kib);
    EXPECT_EQ(speed.speed_text(), "");
    EXPECT_EQ(speed.remaining_text(), "");
}

TEST_F(SmoothedSpeed, KeepsToTheTimesOfAnIrregularClock)
{
    add(0s, 0);
    add(0s, 100 * kib);
    EXPECT_EQ(speed.speed_text(), "") << "no time has passed";
    add(400ms, 200 * kib);
    EXPECT_EQ(speed.speed_text(), "500.00 KB/sec");
    add(30s, 300 * kib);
    EXPECT_GT(speed.bytes_per_second(), 0U) << "the last two passes count however old they are";
}

TEST_F(SmoothedSpeed, StartsAgainWithTheNextAttempt)
{
    add(0s, 0);
    add(1s, 100 * kib);
    speed.reset();
    add(2s, 0);
    EXPECT_EQ(speed.speed_text(), "");
    add(3s, 10 * kib);
    EXPECT_EQ(speed.speed_text(), "10.00 KB/sec");
    add(4s, 5 * kib);
    EXPECT_EQ(speed.bytes_per_second(), 2 * kib + 512);
}

TEST_F(SmoothedSpeed, HasNoRemainingTimeWhenNothingRemains)
{
    add(0s, 0);
    add(1s, 1000 * kib);
    EXPECT_EQ(speed.remaining_text(), "");
}
