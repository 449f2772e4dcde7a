#include "support/curl/curl_split.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint64_t least = 16;

TEST(Split, TakesTheSecondHalfOfTheLongestRest)
{
    const auto split = curl_choose_split({{90, 100}, {100, 300}, {300, 400}}, least);
    ASSERT_TRUE(split);
    EXPECT_EQ(split->part, 1U);
    EXPECT_EQ(split->at, 200U);
}

TEST(Split, LeavesTheOddByteToTheFirstHalf)
{
    const auto split = curl_choose_split({{0, 33}}, least);
    ASSERT_TRUE(split);
    EXPECT_EQ(split->at, 17U);
}

TEST(Split, BeginsWhereFileSystemsCanShareBlocks)
{
    constexpr std::uint64_t block = 65'536;
    const auto split = curl_choose_split({{1000, 10 * block + 500}}, 4 * block);
    ASSERT_TRUE(split);
    EXPECT_EQ(split->at, 5 * block);
    EXPECT_EQ(curl_choose_split({{1000, 8 * block + 1000}}, 4 * block)->at, 4 * block + 1000)
        << "the first half would be too short";
}

TEST(Split, MakesNoSmallPieces)
{
    EXPECT_TRUE(curl_choose_split({{0, 32}}, least));
    EXPECT_FALSE(curl_choose_split({{0, 31}, {100, 131}}, least));
}

TEST(Split, NeedsAPart)
{
    EXPECT_FALSE(curl_choose_split({}, least));
    EXPECT_FALSE(curl_choose_split({CURL_PART(), {100, 100}, {200, 100}}, least));
}

/// Whatever the speeds are: the parts stay in order and cover what was left.
TEST(Split, KeepsEveryByteInOnePart)
{
    std::vector<CURL_PART> parts = {{0, 1'000'000}};
    for (int i = 0; i < 10; ++i)
    {
        const auto split = curl_choose_split(parts, least);
        ASSERT_TRUE(split);
        const CURL_PART whole = parts[split->part];
        ASSERT_GT(split->at, whole.position);
        ASSERT_LT(split->at, whole.end);
        parts[split->part].end = split->at;
        parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(split->part) + 1,
                     {split->at, whole.end});
    }
    for (std::size_t i = 1; i < parts.size(); ++i)
        EXPECT_EQ(parts[i].position, parts[i - 1].end);
}

}
