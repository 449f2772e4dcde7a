#include "support/curl/curl_ip_address.h"

#include <arpa/inet.h>

std::optional<std::vector<unsigned char>> curl_parse_ip_address(const std::string& text)
{
    constexpr std::size_t v4_bytes = 4;
    constexpr std::size_t v6_bytes = 16;
    std::vector<unsigned char> bytes(v6_bytes);
    if (::inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1)
        return bytes;
    bytes.resize(v4_bytes);
    if (::inet_pton(AF_INET, text.c_str(), bytes.data()) == 1)
        return bytes;
    return std::nullopt;
}
