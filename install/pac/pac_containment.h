#pragma once

/// Limits this process and everything that it starts: memory, CPU time, open files, no core dumps,
/// no debugging. Some limits end the process by a signal.
[[nodiscard]] bool limit_process();

/// Opens /dev/null for standard streams that are closed. Otherwise, what this process opens next
/// would take their place.
[[nodiscard]] bool open_closed_streams();

/// Ends this process after five seconds; not inherited by other processes.
void limit_wall_clock_time();

/// Gives up root's rights and all capabilities for good. No effect on another user's process
/// without capabilities.
[[nodiscard]] bool give_up_privileges();

/// Ends this process when the thread that started it ends. To be called after `give_up_privileges`,
/// which undoes it.
[[nodiscard]] bool end_with_starter();
