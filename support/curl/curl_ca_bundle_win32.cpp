#include "support/curl/curl_ca_bundle_platform.h"

std::string curl_well_known_ca_bundle()
{
    return {}; // libcurl uses the system's certificate store
}
