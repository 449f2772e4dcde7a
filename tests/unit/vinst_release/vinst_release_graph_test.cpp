#include "tools/vinst_release/release_graph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace
{

using CYCLE = std::vector<std::size_t>;

}

TEST(FindCycles, FindsNoneInATreeOrADiamond)
{
    EXPECT_THAT(find_cycles({}), IsEmpty());
    EXPECT_THAT(find_cycles({{}, {0}, {0}, {1}}), IsEmpty());
    EXPECT_THAT(find_cycles({{1, 2}, {3}, {3}, {}}), IsEmpty());
}

TEST(FindCycles, FindsANodeThatPointsToItself)
{
    EXPECT_THAT(find_cycles({{}, {1}}), ElementsAre(CYCLE{1}));
}

TEST(FindCycles, FindsACycleWithoutThePathToIt)
{
    // 0 -> 1 -> 2 -> 3 -> 1
    EXPECT_THAT(find_cycles({{1}, {2}, {3}, {1}}), ElementsAre(CYCLE({1, 2, 3})));
}

TEST(FindCycles, FindsEachOfSeveralCycles)
{
    EXPECT_THAT(find_cycles({{1}, {0}, {3}, {2}, {0, 2}}),
                UnorderedElementsAre(CYCLE({0, 1}), CYCLE({2, 3})));
}

TEST(FindCycles, ListsCyclesInTheOrderOfTheirFirstNodes)
{
    // The cycle of 0 and 1 leads to the cycle of 2 and 3.
    EXPECT_THAT(find_cycles({{1, 2}, {0}, {3}, {2}}), ElementsAre(CYCLE({0, 1}), CYCLE({2, 3})));
}

TEST(FindCycles, ReturnsAPathThatFollowsTheEdges)
{
    // Two cycles that share node 2, entered through a node that is in only one of them.
    const RELEASE_GRAPH graph = {{1}, {2}, {0, 3}, {2}};
    const auto cycles = find_cycles(graph);
    ASSERT_EQ(cycles.size(), 1U);
    for (std::size_t i = 0; i < cycles[0].size(); ++i)
    {
        const std::size_t from = cycles[0][i];
        const std::size_t to = cycles[0][(i + 1) % cycles[0].size()];
        EXPECT_NE(std::find(graph[from].begin(), graph[from].end(), to), graph[from].end());
    }
}

TEST(FindCycles, SurvivesAVeryLongChain)
{
    constexpr std::size_t length = 1000000;
    RELEASE_GRAPH graph(length);
    for (std::size_t i = 0; i + 1 < length; ++i)
        graph[i].push_back(i + 1);
    EXPECT_THAT(find_cycles(graph), IsEmpty());
    graph[length - 1].push_back(0);
    const auto cycles = find_cycles(graph);
    ASSERT_EQ(cycles.size(), 1U);
    EXPECT_EQ(cycles[0].size(), length);
}

TEST(OrderParentsFirst, KeepsAValidOrder)
{
    EXPECT_THAT(order_parents_first({{}, 0, 1, {}, 0}), ElementsAre(0, 1, 2, 3, 4));
}

TEST(OrderParentsFirst, MovesALateParentRightBeforeItsFirstChild)
{
    EXPECT_THAT(order_parents_first({{}, 3, {}, {}}), ElementsAre(0, 3, 1, 2));
}

TEST(OrderParentsFirst, MovesACompleteChainOfAncestors)
{
    EXPECT_THAT(order_parents_first({1, 2, 3, {}, 1}), ElementsAre(3, 2, 1, 0, 4));
}
