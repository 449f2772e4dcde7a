#include "support/curl/curl_ca_store_platform.h"

std::optional<std::string> curl_named_ca_directory()
{
    return {}; // Schannel has no such option
}

std::optional<std::string> curl_well_known_ca_file(const std::string&)
{
    return {}; // libcurl uses the system's certificate store
}
