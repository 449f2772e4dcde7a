#pragma once

#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/download/vinst_fetch.h"
#include "install/vinst/download/vinst_proxy_source.h"

#include <chrono>
#include <functional>
#include <string>

class VINST_RELEASE;

/// How a connection test ended.
struct VINST_CONNECTION_RESULT
{
    bool works = false;
    std::string error;          ///< as reported to the user; empty when it works or was stopped
    CURL_PROXY_INFO proxy = {}; ///< the last one that was tried; it also has its source
};

/// How long a connection test may take.
struct VINST_CONNECTION_LIMITS
{
    using CLOCK = std::chrono::steady_clock;

    /// Of the server in each attempt. An attempt's time limit is a tenth more.
    std::chrono::milliseconds silence{20'000};
    /// Two attempts or, when nothing answers, one attempt, the detection of a proxy, and an attempt
    /// in what is left of the time.
    std::chrono::milliseconds total{45'000};
    /// For attempts with a proxy that was detected, even if that exceeds the total.
    std::chrono::milliseconds detected_proxy{10'000};
    std::function<CLOCK::time_point()> now = &CLOCK::now;
};

/// Fetches the release's test file through the proxy that the downloads will use, and compares its
/// checksum. Runs on the main thread and processes the view's events.
class VINST_CONNECTION_TEST
{
public:
    /// \param proxies  outlives the test
    VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                          VINST_PROXY_SOURCE& proxies, VINST_CONNECTION_LIMITS limits = {});

    /// A proxy that works is stored in the release. A failure has been reported when this returns.
    VINST_CONNECTION_RESULT run(const VINST_PROXY_SETTINGS& settings);

private:
    VINST_CONNECTION_RESULT try_proxies(const VINST_PROXY_SETTINGS& settings,
                                        const std::string& path);
    /// \param proxy  receives the last one that was tried
    VINST_CONNECTION_RESULT try_proxies(const VINST_PROXY_SETTINGS& settings,
                                        const std::string& path, CURL_PROXY_INFO& proxy);
    CURL_PROXY_INFO first_proxy(const VINST_PROXY_SETTINGS& settings) const;
    std::chrono::milliseconds time_left() const;
    VINST_FETCH_RESULT fetch(const CURL_PROXY_INFO& proxy, const VINST_PROXY_SETTINGS& settings,
                             const std::string& path);
    void show_source(const CURL_PROXY_INFO& proxy, const VINST_PROXY_SETTINGS& settings);
    bool has_the_test_file(const VINST_FETCH_RESULT& result, const std::string& path) const;

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW& m_view;
    VINST_PROXY_SOURCE& m_proxies;
    const VINST_CONNECTION_LIMITS m_limits;
    VINST_CONNECTION_LIMITS::CLOCK::time_point m_end; ///< of the test; set by `run`
};

/// Tests the connection with the proxies of the system and those that discovery finds.
VINST_CONNECTION_RESULT run_connection_test(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                                            const VINST_PROXY_SETTINGS& settings);
