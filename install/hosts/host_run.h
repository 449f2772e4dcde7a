#pragma once

/// All that both hosts do: hands the command line to the program.
/// \return the program's exit code
int run_host(int argc, char** argv, bool gui_host);
