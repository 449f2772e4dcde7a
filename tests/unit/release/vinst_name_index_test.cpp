#include "install/vinst/release/vinst_name_index.h"

#include <gtest/gtest.h>

TEST(SuitsPlatform, TreatsAnEmptyPlatformAsEveryPlatform)
{
    EXPECT_TRUE(suits_platform("linux", "linux"));
    EXPECT_FALSE(suits_platform("windows", "linux"));
    EXPECT_TRUE(suits_platform("", "linux"));
    EXPECT_TRUE(suits_platform("", ""));
    EXPECT_FALSE(suits_platform("linux", ""));
}

TEST(IsComponentPlatform, AcceptsKnownPlatformsAndAnEmptyText)
{
    EXPECT_TRUE(is_component_platform("linux"));
    EXPECT_TRUE(is_component_platform("windows"));
    EXPECT_TRUE(is_component_platform(""));
    EXPECT_FALSE(is_component_platform("macos"));
    EXPECT_FALSE(is_component_platform("Linux"));
}

TEST(NameIndex, FindsTheLowestIndexThatSuitsThePlatform)
{
    VINST_NAME_INDEX index;
    index.add("a", "windows", 0);
    index.add("a", "linux", 1);
    index.add("a", "", 2);
    index.add("b", "", 3);
    index.add("b", "linux", 4);
    EXPECT_EQ(index.find("a", "windows"), 0U);
    EXPECT_EQ(index.find("a", "linux"), 1U);
    EXPECT_EQ(index.find("a", ""), 2U);
    EXPECT_EQ(index.find("b", "linux"), 3U);
    EXPECT_EQ(index.find("b", "windows"), 3U);
    EXPECT_EQ(index.find("c", "linux"), std::nullopt);
}

TEST(NameIndex, LetsNoComponentOfAPlatformSuitAnEmptyOne)
{
    VINST_NAME_INDEX index;
    index.add("a", "linux", 0);
    EXPECT_EQ(index.find("a", ""), std::nullopt);
}

TEST(NameIndex, KeepsTheFirstIndexOfANameThatIsAddedTwice)
{
    VINST_NAME_INDEX index;
    index.add("a", "linux", 0);
    index.add("a", "linux", 1);
    EXPECT_EQ(index.find("a", "linux"), 0U);
}
