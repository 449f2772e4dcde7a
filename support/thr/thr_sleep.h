#pragma once

#include <chrono>
#include <functional>

/// The stop request of the process: made once, by a signal or a host, and never withdrawn. Safe on
/// any thread, but not in a signal handler.
void thr_request_stop();
bool thr_stop_requested() noexcept;

/// Sleeps for the duration or until a stop is requested.
void thr_sleep(std::chrono::nanoseconds duration);

/// Calls `on_stop` once a stop is requested, on the requesting thread; immediately if it already
/// is. When the destructor returns, the call has ended or will never be made.
class THR_STOP_SUBSCRIPTION
{
public:
    explicit THR_STOP_SUBSCRIPTION(std::function<void()> on_stop);
    ~THR_STOP_SUBSCRIPTION();
    THR_STOP_SUBSCRIPTION(const THR_STOP_SUBSCRIPTION&) = delete;
    THR_STOP_SUBSCRIPTION& operator=(const THR_STOP_SUBSCRIPTION&) = delete;

private:
    std::function<void()> m_on_stop;
};
