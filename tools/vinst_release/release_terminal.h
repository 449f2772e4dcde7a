#pragma once

bool stderr_is_terminal();

/// Blocks SIGINT, SIGTERM and SIGHUP, so that `wait_for_end_signal` receives them. To be called
/// before other threads are started, which inherit it.
void hold_end_signals();

/// Waits for one of these signals; `cancel_wait_for_end_signal` ends the wait from another thread.
void wait_for_end_signal();
void cancel_wait_for_end_signal();
