#include "support/thr/thr_sleep.h"

#include "tests/harness/stop_request.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

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

TEST_F(Stop, DoesNotShortenASleepWithoutARequest)
{
    const auto start = CLOCK::now();
    thr_sleep(50ms);
    EXPECT_GE(CLOCK::now() - start, 50ms);
    EXPECT_FALSE(thr_stop_requested());
}

TEST_F(Stop, EndsEverySleepImmediately)
{
    std::thread asker([] { thr_request_stop(); });
    const STOPWATCH watch;
    thr_sleep(600s);
    thr_sleep(600s);
    EXPECT_LT(watch.elapsed().wall, 600s);
    EXPECT_TRUE(thr_stop_requested());
    asker.join();
}

TEST_F(Stop, NotifiesEverySubscriberOnce)
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

TEST_F(Stop, NotifiesALateSubscriberImmediately)
{
    thr_request_stop();
    int calls = 0;
    const THR_STOP_SUBSCRIPTION late([&calls] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST_F(Stop, WakesASleeperOnAnotherThread)
{
    std::atomic<bool> asleep{false};
    const STOPWATCH watch;
    std::thread sleeper(
        [&asleep]
        {
            asleep = true;
            thr_sleep(600s);
        });
    EXPECT_TRUE(wait_until([&asleep] { return asleep.load(); }));
    // Most likely it is sleeping by now; if the request comes first, it must not sleep at all.
    thr_request_stop();
    sleeper.join();
    EXPECT_LT(watch.elapsed().wall, 600s);
}

TEST_F(Stop, LetsASubscriberQueryTheRequest)
{
    bool seen = false;
    const THR_STOP_SUBSCRIPTION subscription([&seen] { seen = thr_stop_requested(); });
    thr_request_stop();
    EXPECT_TRUE(seen);
}

TEST_F(Stop, ReturnsImmediatelyFromAnEmptySleep)
{
    const STOPWATCH watch;
    thr_sleep(0ns);
    thr_sleep(-5s);
    EXPECT_TRUE(watch.within(1s));
}
