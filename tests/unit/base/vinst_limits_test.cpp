#include "install/vinst/base/vinst_limits.h"

#include <gtest/gtest.h>

#include <limits>

TEST(NumberLimits, ContainBothBoundsAndNothingOutside)
{
    constexpr VINST_NUMBER_LIMITS limits{3, 1, 6};
    EXPECT_FALSE(limits.contain(0));
    EXPECT_TRUE(limits.contain(1));
    EXPECT_TRUE(limits.contain(6));
    EXPECT_FALSE(limits.contain(7));
    EXPECT_FALSE(limits.contain(-1));
    EXPECT_FALSE(limits.contain(std::numeric_limits<int>::min()));
    EXPECT_FALSE(limits.contain(std::numeric_limits<int>::max()));
}

TEST(NumberLimits, ReadAsARange)
{
    EXPECT_EQ(vinst_parallel_downloads.range_text(), "1-6");
    EXPECT_EQ(vinst_retry_minutes.range_text(), "0-10000");
}

TEST(NumberLimits, ContainTheirInitialValue)
{
    for (const VINST_NUMBER_LIMITS& limits : {vinst_parallel_downloads, vinst_retry_minutes})
        EXPECT_TRUE(limits.contain(limits.initial)) << limits.range_text();
}
