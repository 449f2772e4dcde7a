#pragma once

#include <cstdint>
#include <map>
#include <string>

// Files that pose as installers: what a release carries. On Linux they are /bin/sh scripts; for
// Windows they are poser_script.exe with lines behind it that tell what to do.

/// Lays down, in the directory after "--installdir", a file of its own file's name with a line for
/// each run: its arguments, joined by blanks. Adds its name to "install_order" there. Then writes
/// "installed NAME" and exits with that code.
///
/// \param files  further files to lay down, executable: relative path and text
std::string install_script(int exit_code = 0, const std::map<std::string, std::string>& files = {});

/// A main product's installer that also brings the installer of the device archives,
/// devices/dev_install/dev_install.run.
std::string main_product_script();

/// Writes "ready" and sleeps until it is ended. A stubborn one ignores SIGINT and SIGTERM.
std::string hanging_script(bool stubborn = false);

/// Lays its file down as install_script does, and sleeps until it is ended.
std::string hanging_install_script();

/// Writes "ready" and exits at once with 0, but leaves a child that keeps its standard output open
/// for that many seconds.
std::string script_with_lasting_child(int seconds);

/// Ends itself by a signal; on Windows by an access violation.
std::string crashing_script(int signal_number);

/// Writes that many lines "line N of 100%s" to each of its outputs; exits with the code.
std::string talking_script(std::uint64_t lines, int exit_code = 0);

/// Makes a script as large as wanted; what follows its text is never read by the shell.
std::string padded_script(const std::string& script, std::uint64_t size, std::uint64_t seed = 1);
