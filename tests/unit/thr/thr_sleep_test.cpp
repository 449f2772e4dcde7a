#include "support/thr/thr_sleep.h"

#include "tests/harness/stop_request.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using CLOCK = std::chrono::steady_clock;

class Stop : public ::testing::Test
{
protected:
    ~Stop() override { forget_stop_request(); }
};

}

TEST_F(Stop, LeavesASleepItsTimeWhileNobodyAsks)
{
    const auto start = CLOCK::now();
    thr_sleep(50ms);
    EXPECT_GE(CLOCK::now() - start, 50ms);
    EXPECT_FALSE(thr_stop_requested());
}

TEST_F(Stop, EndsEverySleepAtOnce)
{
    std::thread asker([] { thr_request_stop(); });
    const auto start = CLOCK::now();
    thr_sleep(30s);
    thr_sleep(30s);
    EXPECT_LT(CLOCK::now() - start, 10s);
    EXPECT_TRUE(thr_stop_requested());
    asker.join();
}

TEST_F(Stop, IsToldToEverySubscriberOnce)
{
    std::atomic<int> calls{0};
    const THR_STOP_SUBSCRIPTION first([&calls] { ++calls; });
    {
        const THR_STOP_SUBSCRIPTION gone([&calls] { calls += 100; });
    }
    thr_request_stop();
    thr_request_stop();
    EXPECT_EQ(calls, 1);
}

TEST_F(Stop, IsToldAtOnceToWhoeverComesLate)
{
    thr_request_stop();
    int calls = 0;
    const THR_STOP_SUBSCRIPTION late([&calls] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST_F(Stop, WakesASleeperOnAnotherThread)
{
    std::atomic<bool> asleep{false};
    const auto start = CLOCK::now();
    std::thread sleeper(
        [&asleep]
        {
            asleep = true;
            thr_sleep(30s);
        });
    while (!asleep)
        std::this_thread::yield();
    std::this_thread::sleep_for(20ms);
    thr_request_stop();
    sleeper.join();
    EXPECT_LT(CLOCK::now() - start, 10s);
}

TEST_F(Stop, LetsASubscriberLookAtTheRequest)
{
    bool seen = false;
    const THR_STOP_SUBSCRIPTION subscription([&seen] { seen = thr_stop_requested(); });
    thr_request_stop();
    EXPECT_TRUE(seen);
}

TEST_F(Stop, LeavesNoSleepOfNothing)
{
    const auto start = CLOCK::now();
    thr_sleep(0ns);
    thr_sleep(-5s);
    EXPECT_LT(CLOCK::now() - start, 1s);
}
