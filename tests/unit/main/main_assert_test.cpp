#include "support/main/main_assert.h"

#include "tests/harness/death_test.h"

#include <gtest/gtest.h>

#include <exception>

namespace
{

int evaluations = 0;

bool counted(bool answer)
{
    ++evaluations;
    return answer;
}

[[noreturn]] void end_with_code_9()
{
    end_with(9);
}

}

TEST(Assertion, EvaluatesItsConditionOnce)
{
    evaluations = 0;
    MAIN_ASSERT(counted(true));
    EXPECT_EQ(evaluations, 1);
}

TEST(Assertion, IsAnExpression)
{
    for (const bool holds : {true, true})
        holds ? MAIN_ASSERT(holds) : MAIN_ASSERT(!holds);
    const int value = (MAIN_ASSERT(counted(true)), 5);
    EXPECT_EQ(value, 5);
}

TEST(AssertionDeathTest, PrintsItsConditionFileAndLineInEveryBuildType)
{
    EXPECT_EXIT(MAIN_ASSERT(counted(false) && "a \"quoted\" 100%s"), ended_by_abort,
                "^Assertion failed: counted\\(false\\) && \"a \\\\\"quoted\\\\\" 100%s\", file "
                "tests/unit/main/main_assert_test.cpp, line " VINST_DIGITS "\n");
}

TEST(AssertionDeathTest, EndsThroughTheTerminateHandler)
{
    EXPECT_EXIT(
        {
            std::set_terminate(end_with_code_9);
            MAIN_ASSERT(1 > 2);
        },
        ::testing::ExitedWithCode(9), "^Assertion failed: 1 > 2, file ");
}
