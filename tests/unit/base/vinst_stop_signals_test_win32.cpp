#include "install/vinst/base/vinst_stop_signals.h"

#include "support/thr/thr_sleep.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include <windows.h>

namespace
{

using namespace std::chrono_literals;

/// A separate console for this process, so that a request reaches no other process.
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

/// Simulates requests for which Wine has no window or key: starts the thread that the system starts
/// in a process whose console is asked to end, at the same entry point.
class REQUEST_THREAD
{
public:
    explicit REQUEST_THREAD(DWORD request)
    {
        const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine")));
        if (routine != nullptr)
            m_thread =
                ::CreateThread(nullptr, 0, routine,
                               reinterpret_cast<void*>(static_cast<UINT_PTR>(request)), 0, nullptr);
    }
    ~REQUEST_THREAD()
    {
        if (m_thread == nullptr)
            return;
        ::WaitForSingleObject(m_thread, 20'000);
        ::CloseHandle(m_thread);
    }
    REQUEST_THREAD(const REQUEST_THREAD&) = delete;
    REQUEST_THREAD& operator=(const REQUEST_THREAD&) = delete;

    bool exists() const { return m_thread != nullptr; }
    bool ends_within(std::chrono::milliseconds limit) const
    {
        return ::WaitForSingleObject(m_thread, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
    }

private:
    HANDLE m_thread = nullptr;
};

constexpr UINT longest_answer = 20'000; // ms

/// The window of this process that delays its answer to the end of the session.
HWND session_window()
{
    HWND window = nullptr;
    DWORD process = 0;
    do
    {
        window = ::FindWindowExW(nullptr, window, L"vinst_session_watch", nullptr);
        ::GetWindowThreadProcessId(window, &process);
    } while (window != nullptr && process != ::GetCurrentProcessId());
    return window;
}

/// Sends the message as the system does. \return the answer; nothing if there is none in time
std::optional<DWORD_PTR> ask(HWND window, UINT message, WPARAM is_ending, LPARAM reason = 0)
{
    DWORD_PTR answer = 0;
    if (::SendMessageTimeoutW(window, message, is_ending, reason, SMTO_NORMAL, longest_answer,
                              &answer) == 0)
        return std::nullopt;
    return answer;
}

/// Passes a message of one of Qt's own windows to the program, as Qt does before handling it.
/// \return the answer; nothing if the message is left to Qt
std::optional<long> hand_to_filters(UINT message, WPARAM is_ending)
{
    MSG sent = {};
    sent.message = message;
    sent.wParam = is_ending;
    long answer = -1;
    if (!QAbstractEventDispatcher::instance()->filterNativeEvent("windows_generic_MSG", &sent,
                                                                 &answer))
        return std::nullopt;
    return answer;
}

bool stop_comes()
{
    return wait_until([] { return thr_stop_requested(); });
}

class StopSignals : public ::testing::TestWithParam<DWORD>
{
protected:
    ~StopSignals() override { forget_stop_request(); }
};

}

TEST_P(StopSignals, BecomeTheRunsStopRequest)
{
    std::optional<VINST_STOP_SIGNALS> signals(std::in_place);
    EXPECT_EQ(VINST_STOP_SIGNALS::received(), 0);
    const REQUEST_THREAD request(GetParam());
    ASSERT_TRUE(request.exists());
    EXPECT_TRUE(stop_comes());
    EXPECT_NE(VINST_STOP_SIGNALS::received(), 0);
    signals.reset();
}

INSTANTIATE_TEST_SUITE_P(Console, StopSignals,
                         ::testing::Values(CTRL_C_EVENT, CTRL_BREAK_EVENT, CTRL_CLOSE_EVENT));

TEST_F(StopSignals, ComeFromTheConsole)
{
    const OWN_CONSOLE console;
    ASSERT_TRUE(console.exists());
    const VINST_STOP_SIGNALS signals;
    ASSERT_NE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0), FALSE);
    EXPECT_TRUE(stop_comes());
}

// The system ends the process as soon as it has its answer.
TEST_F(StopSignals, OfAClosedConsoleAreAnsweredAfterTheRunHasEnded)
{
    std::optional<VINST_STOP_SIGNALS> signals(std::in_place);
    const REQUEST_THREAD request(CTRL_CLOSE_EVENT);
    ASSERT_TRUE(stop_comes());
    EXPECT_FALSE(request.ends_within(500ms));
    signals.reset();
    EXPECT_TRUE(request.ends_within(long_enough));
}

class StopRequestDeathTest : public ::testing::TestWithParam<DWORD>
{
};

TEST_P(StopRequestDeathTest, EndTheProcessWithTheCodeOfControlC)
{
    EXPECT_EXIT(
        {
            VINST_STOP_SIGNALS signals;
            const REQUEST_THREAD request(GetParam());
            static_cast<void>(stop_comes());
            signals.end_by_signal();
        },
        ::testing::ExitedWithCode(static_cast<int>(0xC000013A)), "");
}

INSTANTIATE_TEST_SUITE_P(Console, StopRequestDeathTest,
                         ::testing::Values(CTRL_C_EVENT, CTRL_BREAK_EVENT, CTRL_CLOSE_EVENT));

TEST(StopSignalsDeathTest, EndTheProcessImmediatelyTheSecondTime)
{
    EXPECT_EXIT(
        {
            const VINST_STOP_SIGNALS signals;
            const REQUEST_THREAD first(CTRL_C_EVENT);
            static_cast<void>(stop_comes());
            const REQUEST_THREAD second(CTRL_BREAK_EVENT);
            // The process ends in this call; otherwise the test fails.
            static_cast<void>(wait_until([] { return false; }));
            ::ExitProcess(1);
        },
        ::testing::ExitedWithCode(static_cast<int>(0xC000013A)), "");
}

TEST_F(StopSignals, AllowTheSessionToEndWithoutStoppingYet)
{
    const VINST_STOP_SIGNALS signals;
    const HWND window = session_window();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(ask(window, WM_QUERYENDSESSION, 0), TRUE);
    EXPECT_EQ(ask(window, WM_ENDSESSION, FALSE), 0U); // another program has refused
    EXPECT_EQ(hand_to_filters(WM_QUERYENDSESSION, 0), TRUE);
    EXPECT_EQ(hand_to_filters(WM_ENDSESSION, FALSE), 0);
    EXPECT_FALSE(thr_stop_requested());
    EXPECT_EQ(VINST_STOP_SIGNALS::received(), 0);
}

TEST_F(StopSignals, OfASessionsEndAreAnsweredAfterTheRunHasEnded)
{
    std::optional<VINST_STOP_SIGNALS> signals(std::in_place);
    const HWND window = session_window();
    ASSERT_NE(window, nullptr);
    const auto answer = std::async(std::launch::async, [window]
                                   { return ask(window, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF); });
    EXPECT_TRUE(stop_comes());
    EXPECT_EQ(VINST_STOP_SIGNALS::received(), CTRL_LOGOFF_EVENT + 1);
    EXPECT_EQ(answer.wait_for(500ms), std::future_status::timeout);
    signals.reset();
    EXPECT_EQ(answer.wait_for(2s), std::future_status::ready);
    EXPECT_EQ(session_window(), nullptr);
}

// A job waits in nested event loops, which Qt would end.
TEST_F(StopSignals, OfASessionsEndLeaveTheEventLoopsRunning)
{
    const VINST_STOP_SIGNALS signals;
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [] { EXPECT_EQ(hand_to_filters(WM_ENDSESSION, TRUE), 0); });
    QTimer::singleShot(200ms, &loop, [&loop] { loop.exit(7); });
    EXPECT_EQ(loop.exec(), 7);
    EXPECT_TRUE(thr_stop_requested());
    EXPECT_EQ(VINST_STOP_SIGNALS::received(), CTRL_SHUTDOWN_EVENT + 1);
}

TEST_F(StopSignals, LeaveOtherMessagesToQt)
{
    const VINST_STOP_SIGNALS signals;
    EXPECT_EQ(hand_to_filters(WM_NULL, 0), std::nullopt);
}
