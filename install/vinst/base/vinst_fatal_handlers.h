#pragma once

/// Installs handlers for structured exceptions (on Linux, fatal signals) and for std::terminate,
/// which print a message and exit with code 2. Installs nothing when fatal error handling is off.
void install_fatal_handlers();
