#include "install/vinst/base/vinst_fatal_handlers.h"

#include "support/main/main_globals.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

namespace
{

using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

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

TEST(FatalHandlersDeathTest, ReportTheSignalAndEndWithCode2)
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

TEST(FatalHandlersDeathTest, LetAHostsCallbackEndTheProcess)
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
            qputenv("VINST_DEBUG", "1");
            std::signal(SIGSEGV, SIG_DFL);
            install_fatal_handlers();
            std::raise(SIGSEGV);
        },
        KilledBySignal(SIGSEGV), "");
}

#if !defined(__SANITIZE_THREAD__)
// The sanitizer blocks all signals while a handler runs.
TEST(FatalHandlersDeathTest, ReportAFaultDuringFaultHandling)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_seh_callback = [](const void*) { std::raise(SIGBUS); };
            std::raise(SIGSEGV);
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}
#endif

TEST(FatalHandlersDeathTest, ReportAFaultDuringTermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = [] { std::raise(SIGSEGV); };
            std::terminate();
        },
        ExitedWithCode(2), "^\n\\*\\*\\* Internal Error: Recursive termination requested.\n$");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The sanitizers install their own guard pages and handlers for this signal.
TEST(FatalHandlersDeathTest, SurviveAStackOverflow)
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
