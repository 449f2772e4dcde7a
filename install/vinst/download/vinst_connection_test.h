#pragma once

#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/download/vinst_proxy_discovery.h"

#include <functional>
#include <string>

struct CURL_PROGRESS_DATA;

/// How a connection test ended.
struct VINST_CONNECTION_RESULT
{
    bool works = false;
    std::string error; ///< as reported to the user; empty when it works or was stopped
};

/// Fetches the release's test file through the proxy that the downloads will use, and compares its
/// checksum. Runs on the main thread and processes the view's events.
class VINST_CONNECTION_TEST
{
public:
    using PROXY_SOURCE = std::function<CURL_PROXY_INFO()>;

    VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view);
    /// \param find_proxy  looks for a proxy when the connection fails without one
    VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                          PROXY_SOURCE find_proxy);

    /// A proxy that works is stored in the release. A failure has been reported when this returns.
    VINST_CONNECTION_RESULT run(const VINST_PROXY_SETTINGS& settings);

private:
    VINST_CONNECTION_RESULT try_proxies(const VINST_PROXY_SETTINGS& settings,
                                        const std::string& path);
    CURL_PROXY_INFO first_proxy(const VINST_PROXY_SETTINGS& settings) const;
    bool try_once(const CURL_PROXY_INFO& proxy, const std::string& path, CURL_PROGRESS_DATA& data);

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW& m_view;
    VINST_PROXY_DISCOVERY m_discovery;
    const PROXY_SOURCE m_find_proxy;
};
