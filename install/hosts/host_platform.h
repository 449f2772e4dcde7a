#pragma once

#include <string>
#include <vector>

/// What a host does before anything else: says where libraries that are loaded later may come from.
void protect_library_search();

/// The command line as UTF-8, whatever the platform hands to main.
std::vector<std::string> utf8_arguments(int argc, char** argv);
