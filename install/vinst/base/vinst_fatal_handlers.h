#pragma once

/// Installs the handlers that end a broken process with words and exit code 2: for what a thread
/// can't survive (a structured exception; on Linux a fatal signal) and for std::terminate. Nothing
/// is installed when fatal handling is switched off.
void install_fatal_handlers();

/// The platform's half: installs the handler of structured exceptions.
void install_exception_translator();

/// The platform's own way out: no destructors, no exit handlers.
[[noreturn]] void end_process_now(int exit_code) noexcept;

/// Writes to standard error by a system call, which even a signal handler may do.
void write_to_standard_error(const char* text) noexcept;

inline constexpr int fatal_exit_code = 2;
inline constexpr const char* recursive_termination_text =
    "\n*** Internal Error: Recursive termination requested.\n";
inline constexpr const char* failed_termination_text =
    "\n*** Fatal Error: Failed to complete termination procedures\n";
