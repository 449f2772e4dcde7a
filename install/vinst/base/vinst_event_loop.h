#pragma once

/// Processes the main thread's pending events; sleeps until there are some. Main thread.
void process_events();

/// Wakes `process_events` up, so that its caller looks again at what it waits for. Any thread.
void wake_event_loop();
