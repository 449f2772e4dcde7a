#pragma once

#include <memory>

/// While it lives, the first request of the user or the system to end the process (Ctrl-C, SIGTERM,
/// the end of a Windows session) becomes the run's orderly stop request, and a second signal ends
/// the process at once. Signals that the host ignores stay ignored. One per process; made on the
/// main thread after the application object, so that Qt doesn't answer the session's end itself.
class VINST_STOP_SIGNALS
{
public:
    VINST_STOP_SIGNALS();
    ~VINST_STOP_SIGNALS();
    VINST_STOP_SIGNALS(const VINST_STOP_SIGNALS&) = delete;
    VINST_STOP_SIGNALS& operator=(const VINST_STOP_SIGNALS&) = delete;

    /// The signal that asked for the stop; 0 when none has.
    static int received();

    /// Ends the process by the received signal's own disposition, so that the caller sees what
    /// ended it. Returns when there was no signal, or when the host handles it itself.
    void end_by_signal();

private:
    struct WATCH;
    std::unique_ptr<WATCH> m_watch;
};
