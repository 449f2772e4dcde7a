#pragma once

#include <string>
#include <vector>

/// What a script may query on this machine; see `PAC_ENVIRONMENT`.
std::vector<std::string> pac_resolve(const std::string& name);
std::vector<std::string> pac_own_addresses(const std::vector<std::string>& toward);
