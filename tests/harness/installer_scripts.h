#pragma once

#include <cstdint>
#include <map>
#include <string>

// Files that act as the installers of a release. On Linux they are /bin/sh scripts; for Windows
// they are poser_script.exe with the commands appended as lines.

/// Installs, in the directory after "--installdir", a file with its own file name and one line per
/// run: its arguments, joined by blanks. Adds its name to "install_order" there. Then writes
/// "installed NAME" and exits with that code.
///
/// \param files  further files to install, executable: relative path and text
std::string install_script(int exit_code = 0, const std::map<std::string, std::string>& files = {});

/// A main product's installer that also installs the installer of the device archives,
/// devices/dev_install/dev_install.run.
std::string main_product_script();

/// Writes "ready" and sleeps until it is killed. A stubborn one ignores SIGINT and SIGTERM.
std::string hanging_script(bool stubborn = false);

/// Installs its file as install_script does, and sleeps until it is killed.
std::string hanging_install_script();

/// Writes "ready" and exits immediately with 0, but leaves a child that keeps its standard output
/// open for that many seconds.
std::string script_with_lasting_child(int seconds);

/// Ends itself by a signal; on Windows by an access violation.
std::string crashing_script(int signal_number);

/// Writes that many lines "line N of 100%s" to each of its outputs; exits with the code.
std::string talking_script(std::uint64_t lines, int exit_code = 0);

/// Pads a script to the given size; the shell never reads what follows its text.
std::string padded_script(const std::string& script, std::uint64_t size, std::uint64_t seed = 1);
