#pragma once

/// The tool as a function of its command line. What it does is said on standard output, progress
/// and errors on standard error.
///
/// \return 0 when all is well, 1 when the release is at fault or the work failed, 2 when the
/// command
///         line can't be understood
int run_release_tool(int argc, const char* const* argv);
