#include "support/curl/curl_ca_bundle.h"

#include "support/curl/curl_ca_bundle_platform.h"

#include <cstdlib>

std::string curl_find_ca_bundle()
{
    for (const char* name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE"})
        if (const char* named = std::getenv(name); named != nullptr && *named != '\0')
            return named;
    return curl_well_known_ca_bundle();
}
