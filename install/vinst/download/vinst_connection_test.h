#pragma once

#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/download/vinst_fetch.h"
#include "install/vinst/download/vinst_proxy_source.h"

#include <chrono>
#include <string>

class VINST_RELEASE;

/// How a connection test ended.
struct VINST_CONNECTION_RESULT
{
    bool works = false;
    std::string error;          ///< as reported to the user; empty when it works or was stopped
    CURL_PROXY_INFO proxy = {}; ///< the last one that was tried; it also has its source
};

/// Fetches the release's test file through the proxy that the downloads will use, and compares its
/// checksum. Runs on the main thread and processes the view's events.
class VINST_CONNECTION_TEST
{
public:
    /// Two attempts with this silence, each with a time limit of a tenth more, end within 45 s.
    static constexpr std::chrono::milliseconds default_silence{20'000};

    /// \param proxies          outlives the test
    /// \param longest_silence  of the server in each attempt. It also sets the attempt's time limit
    VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                          VINST_PROXY_SOURCE& proxies,
                          std::chrono::milliseconds longest_silence = default_silence);

    /// A proxy that works is stored in the release. A failure has been reported when this returns.
    VINST_CONNECTION_RESULT run(const VINST_PROXY_SETTINGS& settings);

private:
    VINST_CONNECTION_RESULT try_proxies(const VINST_PROXY_SETTINGS& settings,
                                        const std::string& path);
    /// \param proxy  receives the last one that was tried
    VINST_CONNECTION_RESULT try_proxies(const VINST_PROXY_SETTINGS& settings,
                                        const std::string& path, CURL_PROXY_INFO& proxy);
    CURL_PROXY_INFO first_proxy(const VINST_PROXY_SETTINGS& settings) const;
    /// \param is_detected  whether the user doesn't know the proxy, so that its source is shown
    VINST_FETCH_RESULT fetch(const CURL_PROXY_INFO& proxy, bool is_detected,
                             const std::string& path);
    bool has_the_test_file(const VINST_FETCH_RESULT& result, const std::string& path) const;

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW& m_view;
    VINST_PROXY_SOURCE& m_proxies;
    const std::chrono::milliseconds m_longest_silence;
};

/// Tests the connection with the proxies of the system and those that discovery finds.
VINST_CONNECTION_RESULT run_connection_test(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                                            const VINST_PROXY_SETTINGS& settings);
