#include "install/vinst/vinst_fatal_handlers.h"

#include "support/main/main_assert.h"
#include "support/main/main_globals.h"
#include "support/mem/mem_initializer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <thread>
#include <unistd.h>

namespace
{

using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

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

void say_seh(const void* record)
{
    std::fprintf(stderr, "record %s\n", record ? "given" : "none");
}

/// Overflows a stack in a way that no compiler turns into a loop.
int endless(volatile int* depth)
{
    volatile char block[4096] = {};
    block[0] = static_cast<char>(*depth);
    ++*depth;
    return *depth < 0 ? 0 : endless(depth) + block[0];
}

}

TEST(FatalHandlersDeathTest, TellTheSignalAndEndWithCode2)
{
    for (const auto& [signal_number, text] :
         {std::pair{SIGSEGV,
                    "^Fatal error: SE 11 thrown. The Veltrin Crest software will now exit.\n$"},
          std::pair{SIGBUS,
                    "^Fatal error: SE 7 thrown. The Veltrin Crest software will now exit.\n$"},
          std::pair{SIGFPE,
                    "^Fatal error: SE 8 thrown. The Veltrin Crest software will now exit.\n$"},
          std::pair{SIGILL,
                    "^Fatal error: SE 4 thrown. The Veltrin Crest software will now exit.\n$"}})
        EXPECT_EXIT(
            {
                install_fatal_handlers();
                std::raise(signal_number);
            },
            ExitedWithCode(2), text);
}

TEST(FatalHandlersDeathTest, WorkOnAnotherThread)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::thread([] { std::raise(SIGSEGV); }).join();
        },
        ExitedWithCode(2), "^Fatal error: SE 11 thrown");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The sanitizers bring guard pages and handlers of their own for this one.
TEST(FatalHandlersDeathTest, SurviveAStackThatOverflowed)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            volatile int depth = 0;
            endless(&depth);
        },
        ExitedWithCode(2), "^Fatal error: SE 11 thrown");
}
#endif

TEST(FatalHandlersDeathTest, EndATerminatedProcessWithCode2)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::terminate();
        },
        ExitedWithCode(2), terminated);
}

TEST(FatalHandlersDeathTest, TellATerminationWithinATermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = terminate_again;
            std::terminate();
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, TellWhenTheTerminationItselfFails)
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

TEST(FatalHandlersDeathTest, LeaveTheLastWordToAHostsCallback)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_seh_callback = say_seh;
            std::raise(SIGSEGV);
        },
        ExitedWithCode(2), "^record given\n$");
}

TEST(FatalHandlersDeathTest, AreNotInstalledForADeveloper)
{
    EXPECT_EXIT(
        {
            setenv("VINST_DEBUG", "1", 1);
            std::signal(SIGSEGV, SIG_DFL);
            install_fatal_handlers();
            std::raise(SIGSEGV);
        },
        KilledBySignal(SIGSEGV), "");
}

TEST(FatalHandlersDeathTest, EndAProcessWithoutMemoryThroughTheSameDoor)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            const MEM_INITIALIZER initializer;
            std::get_new_handler()();
        },
        ExitedWithCode(2), "^Out of memory.\nFatal error: Program termination requested.");
}

TEST(FatalHandlersDeathTest, EndAFailedAssertionWithItsConditionAndPlace)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            MAIN_ASSERT(1 + 1 == 3);
        },
        ExitedWithCode(2),
        "^Assertion failed: 1 \\+ 1 == 3, file tests/unit/vinst_fatal_handlers_test.cpp, line "
        "[0-9]+\nFatal error: Program termination requested.");
}

TEST(MainGlobals, SwitchFatalHandlingOffForADeveloperOnly)
{
    EXPECT_TRUE(main_eh_enabled());
    setenv("VINST_DEBUG", "", 1);
    EXPECT_TRUE(main_eh_enabled());
    setenv("VINST_DEBUG", "1", 1);
    EXPECT_FALSE(main_eh_enabled());
    unsetenv("VINST_DEBUG");
}

TEST(MainGlobals, RememberWhetherTerminationIsUnderWay)
{
    EXPECT_FALSE(main_terminate_called(1));
    EXPECT_TRUE(main_terminate_called(1));
    EXPECT_TRUE(main_terminate_called(0));
    EXPECT_FALSE(main_terminate_called(0));
}

TEST(FatalHandlersDeathTest, TellAFaultWithinTheHandlingOfAFault)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_seh_callback = [](const void*) { std::raise(SIGBUS); };
            std::raise(SIGSEGV);
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, TellAFaultWithinATermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = [] { std::raise(SIGSEGV); };
            std::terminate();
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, LeaveTheLastWordOnATerminationToAHostsCallback)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = [] { std::fputs("the host's words\n", stderr); };
            std::terminate();
        },
        ExitedWithCode(2), "^the host's words\n$");
}

TEST(FatalHandlersDeathTest, TellAnExceptionThatNobodyCaught)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::thread([] { throw 1; }).join();
        },
        ExitedWithCode(2), terminated);
}

TEST(FatalHandlersDeathTest, WriteWhatWasPrintedBefore)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::fflush(stdout);
            dup2(STDERR_FILENO, STDOUT_FILENO);
            std::setvbuf(stdout, nullptr, _IOFBF, 4096);
            std::fputs("printed before, ", stdout);
            std::terminate();
        },
        ExitedWithCode(2), "^printed before, Fatal error: Program termination requested.");
}

TEST(FatalHandlersDeathTest, BeginWithTheMarkOfTerminationCleared)
{
    EXPECT_EXIT(
        {
            main_terminate_called(1);
            install_fatal_handlers();
            std::terminate();
        },
        ExitedWithCode(2), terminated);
}
