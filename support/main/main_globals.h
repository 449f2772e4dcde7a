#pragma once

/// Whether the library installs its fatal-error handlers. Not under VINST_DEBUG, so that a debugger
/// or a core dump sees the fault where it happened.
bool main_eh_enabled();

/// Stores whether termination is under way and returns what was stored before.
/// Lock-free, so that a signal handler may call it.
bool main_terminate_called(int mark) noexcept;

/// What a host may set to take over the end of the process; null when the library ends it itself.
/// Set before the first fault is possible; read by the fatal-error handlers on any thread.
extern void (*main_seh_callback)(const void* exception_record);
extern void (*main_terminator_callback)();
