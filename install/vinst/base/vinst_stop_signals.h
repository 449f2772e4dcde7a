#pragma once

#include <memory>

/// While it exists, the first request of the user or the system to end the process (Ctrl-C,
/// SIGTERM, the end of a Windows session) becomes an orderly stop request, and a second signal ends
/// the process at once, together with the installer that it runs. Signals that the host ignores
/// stay ignored. One per process; created on the main thread after the application object, so that
/// Qt doesn't handle the end of the session itself.
class VINST_STOP_SIGNALS
{
public:
    VINST_STOP_SIGNALS();
    ~VINST_STOP_SIGNALS();
    VINST_STOP_SIGNALS(const VINST_STOP_SIGNALS&) = delete;
    VINST_STOP_SIGNALS& operator=(const VINST_STOP_SIGNALS&) = delete;

    /// The signal that requested the stop; 0 if there was none.
    static int received();

    /// Restores the host's disposition of the received signal and raises it again, so that the
    /// caller sees what ended the process. Returns when there was no signal, or when the host
    /// handles it itself.
    void end_by_signal();

private:
    struct WATCH;
    std::unique_ptr<WATCH> m_watch;
};
