#pragma once

// How a symbol is exported belongs to its declaration, and the hosts include this header as well,
// so it can't be split into files per platform.
#if defined(_WIN32)
#define VINST_EXPORT __declspec(dllexport)
#else
#define VINST_EXPORT __attribute__((visibility("default")))
#endif

/// Runs the program: downloads and installs the components listed in a release's manifest. To be
/// called once per process, on its main thread.
///
/// \param argc, argv  the host's command line, unchanged; credentials in it are overwritten
/// \param gui_host    true from the graphical host
/// \return the host's exit code: 1 when the run stopped before its main work, the event loop's
///         result in graphical mode, and 0 after a console run, whether or not it succeeded,
///         unless --strict is given
extern "C" VINST_EXPORT int install_vinst_run(int argc, char** argv, bool gui_host);
