#pragma once

#include "support/curl/curl_progress_data.h"
#include "support/curl/curl_proxy_info.h"

#include <chrono>
#include <optional>
#include <string>

class CURL_LOGGER;
struct CURL_PROXY_LOGINS;
class CURL_RATE_LIMIT;
class CURL_SPLIT_REFUSALS;

/// What all transfers of a connection have in common.
struct CURL_CONNECTION_SETTINGS
{
    std::string name; ///< identifies this connection in trace lines; may be empty
    CURL_PROXY_INFO proxy;
    bool trace = false; ///< libcurl's own trace, as debug lines of the log
    std::chrono::seconds connect_timeout{10};
    /// For a transfer that receives nothing, no end of the headers, or hardly anything of the body.
    std::chrono::milliseconds stall_timeout{60'000};
    /// For a complete transfer, connecting and redirects included.
    std::optional<std::chrono::milliseconds> time_limit = {};
    /// A growing file is flushed to the disk this often, and after each 64 MiB.
    std::chrono::milliseconds flush_interval{10'000};
    std::uint64_t size_limit = 0; ///< bytes of a file whose size is unknown; 0: none
    /// Bytes of a file that are worth a connection of their own; 0: each file has one.
    std::uint64_t least_piece = 16 * 1024 * 1024;
    CURL_LOGGER* logger = nullptr;         ///< may be null; outlives the connection
    CURL_RATE_LIMIT* rate_limit = nullptr; ///< the same; may be shared with other connections
    CURL_PROGRESS_CALLBACK progress_callback = nullptr;
    CURL_PROXY_LOGINS* logins = nullptr; ///< of the transfers that share it; may be null
    /// Of all attempts of a run; without one, of one attempt.
    CURL_SPLIT_REFUSALS* split_refusals = nullptr;
};

/// The common base of the library's connections.
class CURL_BASE_CONNECTION
{
public:
    explicit CURL_BASE_CONNECTION(CURL_CONNECTION_SETTINGS settings);
    virtual ~CURL_BASE_CONNECTION();
    CURL_BASE_CONNECTION(const CURL_BASE_CONNECTION&) = delete;
    CURL_BASE_CONNECTION& operator=(const CURL_BASE_CONNECTION&) = delete;

    void set_logger(CURL_LOGGER* logger) { m_settings.logger = logger; }
    void set_stall_timeout(std::chrono::milliseconds timeout)
    {
        m_settings.stall_timeout = timeout;
    }
    void set_time_limit(std::optional<std::chrono::milliseconds> limit)
    {
        m_settings.time_limit = limit;
    }
    void set_rate_limit(CURL_RATE_LIMIT* limit) { m_settings.rate_limit = limit; }
    /// \param refusals  outlive the connection
    void set_split_refusals(CURL_SPLIT_REFUSALS* refusals) { m_settings.split_refusals = refusals; }
    void set_size_limit(std::uint64_t bytes) { m_settings.size_limit = bytes; }
    void set_least_piece(std::uint64_t bytes) { m_settings.least_piece = bytes; }
    void set_flush_interval(std::chrono::milliseconds interval)
    {
        m_settings.flush_interval = interval;
    }

protected:
    CURL_CONNECTION_SETTINGS m_settings; ///< unchanged while transfers run
};
