#include "install/vinst/base/vinst_stop_signals.h"

#include "install/vinst/base/vinst_process_platform.h"
#include "install/vinst/base/vinst_stop.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr std::array<int, 3> watched = {SIGINT, SIGTERM, SIGHUP};

// Written by the signal handler on any thread, read by the watch thread and the main thread.
std::atomic<int> received_signal{0};
std::atomic<int> wake_descriptor{-1};

extern "C" void on_stop_signal(int signal_number)
{
    const int saved_errno = errno;
    int none = 0;
    if (!received_signal.compare_exchange_strong(none, signal_number))
    {
        // A second request ends the process at once, and an installer that ignores the first.
        kill_running_installer();
        ::signal(signal_number, SIG_DFL);
        ::raise(signal_number);
    }
    const char byte = 1;
    const ssize_t written = ::write(wake_descriptor, &byte, 1);
    static_cast<void>(written);
    errno = saved_errno;
}

}

/// A thread converts the handler's byte to the stop request, which locks and calls subscribers.
struct VINST_STOP_SIGNALS::WATCH
{
    std::array<int, 2> pipe{-1, -1};
    std::array<struct sigaction, watched.size()> previous{};
    std::thread thread;
};

VINST_STOP_SIGNALS::VINST_STOP_SIGNALS() : m_watch(std::make_unique<WATCH>())
{
    received_signal = 0;
    if (::pipe2(m_watch->pipe.data(), O_CLOEXEC) != 0)
        return;
    // The handler runs on any thread and must not block; one byte in the pipe is enough.
    ::fcntl(m_watch->pipe[1], F_SETFL, O_NONBLOCK);
    wake_descriptor = m_watch->pipe[1];
    m_watch->thread = std::thread(
        [descriptor = m_watch->pipe[0]]
        {
            char byte = 0;
            ssize_t count = 0;
            do
                count = ::read(descriptor, &byte, 1);
            while (count < 0 && errno == EINTR);
            if (count == 1 && byte == 1)
                request_process_stop();
        });

    struct sigaction action = {};
    action.sa_handler = on_stop_signal;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < watched.size(); ++i)
    {
        ::sigaction(watched[i], nullptr, &m_watch->previous[i]);
        if (m_watch->previous[i].sa_handler != SIG_IGN)
            ::sigaction(watched[i], &action, nullptr);
    }
}

VINST_STOP_SIGNALS::~VINST_STOP_SIGNALS()
{
    if (!m_watch->thread.joinable())
        return;
    for (std::size_t i = 0; i < watched.size(); ++i)
        ::sigaction(watched[i], &m_watch->previous[i], nullptr);
    const char end = 0;
    const ssize_t written = ::write(m_watch->pipe[1], &end, 1);
    static_cast<void>(written);
    m_watch->thread.join();
    wake_descriptor = -1;
    for (const int descriptor : m_watch->pipe)
        ::close(descriptor);
}

int VINST_STOP_SIGNALS::received()
{
    return received_signal;
}

void VINST_STOP_SIGNALS::end_by_signal()
{
    const int signal_number = received_signal;
    if (signal_number == 0)
        return;
    for (std::size_t i = 0; i < watched.size(); ++i)
        ::sigaction(watched[i], &m_watch->previous[i], nullptr);
    ::raise(signal_number);
}
