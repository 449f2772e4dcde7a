#include "support/thr/thr_sleep.h"

#include "support/thr/thr_stop_state.h"

#include <algorithm>

THR_STOP_STATE& thr_stop_state()
{
    static auto* const the_state = new THR_STOP_STATE;
    return *the_state;
}

void thr_request_stop()
{
    THR_STOP_STATE& state = thr_stop_state();
    const std::lock_guard lock(state.mutex);
    if (state.requested)
        return;
    state.requested = true;
    for (const std::function<void()>* subscriber : state.subscribers)
        (*subscriber)();
    state.changed.notify_all();
}

bool thr_stop_requested() noexcept
{
    THR_STOP_STATE& state = thr_stop_state();
    const std::lock_guard lock(state.mutex);
    return state.requested;
}

void thr_sleep(std::chrono::nanoseconds duration)
{
    THR_STOP_STATE& state = thr_stop_state();
    std::unique_lock lock(state.mutex);
    state.changed.wait_for(lock, duration, [&state] { return state.requested; });
}

THR_STOP_SUBSCRIPTION::THR_STOP_SUBSCRIPTION(std::function<void()> on_stop)
    : m_on_stop(std::move(on_stop))
{
    THR_STOP_STATE& state = thr_stop_state();
    const std::lock_guard lock(state.mutex);
    state.subscribers.push_back(&m_on_stop);
    if (state.requested)
        m_on_stop();
}

THR_STOP_SUBSCRIPTION::~THR_STOP_SUBSCRIPTION()
{
    THR_STOP_STATE& state = thr_stop_state();
    const std::lock_guard lock(state.mutex);
    auto& all = state.subscribers;
    all.erase(std::remove(all.begin(), all.end(), &m_on_stop), all.end());
}
