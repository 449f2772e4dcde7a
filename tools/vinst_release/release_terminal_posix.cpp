#include "tools/vinst_release/release_terminal.h"

#include <csignal>
#include <initializer_list>
#include <unistd.h>

namespace
{

constexpr int cancelling_signal = SIGUSR2;

/// Signals that were ignored at the start, for example by nohup, stay ignored.
sigset_t end_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, cancelling_signal);
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction action = {};
        sigaction(signal_number, nullptr, &action);
        if (action.sa_handler != SIG_IGN)
            sigaddset(&set, signal_number);
    }
    return set;
}

}

bool stderr_is_terminal()
{
    return isatty(STDERR_FILENO) == 1;
}

void hold_end_signals()
{
    const sigset_t set = end_signals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void wait_for_end_signal()
{
    const sigset_t set = end_signals();
    int signal_number = 0;
    sigwait(&set, &signal_number);
}

void cancel_wait_for_end_signal()
{
    // Sent to the process: the waiting thread receives it.
    kill(getpid(), cancelling_signal);
}
