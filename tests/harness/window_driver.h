#pragma once

#include "tests/harness/child_process.h"

#include <string>
#include <vector>

/// Makes a graphical host, as a process of its own and without a display, take these steps, each as
/// soon as it is possible: "window:CLASS" waits for a visible window of that class, "close:CLASS"
/// closes it, "click:NAME" clicks the button with that object name. The host then prints a line.
///
/// It works by a plug-in that Qt loads into every program with windows when the environment asks
/// for it, so that the program itself needs no entrance for tests.
void drive_windows(CHILD_SETUP& host, const std::vector<std::string>& steps);

/// What the host prints once the last step is taken.
inline constexpr const char* all_steps_taken = "all steps taken\n";
