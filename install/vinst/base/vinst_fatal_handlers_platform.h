#pragma once

// Internal to vinst_fatal_handlers: what each platform implements, and what it shares with the
// platform-independent part.

/// Installs the handler of structured exceptions; on Linux, of fatal signals.
void install_exception_translator();

/// Ends the process without destructors and exit handlers.
[[noreturn]] void end_process_now(int exit_code) noexcept;

/// Writes to standard error by a system call, which is safe even in a signal handler.
void write_to_standard_error(const char* text) noexcept;

inline constexpr int fatal_exit_code = 2;
inline constexpr const char* recursive_termination_text =
    "\n*** Internal Error: Recursive termination requested.\n";
inline constexpr const char* failed_termination_text =
    "\n*** Fatal Error: Failed to complete termination procedures\n";
