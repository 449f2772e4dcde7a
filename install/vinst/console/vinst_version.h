#pragma once

#include <string>

/// Whether the command line asks for the version: by "--version" or an unambiguous abbreviation.
/// Needed before it is parsed, because parsing requires a manifest.
[[nodiscard]] bool asks_for_version(int argc, const char* const* argv);

/// The versions of this program and of its libraries, one per line.
[[nodiscard]] std::string version_text();
