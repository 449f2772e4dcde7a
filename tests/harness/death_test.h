#pragma once

#include <gtest/gtest.h>

// What death tests need and platforms differ in.

/// One or more digits, in the regular expressions of the platform's GoogleTest.
#if GTEST_USES_POSIX_RE
#define VINST_DIGITS "[0-9]+"
#else
#define VINST_DIGITS "\\d+"
#endif

/// Whether an exit status is that of std::abort.
bool ended_by_abort(int exit_status);

/// From now on, what is written to the standard output goes where the standard error goes.
void send_output_to_errors();

/// Ends the process at once.
[[noreturn]] void end_with(int exit_code);
