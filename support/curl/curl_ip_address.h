#pragma once

#include <optional>
#include <string>
#include <vector>

/// The bytes of an IP address in network order, 4 or 16; nothing if the text is none. An IPv6
/// address has no brackets.
std::optional<std::vector<unsigned char>> curl_parse_ip_address(const std::string& text);
