#pragma once

bool stderr_is_terminal();

/// Keeps Ctrl-C and a polite request to end from ending the process by themselves. To be called
/// before other threads are started, which inherit it.
void hold_end_signals();

/// Waits for one of them; `cancel_wait_for_end_signal` ends the wait from another thread.
void wait_for_end_signal();
void cancel_wait_for_end_signal();
