#pragma once

#include <chrono>

// Decides whether to stop. Waits and workers query it; the Stop button, a closing window and the
// system's requests use the three functions at the end. Any thread may call them; a stale read only
// delays the stop until the next query.

/// Whether the current work has to end.
bool is_to_stop();
/// Whether no new work may start either: the window has closed, or the process is to end.
bool is_shutting_down();

/// Processes events for this time, or until the current work has to end. Main thread only.
/// \return whether the work may continue
[[nodiscard]] bool wait_unless_stopped(std::chrono::milliseconds duration);

/// To be called when a job, a download or a connection test begins: discards an earlier press of
/// the Stop button.
void begin_stoppable_work();
/// The Stop button: ends the current work.
void request_download_stop();
/// The window has closed: nothing is fetched or checked any more in this process.
void request_shutdown();
/// A signal or the end of the session: ends the process in an orderly way.
void request_process_stop();
