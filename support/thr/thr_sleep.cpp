#include "support/thr/thr_sleep.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace
{

/// Guarded by its mutex, which is recursive so that a subscriber may look at the state.
struct STOP_STATE
{
    std::recursive_mutex mutex;
    std::condition_variable_any changed;
    bool requested = false;
    std::vector<const std::function<void()>*> subscribers;
};

/// Never destroyed: a signal may arrive while the process's static objects are going.
STOP_STATE& state()
{
    static auto* const the_state = new STOP_STATE;
    return *the_state;
}

}

void thr_request_stop()
{
    const std::lock_guard lock(state().mutex);
    if (state().requested)
        return;
    state().requested = true;
    for (const std::function<void()>* subscriber : state().subscribers)
        (*subscriber)();
    state().changed.notify_all();
}

bool thr_stop_requested() noexcept
{
    const std::lock_guard lock(state().mutex);
    return state().requested;
}

void thr_sleep(std::chrono::nanoseconds duration)
{
    std::unique_lock lock(state().mutex);
    state().changed.wait_for(lock, duration, [] { return state().requested; });
}

THR_STOP_SUBSCRIPTION::THR_STOP_SUBSCRIPTION(std::function<void()> on_stop)
    : m_on_stop(std::move(on_stop))
{
    const std::lock_guard lock(state().mutex);
    state().subscribers.push_back(&m_on_stop);
    if (state().requested)
        m_on_stop();
}

THR_STOP_SUBSCRIPTION::~THR_STOP_SUBSCRIPTION()
{
    const std::lock_guard lock(state().mutex);
    auto& all = state().subscribers;
    all.erase(std::remove(all.begin(), all.end(), &m_on_stop), all.end());
}

void thr_forget_stop_request()
{
    const std::lock_guard lock(state().mutex);
    state().requested = false;
}
