#include "install/vinst/base/vinst_fatal_handlers.h"

#include "support/main/main_globals.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <thread>

#include <windows.h>

namespace
{

using ::testing::ExitedWithCode;

/// 0xC0000005 as a signed number.
const char* const access_violation =
    "^Fatal error: SE -1073741819 thrown. The Veltrin Crest software will now exit.\n$";

void read_what_is_not_there()
{
    static volatile int* volatile nothing = nullptr;
    *nothing = 1;
}

void say_code(const void* record)
{
    const auto* const exception = static_cast<const EXCEPTION_RECORD*>(record);
    std::fprintf(stderr, "code %lx\n", exception->ExceptionCode);
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

TEST(FatalHandlersDeathTest, ReportAnAccessViolationOnTheMainThread)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            read_what_is_not_there();
        },
        ExitedWithCode(2), access_violation);
}

TEST(FatalHandlersDeathTest, ReportAnAccessViolationOnAWorker)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            std::thread(read_what_is_not_there).join();
        },
        ExitedWithCode(2), access_violation);
}

TEST(FatalHandlersDeathTest, ReportAnyOtherException)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            ::RaiseException(EXCEPTION_INT_DIVIDE_BY_ZERO, 0, 0, nullptr);
        },
        ExitedWithCode(2), "^Fatal error: SE -1073741676 thrown. ");
}

TEST(FatalHandlersDeathTest, SurviveAStackOverflow)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            volatile int depth = 0;
            endless(&depth);
        },
        ExitedWithCode(2), "^Fatal error: SE -1073741571 thrown. ");
}

TEST(FatalHandlersDeathTest, LetAHostsCallbackEndTheProcess)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_seh_callback = say_code;
            read_what_is_not_there();
        },
        ExitedWithCode(2), "^code c0000005\n$");
}

TEST(FatalHandlersDeathTest, ReportAFaultDuringFaultHandling)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_seh_callback = [](const void*) { read_what_is_not_there(); };
            read_what_is_not_there();
        },
        ExitedWithCode(2), "Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, ReportAFaultDuringTermination)
{
    EXPECT_EXIT(
        {
            install_fatal_handlers();
            main_terminator_callback = read_what_is_not_there;
            std::terminate();
        },
        ExitedWithCode(2), "Internal Error: Recursive termination requested.\n$");
}

TEST(FatalHandlersDeathTest, AreNotInstalledForADeveloper)
{
    EXPECT_EXIT(
        {
            ::SetErrorMode(SEM_NOGPFAULTERRORBOX);
            qputenv("VINST_DEBUG", "1");
            install_fatal_handlers();
            read_what_is_not_there();
        },
        ExitedWithCode(static_cast<int>(EXCEPTION_ACCESS_VIOLATION)), "");
}
