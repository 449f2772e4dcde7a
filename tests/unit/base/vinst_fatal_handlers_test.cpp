#include "install/vinst/base/vinst_fatal_handlers.h"

#include "support/main/main_assert.h"
#include "support/main/main_globals.h"
#include "support/mem/mem_initializer.h"
#include "tests/harness/death_test.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <thread>

namespace
{

using ::testing::ExitedWithCode;

const char* const terminated =
    "^Fatal error: Program termination requested. The Veltrin Crest software will now exit.\n$";

void throw_from_callback()
{
    throw 1;
}

void terminate_again()
{
    std::terminate();
}

}

TEST(FatalHandlersDeathTest, EndATerminatedProcessWithCode2)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::terminate();
        },
        ExitedWithCode(2), terminated);
}

TEST(FatalHandlersDeathTest, ReportATerminationDuringTermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = terminate_again;
            std::terminate();
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, ReportThatTheTerminationItselfFailed)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = throw_from_callback;
            std::terminate();
        },
        ExitedWithCode(2),
        "^\n\\*\\*\\* Fatal Error: Failed to complete termination procedures\n$");
}

TEST(FatalHandlersDeathTest, EndAProcessThatIsOutOfMemoryInTheSameWay)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            const MEM_INITIALIZER initializer;
            std::get_new_handler()();
        },
        ExitedWithCode(2), "^Out of memory.\nFatal error: Program termination requested.");
}

TEST(FatalHandlersDeathTest, ReportTheConditionAndPlaceOfAFailedAssertion)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            MAIN_ASSERT(1 + 1 == 3);
        },
        ExitedWithCode(2),
        "^Assertion failed: 1 \\+ 1 == 3, file tests/unit/base/vinst_fatal_handlers_test.cpp, "
        "line " VINST_DIGITS "\nFatal error: Program termination requested.");
}

TEST(MainGlobals, DisableFatalHandlingForADeveloperOnly)
{
    EXPECT_TRUE(main_eh_enabled());
    qputenv("VINST_DEBUG", "");
    EXPECT_TRUE(main_eh_enabled());
    qputenv("VINST_DEBUG", "1");
    EXPECT_FALSE(main_eh_enabled());
    qunsetenv("VINST_DEBUG");
}

TEST(MainGlobals, RememberWhetherTerminationIsUnderWay)
{
    EXPECT_FALSE(main_terminate_called(1));
    EXPECT_TRUE(main_terminate_called(1));
    EXPECT_TRUE(main_terminate_called(0));
    EXPECT_FALSE(main_terminate_called(0));
}

TEST(FatalHandlersDeathTest, LetAHostsCallbackEndATermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = [] { std::fputs("the host's words\n", stderr); };
            std::terminate();
        },
        ExitedWithCode(2), "^the host's words\n$");
}

TEST(FatalHandlersDeathTest, ReportAnUncaughtException)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::thread([] { throw 1; }).join();
        },
        ExitedWithCode(2), terminated);
}

TEST(FatalHandlersDeathTest, FlushWhatWasPrintedBefore)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::fflush(stdout);
            send_output_to_errors();
            std::setvbuf(stdout, nullptr, _IOFBF, 4096);
            std::fputs("printed before, ", stdout);
            std::terminate();
        },
        ExitedWithCode(2), "^printed before, Fatal error: Program termination requested.");
}

TEST(FatalHandlersDeathTest, StartWithTheTerminationFlagCleared)
{
    EXPECT_EXIT(
        {
            main_terminate_called(1);
            install_fatal_handlers();
            std::terminate();
        },
        ExitedWithCode(2), terminated);
}
