#include "install/vinst/download/vinst_connection_rules.h"

#include <gtest/gtest.h>

namespace
{

using STEP = VINST_CONNECTION_STEP;

}

TEST(ConnectionRules, TryEveryProxyTwice)
{
    EXPECT_EQ(next_connection_step(1, "linux", false, true), STEP::retry);
    EXPECT_EQ(next_connection_step(2, "linux", false, true), STEP::give_up);
    EXPECT_EQ(next_connection_step(2, "linux", true, false), STEP::give_up);
}

TEST(ConnectionRules, DetectAProxyOnLinuxIfNoneWasChosenOrFound)
{
    EXPECT_EQ(next_connection_step(1, "linux", true, false), STEP::look_for_proxy);
    EXPECT_EQ(next_connection_step(1, "linux", true, true), STEP::retry);
    EXPECT_EQ(next_connection_step(1, "linux", false, false), STEP::retry);
    EXPECT_EQ(next_connection_step(1, "windows", true, false), STEP::retry);
}
