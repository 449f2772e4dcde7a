#include "support/curl/curl_version_text.h"

#include <curl/curl.h>

std::string curl_version_text()
{
    const curl_version_info_data* const info = curl_version_info(CURLVERSION_NOW);
    const std::string tls = info->ssl_version == nullptr ? "no TLS" : info->ssl_version;
    return std::string(info->version) + " (" + tls + ")";
}
