#include "install/vinst/download/vinst_retry.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;
using ACTION = VINST_RETRY_DECISION::ACTION;

constexpr VINST_ATTEMPT_FAULT passing = VINST_ATTEMPT_FAULT::passing;
constexpr VINST_ATTEMPT_FAULT lasting = VINST_ATTEMPT_FAULT::lasting;

}

TEST(Retry, WaitsFiveSecondsLongerEachTime)
{
    for (int attempt : {1, 2, 3, 100})
    {
        const VINST_RETRY_DECISION decision = decide_retry(attempt, 0s, 60min, passing);
        EXPECT_EQ(decision.action, ACTION::retry);
        EXPECT_EQ(decision.wait, attempt * 5s);
    }
}

TEST(Retry, GivesUpOnALastingErrorAfterTheThirdAttempt)
{
    EXPECT_EQ(decide_retry(1, 0s, 60min, lasting).action, ACTION::retry);
    EXPECT_EQ(decide_retry(2, 0s, 60min, lasting).action, ACTION::retry);
    EXPECT_EQ(decide_retry(2, 0s, 60min, lasting).wait, 10s);
    EXPECT_EQ(decide_retry(3, 0s, 60min, lasting).action, ACTION::give_up_on_error);
    EXPECT_EQ(decide_retry(3, 100min, 60min, lasting).action, ACTION::give_up_on_error);
}

TEST(Retry, CountsFullMinutes)
{
    EXPECT_EQ(decide_retry(4, 119s, 2min, passing).action, ACTION::retry);
    EXPECT_EQ(decide_retry(4, 120s, 2min, passing).action, ACTION::give_up_on_time);
    EXPECT_EQ(decide_retry(1, 59s, 1min, lasting).action, ACTION::retry);
}

TEST(Retry, DoesNotRetryWithADurationOfZero)
{
    EXPECT_EQ(decide_retry(1, 0s, 0min, passing).action, ACTION::give_up_on_time);
    EXPECT_EQ(decide_retry(1, 0s, 0min, lasting).action, ACTION::give_up_on_time);
}

TEST(Retry, GivesUpAtOnceWhenTheLoginWasRefused)
{
    EXPECT_EQ(decide_retry(1, 0s, 60min, VINST_ATTEMPT_FAULT::final).action,
              ACTION::give_up_on_error);
}
