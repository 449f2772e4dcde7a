#pragma once

/// Installs the handlers that print a message and exit with code 2 when the process cannot go on:
/// for structured exceptions (on Linux, fatal signals) and for std::terminate. Installs nothing
/// when fatal error handling is switched off.
void install_fatal_handlers();
