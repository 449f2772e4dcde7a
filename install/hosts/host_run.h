#pragma once

/// Passes the command line to the program. Shared by both hosts.
/// \return the program's exit code
int run_host(int argc, char** argv, bool gui_host);
