#pragma once

#include <QString>

#include <filesystem>
#include <string>
#include <vector>

// Which build the tests are about. It is the test program's own, unless VINST_TEST_WINDOWS_BUILD
// names the build directory of a Windows build, whose hosts are then run through Wine.

/// "linux" or "windows".
std::string tested_platform();

/// The same as the program's kind of text, and the one that it is not.
QString this_platform();
QString other_platform();

/// The settings dialog's button of a platform.
const char* radio_button_of(const QString& platform);

/// Where its bin/ and tests/ lie.
std::filesystem::path tested_build_dir();

/// ".run" or ".exe".
std::string tested_installer_suffix();

/// "vinst" and "vinst_gui" on Linux, "vinst_cli" and "vinst" on Windows.
std::string tested_console_host();
std::string tested_graphical_host();
