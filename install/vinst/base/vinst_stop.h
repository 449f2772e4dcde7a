#pragma once

#include <atomic>

// The one place that says whether to stop. Waits and workers ask it; the Stop button, a closing
// window and the system's requests come in by the three functions at the end. Any thread may
// call them; a stale read only delays the stop until the next question.

/// Set by the Stop button, cleared when a download or a connection test begins.
extern std::atomic<bool> download_stop_requested;
/// Set when the main window has closed or the process is to end; never cleared.
extern std::atomic<bool> shutdown_requested;

/// Whether what is under way has to end.
bool is_to_stop();
/// Whether nothing new may begin either: the window has closed, or the process is to end.
bool is_shutting_down();

/// A download or a connection test begins: an earlier press of the Stop button is forgotten.
void begin_stoppable_work();
/// The Stop button: ends what is under way.
void request_download_stop();
/// The window has closed: nothing is fetched or checked any more in this process.
void request_shutdown();
/// A signal or the end of the session: ends the process in an orderly way.
void request_process_stop();
