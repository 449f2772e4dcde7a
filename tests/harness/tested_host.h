#pragma once

#include <QString>

#include <filesystem>
#include <string>
#include <vector>

// Which build is tested. It is the test program's own, unless VINST_TEST_WINDOWS_BUILD names the
// build directory of a Windows build, whose hosts are then run through Wine.

/// "linux" or "windows".
std::string tested_platform();

/// The tested platform as a QString, and the other one.
QString this_platform();
QString other_platform();

/// The settings dialog's button for a platform.
const char* radio_button_of(const QString& platform);

/// The directory that contains its bin/ and tests/.
std::filesystem::path tested_build_dir();

/// ".run" or ".exe".
std::string tested_installer_suffix();

/// "vinst" and "vinst_gui" on Linux, "vinst_cli" and "vinst" on Windows.
std::string tested_console_host();
std::string tested_graphical_host();
