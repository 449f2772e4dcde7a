#include "support/curl/curl_base_connection.h"

#include <curl/curl.h>

#include <utility>

namespace
{

/// libcurl's global state must be initialized once, before a second thread uses it.
void initialise_libcurl()
{
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(result);
}

}

CURL_BASE_CONNECTION::CURL_BASE_CONNECTION(CURL_CONNECTION_SETTINGS settings)
    : m_settings(std::move(settings))
{
    initialise_libcurl();
}

CURL_BASE_CONNECTION::~CURL_BASE_CONNECTION() = default;
