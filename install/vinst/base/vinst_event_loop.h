#pragma once

/// Processes pending events; sleeps until there are some. Main thread only.
void process_events();

/// Wakes `process_events`, so that its caller checks its condition again. Any thread.
void wake_event_loop();
