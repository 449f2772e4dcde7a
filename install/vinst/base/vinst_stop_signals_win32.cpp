#include "install/vinst/base/vinst_stop_signals.h"

#include "install/vinst/base/vinst_stop.h"

#include <atomic>
#include <cstdio>

#include <windows.h>

namespace
{

/// The system ends a process 5 s after its console was closed.
constexpr DWORD grace_of_the_system = 4500; // ms

constexpr DWORD ended_by_control_c = 0xC000013A; // what such a process's exit code is by itself

// Written on the system's own thread for each request, read by the main thread. One more than the
// kind of the request; 0 when there was none.
std::atomic<int> received_request{0};

/// Set once the run has unwound and the process may go.
std::atomic<HANDLE> run_ended{nullptr};

BOOL WINAPI on_request(DWORD kind)
{
    int none = 0;
    const bool is_first =
        received_request.compare_exchange_strong(none, static_cast<int>(kind) + 1);
    const bool can_wait = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
    if (!is_first && can_wait)
        ::TerminateProcess(::GetCurrentProcess(), ended_by_control_c); // asked twice: at once
    request_process_stop();
    if (!can_wait)
        ::WaitForSingleObject(run_ended, grace_of_the_system); // returning ends the process
    return TRUE;
}

}

struct VINST_STOP_SIGNALS::WATCH
{
    HANDLE ended = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

VINST_STOP_SIGNALS::VINST_STOP_SIGNALS() : m_watch(std::make_unique<WATCH>())
{
    received_request = 0;
    run_ended = m_watch->ended;
    ::SetConsoleCtrlHandler(on_request, TRUE);
}

VINST_STOP_SIGNALS::~VINST_STOP_SIGNALS()
{
    // First, as the system takes no handler back while it runs. The event is left to the process:
    // a request that came last may still look at it.
    ::SetEvent(m_watch->ended);
    ::SetConsoleCtrlHandler(on_request, FALSE);
}

int VINST_STOP_SIGNALS::received()
{
    return received_request;
}

void VINST_STOP_SIGNALS::end_by_signal()
{
    if (received_request == 0)
        return;
    std::fflush(nullptr);
    ::ExitProcess(ended_by_control_c);
}
