#pragma once

#include <string>
#include <vector>

/// Restricts the directories that libraries are loaded from later. To be called before anything
/// else.
void protect_library_search();

/// The command line as UTF-8, whatever encoding the platform passes to main.
std::vector<std::string> utf8_arguments(int argc, char** argv);
