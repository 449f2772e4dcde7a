#include "support/curl/curl_pace.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;

class Pace : public ::testing::Test
{
protected:
    Pace() { pace.start(start); }

    std::string reason_after(std::chrono::milliseconds time)
    {
        return pace.reason_to_give_up(start + time);
    }

    const CURL_PACE::TIME start = CURL_PACE::TIME() + 1h;
    CURL_PACE pace{60s};
};

}

TEST_F(Pace, GivesUpOnASilentServer)
{
    EXPECT_EQ(reason_after(59'999ms), "");
    EXPECT_EQ(reason_after(60s), "No data received for 60 seconds");
    pace.take_header(start + 50s);
    EXPECT_EQ(reason_after(109s), "");
    pace.take_body(100'000, start + 109s);
    EXPECT_EQ(reason_after(168'999ms), "");
    EXPECT_EQ(reason_after(169s), "No data received for 60 seconds");
}

TEST_F(Pace, GivesUpOnHeadersWithoutAnEnd)
{
    for (const auto time : {10s, 20s, 40s, 60s, 69s})
    {
        EXPECT_EQ(reason_after(time), "");
        pace.take_header(start + time);
    }
    EXPECT_EQ(reason_after(69'999ms), "");
    EXPECT_EQ(reason_after(70s), "The server's headers did not end within 60 seconds");
}

TEST_F(Pace, StartsAgainWithEachRequest)
{
    pace.take_header(start + 10s);
    pace.take_body(1, start + 11s);
    pace.start(start + 60s);
    EXPECT_EQ(reason_after(119s), "");
    EXPECT_EQ(reason_after(120s), "No data received for 60 seconds");
}

TEST_F(Pace, GivesUpOnABodyOfLessThanOneKibibytePerMinute)
{
    pace.take_header(start + 1s);
    for (int seconds = 10; seconds < 70; ++seconds)
        pace.take_body(17, start + std::chrono::seconds(seconds)); // 1020 bytes
    EXPECT_EQ(reason_after(69'999ms), "");
    EXPECT_EQ(reason_after(70s), "Less than 1 KiB received in 60 seconds");
}

TEST_F(Pace, ContinuesWithASlowBody)
{
    pace.take_header(start + 1s);
    for (int seconds = 10; seconds < 310; ++seconds)
    {
        pace.take_body(18, start + std::chrono::seconds(seconds));
        EXPECT_EQ(reason_after(std::chrono::seconds(seconds)), "") << seconds;
    }
}

TEST_F(Pace, MeasuresEachMinuteOfABodyOnItsOwn)
{
    pace.take_body(5'000'000, start + 1s);
    pace.take_body(1, start + 60s);
    EXPECT_EQ(reason_after(61s), "");
    pace.take_body(1000, start + 119s);
    EXPECT_EQ(reason_after(120'999ms), "");
    EXPECT_EQ(reason_after(121s), "Less than 1 KiB received in 60 seconds");
}
