#pragma once

/// Whether the library installs its fatal-error handlers. False under VINST_DEBUG, so that a
/// debugger or a core dump shows the fault where it happened.
bool main_eh_enabled();

/// Stores whether termination is in progress and returns the previous value. Lock-free, so that a
/// signal handler may call it.
bool main_terminate_called(int mark) noexcept;

/// Set by a host to take over the termination of the process; null when the library terminates it
/// itself. Must be set before any fault is possible; read by the fatal-error handlers on any
/// thread.
extern void (*main_seh_callback)(const void* exception_record);
extern void (*main_terminator_callback)();
