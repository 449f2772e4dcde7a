#include "support/curl/curl_ip_address.h"

#include "support/curl/curl_ip_address_platform.h"

std::optional<std::vector<unsigned char>> curl_parse_ip_address(const std::string& text)
{
    constexpr std::size_t v4_bytes = 4;
    constexpr std::size_t v6_bytes = 16;
    std::vector<unsigned char> bytes(v6_bytes);
    if (curl_read_ip_v6(text, bytes.data()))
        return bytes;
    bytes.resize(v4_bytes);
    if (curl_read_ip_v4(text, bytes.data()))
        return bytes;
    return std::nullopt;
}
