#include "support/curl/curl_rate_limit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t kibi = 1024;
constexpr std::size_t mebi = 1024 * kibi;

class RateLimit : public ::testing::Test
{
protected:
    std::chrono::nanoseconds wait() { return limit.wait(now); }

    /// Receives blocks as fast as permitted, and wakes up late each time.
    /// \return bytes received in that time
    std::uint64_t receive_for(std::chrono::nanoseconds time, std::size_t block,
                              std::chrono::nanoseconds lateness)
    {
        const CURL_RATE_LIMIT::TIME end = now + time;
        std::uint64_t received = 0;
        while (now < end)
        {
            while (wait().count() == 0)
            {
                limit.take(block, now);
                received += block;
            }
            now += wait() + lateness;
        }
        return received;
    }

    CURL_RATE_LIMIT::TIME now = CURL_RATE_LIMIT::TIME() + 1h;
    CURL_RATE_LIMIT limit;
};

}

TEST_F(RateLimit, IsNoneUnlessSet)
{
    limit.take(1'000'000'000, now);
    EXPECT_EQ(wait(), 0s);
    EXPECT_EQ(limit.block(512 * 1024), 512U * 1024);
    limit.set(1000);
    limit.take(5000, now);
    EXPECT_EQ(wait(), 5s);
    limit.set(0);
    EXPECT_EQ(wait(), 0s);
}

TEST_F(RateLimit, MakesADebtWait)
{
    limit.set(1000);
    EXPECT_EQ(wait(), 0s);
    limit.take(1500, now);
    EXPECT_EQ(wait(), 1500ms);
    now += 1s;
    EXPECT_EQ(wait(), 500ms);
    limit.take(250, now);
    EXPECT_EQ(wait(), 750ms);
    now += 750ms;
    EXPECT_EQ(wait(), 0s);
}

TEST_F(RateLimit, SavesUpATenthOfASecond)
{
    limit.set(1000);
    EXPECT_EQ(wait(), 0s);
    now += 1h;
    EXPECT_EQ(wait(), 0s);
    limit.take(100, now);
    EXPECT_EQ(wait(), 0s);
    limit.take(1, now);
    EXPECT_EQ(wait(), 1ms);
}

TEST_F(RateLimit, CancelsTheDebtOfAnotherLimit)
{
    limit.set(1000);
    limit.take(3'600'000, now);
    limit.set(1000);
    EXPECT_EQ(wait(), 1h);
    limit.set(2000);
    EXPECT_EQ(wait(), 0s);
}

TEST_F(RateLimit, IsMetWithinATenth)
{
    for (const std::size_t rate : {64 * kibi, mebi, 8 * mebi, 500 * mebi})
        for (const auto lateness : {0ms, 1ms, 40ms})
        {
            limit.set(rate);
            const std::uint64_t received = receive_for(20s, limit.block(512 * 1024), lateness);
            EXPECT_GE(received, 18 * rate) << rate << ' ' << lateness.count();
            EXPECT_LE(received, 22 * rate) << rate << ' ' << lateness.count();
            limit.set(0);
        }
}

TEST_F(RateLimit, IsMetWithBlocksThatAreTooLargeForIt)
{
    limit.set(100 * 1024);
    const std::uint64_t received = receive_for(1000s, 512 * 1024, 1ms);
    EXPECT_GE(received, 90'000U * 1024);
    EXPECT_LE(received, 110'000U * 1024);
}

TEST_F(RateLimit, DividesASecondIntoManyBlocks)
{
    limit.set(mebi);
    EXPECT_EQ(limit.block(512 * 1024), 16U * 1024);
    limit.set(1024 * mebi);
    EXPECT_EQ(limit.block(512 * 1024), 512U * 1024);
    limit.set(1024);
    EXPECT_EQ(limit.block(512 * 1024), 1024U);
}
