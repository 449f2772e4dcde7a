#include "install/vinst/base/vinst_stop_signals.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process_platform.h"
#include "install/vinst/base/vinst_stop.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>

#include <atomic>
#include <cstdio>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include <windows.h>

// Requests come from the console, on a system thread, and as window messages when the user's
// session ends. The system may end the process as soon as such a request has been handled, so the
// handler returns only after the run has unwound. The main thread can't wait for that in a message
// handler, because the job that has to unwind is further up on its own stack. Therefore a thread
// with a hidden window waits instead: the system asks the windows of all threads and ends the
// process only when all have responded. The main thread's windows only pass the request on, in
// whichever order they are asked.

namespace
{

constexpr const wchar_t* session_window_class = L"vinst_session_watch";

/// The system ends a process 5 s after its console was closed.
constexpr DWORD grace_of_console = 4500; // ms

/// The system waits as long as there is a reason to show; the user can end the process anyway.
constexpr DWORD grace_of_session = 20'000; // ms

constexpr DWORD ended_by_control_c =
    0xC000013A; // the exit code after a Ctrl-C that was not handled

// Written on the thread that receives the request, read by the main thread. The kind of the request
// plus one; 0 when there was none.
std::atomic<int> received_request{0};

/// Signalled when the run has unwound and the process may end.
std::atomic<HANDLE> run_ended{nullptr};

/// \return whether it was the first one
bool take_request(DWORD kind)
{
    int none = 0;
    const bool is_first =
        received_request.compare_exchange_strong(none, static_cast<int>(kind) + 1);
    request_process_stop();
    return is_first;
}

BOOL WINAPI on_console_request(DWORD kind)
{
    const bool can_wait = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
    if (!take_request(kind) && can_wait)
    {
        kill_running_installer();
        restore_console();
        ::TerminateProcess(::GetCurrentProcess(), ended_by_control_c); // second request
    }
    if (!can_wait)
        ::WaitForSingleObject(run_ended, grace_of_console); // returning ends the process
    return TRUE;
}

DWORD request_of_session(LPARAM reason)
{
    const bool is_logoff = (static_cast<DWORD>(reason) & ENDSESSION_LOGOFF) != 0;
    return is_logoff ? CTRL_LOGOFF_EVENT : CTRL_SHUTDOWN_EVENT;
}

LRESULT CALLBACK on_session_message(HWND window, UINT message, WPARAM is_ending, LPARAM reason)
{
    switch (message)
    {
    case WM_QUERYENDSESSION:
        return TRUE; // another program may still refuse, so nothing is stopped yet
    case WM_ENDSESSION:
        if (is_ending == FALSE)
            return 0;
        ::ShutdownBlockReasonCreate(window, L"The download or installation is being stopped.");
        take_request(request_of_session(reason));
        ::WaitForSingleObject(run_ended, grace_of_session);
        ::ShutdownBlockReasonDestroy(window);
        return 0;
    case WM_DESTROY:
        ::PostQuitMessage(0);
        return 0;
    default:
        return ::DefWindowProcW(window, message, is_ending, reason);
    }
}

/// The thread that delays the end of the session. Console programs need it, too: a process that has
/// loaded user32.dll is not notified by its console.
class SESSION_WATCH
{
public:
    SESSION_WATCH()
    {
        std::promise<HWND> made;
        std::future<HWND> window = made.get_future();
        m_thread = std::thread([promise = std::move(made)]() mutable { watch(promise); });
        m_window = window.get();
    }
    ~SESSION_WATCH()
    {
        if (m_window != nullptr)
            ::PostMessageW(m_window, WM_CLOSE, 0, 0);
        m_thread.join();
    }
    SESSION_WATCH(const SESSION_WATCH&) = delete;
    SESSION_WATCH& operator=(const SESSION_WATCH&) = delete;

private:
    /// Message-only windows are not asked, so this is an ordinary window that is never shown.
    static HWND make_window()
    {
        WNDCLASSEXW window_class = {};
        window_class.cbSize = sizeof window_class;
        window_class.lpfnWndProc = on_session_message;
        window_class.hInstance = ::GetModuleHandleW(nullptr);
        window_class.lpszClassName = session_window_class;
        ::RegisterClassExW(&window_class); // fails if already registered
        return ::CreateWindowExW(WS_EX_TOOLWINDOW, session_window_class, L"", WS_POPUP, 0, 0, 0, 0,
                                 nullptr, nullptr, window_class.hInstance, nullptr);
    }

    static void watch(std::promise<HWND>& made)
    {
        const HWND window = make_window();
        made.set_value(window);
        MSG message = {};
        while (window != nullptr && ::GetMessageW(&message, nullptr, 0, 0) > 0)
            ::DispatchMessageW(&message);
    }

    std::thread m_thread;
    HWND m_window = nullptr; ///< null where there is no desktop
};

/// Handles the request for Qt's windows. Qt itself would ask the user whether they may close, and
/// end the event loops in which a job is waiting.
class SESSION_FILTER final : public QAbstractNativeEventFilter
{
public:
    SESSION_FILTER() { QCoreApplication::instance()->installNativeEventFilter(this); }

    bool nativeEventFilter(const QByteArray&, void* message, long* result) override
    {
        const MSG& sent = *static_cast<const MSG*>(message);
        if (result == nullptr ||
            (sent.message != WM_QUERYENDSESSION && sent.message != WM_ENDSESSION))
            return false;
        if (sent.message == WM_ENDSESSION && sent.wParam != FALSE)
            take_request(request_of_session(sent.lParam));
        *result = sent.message == WM_QUERYENDSESSION ? TRUE : 0;
        return true;
    }
};

}

struct VINST_STOP_SIGNALS::WATCH
{
    HANDLE ended = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::optional<SESSION_WATCH> session;
    SESSION_FILTER filter;
};

VINST_STOP_SIGNALS::VINST_STOP_SIGNALS() : m_watch(std::make_unique<WATCH>())
{
    received_request = 0;
    run_ended = m_watch->ended;
    m_watch->session.emplace();
    ::SetConsoleCtrlHandler(on_console_request, TRUE);
}

VINST_STOP_SIGNALS::~VINST_STOP_SIGNALS()
{
    // Set first, because the system can't remove a handler while it runs. The event is never
    // closed: a late request may still use it.
    ::SetEvent(m_watch->ended);
    ::SetConsoleCtrlHandler(on_console_request, FALSE);
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
