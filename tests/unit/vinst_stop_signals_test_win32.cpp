#include "install/vinst/vinst_stop_signals.h"

#include "support/thr/thr_sleep.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <windows.h>

namespace
{

using namespace std::chrono_literals;

/// A console of this process's own, so that a request reaches nobody else.
class OWN_CONSOLE
{
public:
    OWN_CONSOLE()
    {
        ::FreeConsole();
        m_exists = ::AllocConsole() != FALSE;
    }
    ~OWN_CONSOLE() { ::FreeConsole(); }
    OWN_CONSOLE(const OWN_CONSOLE&) = delete;
    OWN_CONSOLE& operator=(const OWN_CONSOLE&) = delete;

    bool exists() const { return m_exists; }

private:
    bool m_exists = false;
};

bool stop_comes_within(std::chrono::milliseconds limit)
{
    for (auto passed = 0ms; passed < limit && !thr_stop_requested(); passed += 10ms)
        std::this_thread::sleep_for(10ms);
    return thr_stop_requested();
}

class StopSignals : public ::testing::TestWithParam<DWORD>
{
protected:
    ~StopSignals() override { thr_forget_stop_request(); }
};

}

TEST_P(StopSignals, BecomeTheRunsStopRequest)
{
    const OWN_CONSOLE console;
    ASSERT_TRUE(console.exists());
    const VINST_STOP_SIGNALS signals;
    EXPECT_EQ(VINST_STOP_SIGNALS::received(), 0);
    ASSERT_NE(::GenerateConsoleCtrlEvent(GetParam(), 0), FALSE);
    EXPECT_TRUE(stop_comes_within(5s));
    EXPECT_NE(VINST_STOP_SIGNALS::received(), 0);
}

// Wine sends no CTRL_BREAK_EVENT; the handler treats it as it does this one.
INSTANTIATE_TEST_SUITE_P(Console, StopSignals, ::testing::Values(CTRL_C_EVENT));

TEST(StopSignalsDeathTest, EndTheProcessWithTheCodeOfControlC)
{
    EXPECT_EXIT(
        {
            const OWN_CONSOLE console;
            VINST_STOP_SIGNALS signals;
            ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
            stop_comes_within(5s);
            signals.end_by_signal();
        },
        ::testing::ExitedWithCode(static_cast<int>(0xC000013A)), "");
}
