#include "install/vinst/base/vinst_stop.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "support/thr/thr_sleep.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <thread>

using namespace std::chrono_literals;

namespace
{

class StopRequest : public ::testing::Test
{
protected:
    ~StopRequest() override { forget_stop_request(); }
};

}

TEST_F(StopRequest, IsInitiallyUnset)
{
    EXPECT_FALSE(is_to_stop());
    EXPECT_FALSE(is_shutting_down());
}

TEST_F(StopRequest, OfADownloadIsResetWhenTheNextWorkStarts)
{
    request_download_stop();
    EXPECT_TRUE(is_to_stop());
    EXPECT_FALSE(is_shutting_down());
    begin_stoppable_work();
    EXPECT_FALSE(is_to_stop());
}

TEST_F(StopRequest, OfAClosedWindowPersists)
{
    request_shutdown();
    begin_stoppable_work();
    EXPECT_TRUE(is_to_stop());
    EXPECT_TRUE(is_shutting_down());
}

TEST_F(StopRequest, OfTheProcessPersistsAndEndsSleeps)
{
    request_process_stop();
    begin_stoppable_work();
    EXPECT_TRUE(is_to_stop());
    EXPECT_TRUE(is_shutting_down());
    EXPECT_TRUE(thr_stop_requested());
}

TEST_F(StopRequest, OfEachKindEndsAWait)
{
    for (const auto request : {request_download_stop, request_shutdown, request_process_stop})
    {
        EXPECT_TRUE(wait_unless_stopped(1ms));
        const STOPWATCH watch;
        std::thread other(request);
        EXPECT_FALSE(wait_unless_stopped(long_enough));
        other.join();
        EXPECT_FALSE(wait_unless_stopped(long_enough));
        EXPECT_TRUE(watch.within(2s));
        forget_stop_request();
    }
}

TEST_F(StopRequest, WakesTheEventLoopFromAnyThread)
{
    std::thread other(request_download_stop);
    while (!is_to_stop())
        process_events();
    other.join();
    EXPECT_TRUE(is_to_stop());
}
