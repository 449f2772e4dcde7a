#pragma once

#include <string>
#include <utility>
#include <vector>

/// Whether the command line asks for the version: by "--version" or an unambiguous abbreviation.
/// Needed before it is parsed, because parsing requires a manifest.
[[nodiscard]] bool asks_for_version(int argc, const char* const* argv);

/// The names and versions of this program and of its libraries.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> program_versions();

/// The same as text, one per line.
[[nodiscard]] std::string version_text();
