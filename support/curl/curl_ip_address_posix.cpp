#include "support/curl/curl_ip_address_platform.h"

#include <arpa/inet.h>

bool curl_read_ip_v4(const std::string& text, unsigned char* bytes)
{
    return ::inet_pton(AF_INET, text.c_str(), bytes) == 1;
}

bool curl_read_ip_v6(const std::string& text, unsigned char* bytes)
{
    return ::inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}
