#pragma once

#include <atomic>

// Internal to vinst_stop.cpp: the state behind vinst_stop.h.

/// Written and read on any thread; the flags are independent of each other.
struct VINST_STOP_STATE
{
    /// Set by the Stop button, cleared when stoppable work begins.
    std::atomic<bool> download_stop_requested{false};
    /// Set when the main window has closed; never cleared.
    std::atomic<bool> shutdown_requested{false};
};
VINST_STOP_STATE& vinst_stop_state();
