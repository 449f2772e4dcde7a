#pragma once

#include <string>

// Internal to curl_ip_address: what each platform implements.

/// Writes the address in network order to 4 or 16 bytes. \return false if the text is none
bool curl_read_ip_v4(const std::string& text, unsigned char* bytes);
bool curl_read_ip_v6(const std::string& text, unsigned char* bytes);
