#pragma once

#include "tests/harness/child_process.h"

#include <string>
#include <vector>

/// Makes a graphical host, as a separate process without a display, perform these steps, each as
/// soon as possible: "window:CLASS" waits for a visible window of that class, "close:CLASS" closes
/// it, "scale:CLASS" prints "scale RATIO, width PIXELS" with its device pixels per logical pixel
/// and its logical width, "height:NAME" prints "height PIXELS" of the widget with that object name,
/// "click:NAME" clicks the button with that object name. The host then
/// prints a line.
///
/// It uses a plug-in that Qt loads into every GUI program if the environment requests it, so that
/// the program itself needs no test interface.
void drive_windows(CHILD_SETUP& host, const std::vector<std::string>& steps);

/// What the host prints after the last step.
inline constexpr const char* all_steps_taken = "all steps taken\n";
