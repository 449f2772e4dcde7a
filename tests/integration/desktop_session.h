#pragma once

#include "tests/harness/child_setup.h"

#include <cstdint>
#include <string>

// Sessions of a desktop with a private D-Bus and private settings.

/// Which tool or module for such a session is missing; empty if none.
std::string obstacle_to_desktop_session();

/// Runs the program at the end of a shell script in a session. The directory "run" is created in
/// `home` for its sockets.
CHILD_SETUP in_desktop_session(const CHILD_SETUP& program, const std::string& script,
                               const std::filesystem::path& home);

/// A script that sets GNOME's manual proxy, also for loopback.
std::string gnome_proxy_script(const std::string& host, std::uint16_t port);
