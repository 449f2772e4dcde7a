#pragma once

#include "support/curl/curl_failure.h"
#include "support/curl/curl_proxy_info.h"

#include <chrono>
#include <optional>
#include <string>

class VINST_DOWNLOADER_VIEW;

constexpr int http_ok = 200;

/// One small file that the program fetches for itself, such as a proxy script.
struct VINST_FETCH
{
    static constexpr std::uint64_t size_limit = 1024 * 1024; ///< bytes

    std::string url;
    std::string path;
    CURL_PROXY_INFO proxy;
    std::chrono::milliseconds longest_silence{20'000};
    std::optional<std::chrono::milliseconds> time_limit = {}; ///< of the complete transfer
};

struct VINST_FETCH_RESULT
{
    int http_code = -1; ///< -1 when no server responded
    int curl_code = -1;
    std::string error; ///< UTF-8; empty when the transfer succeeded
    CURL_FAILURE failure;

    /// Whether a server sent the complete file.
    bool succeeded() const { return http_code == http_ok && curl_code == 0; }
};

/// Processes the view's events meanwhile, and ends soon after a stop is requested.
VINST_FETCH_RESULT fetch_file(const VINST_FETCH& fetch, VINST_DOWNLOADER_VIEW& view);
