#pragma once

#include "support/curl/curl_proxy_info.h"

/// Where the connection test gets proxies from. Both return an empty proxy when there is none.
class VINST_PROXY_SOURCE
{
public:
    VINST_PROXY_SOURCE() = default;
    virtual ~VINST_PROXY_SOURCE() = default;
    VINST_PROXY_SOURCE(const VINST_PROXY_SOURCE&) = delete;
    VINST_PROXY_SOURCE& operator=(const VINST_PROXY_SOURCE&) = delete;

    /// The system's proxy settings for the download address.
    virtual CURL_PROXY_INFO get_default_proxy() const = 0;
    /// All other sources; may take several seconds.
    virtual CURL_PROXY_INFO discover() = 0;
};
