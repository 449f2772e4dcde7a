#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

// Internal to this library: the state behind thr_sleep.h.

/// The process's stop request and its subscribers. The mutex guards all members; it is recursive so
/// that a subscriber can query the state.
struct THR_STOP_STATE
{
    std::recursive_mutex mutex;
    std::condition_variable_any changed;
    bool requested = false;
    std::vector<const std::function<void()>*> subscribers;
};

/// Never destroyed, because a signal may arrive while static objects are being destroyed.
THR_STOP_STATE& thr_stop_state();
