#pragma once

#include <gtest/gtest.h>

// Platform-dependent parts of death tests.

/// One or more digits, in the regular expression syntax of GoogleTest on this platform.
#if GTEST_USES_POSIX_RE
#define VINST_DIGITS "[0-9]+"
#else
#define VINST_DIGITS "\\d+"
#endif

/// Whether an exit status is that of std::abort.
bool ended_by_abort(int exit_status);

/// Redirects the standard output to the standard error from now on.
void send_output_to_errors();

/// Ends the process immediately.
[[noreturn]] void end_with(int exit_code);
