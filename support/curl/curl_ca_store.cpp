#include "support/curl/curl_ca_store.h"

#include "support/curl/curl_ca_store_platform.h"

#include <cstdlib>

namespace
{

std::string named_file()
{
    for (const char* name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE"})
        if (const char* named = std::getenv(name); named != nullptr && *named != '\0')
            return named;
    return {};
}

}

CURL_CA_STORE curl_find_ca_store()
{
    const std::string file = named_file();
    const std::optional<std::string> directory = curl_named_ca_directory();
    if (!file.empty() || !directory.value_or("").empty())
        return {file, directory};
    return {curl_well_known_ca_file(), {}};
}
