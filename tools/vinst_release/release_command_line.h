#pragma once

/// Runs the tool. Results are printed on standard output, progress and errors on standard error.
///
/// \return 0 on success, 1 when the release has faults or the work failed, 2 when the command line
///         is invalid
int run_release_tool(int argc, const char* const* argv);
