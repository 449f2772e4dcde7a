#pragma once

#include "support/curl/curl_response.h"

#include <chrono>
#include <optional>
#include <string>

struct CURL_PROGRESS_DATA;

/// Why a transfer failed, for a message to the user. Texts are UTF-8 without credentials.
struct CURL_FAILURE
{
    enum class KIND
    {
        none,         ///< it succeeded
        stopped,      ///< by the progress callback
        http_status,  ///< the server refused
        proxy_status, ///< the proxy refused, possibly to connect to the server
        connection,   ///< no connection to the server or, if one is used, to the proxy
        tls,
        write, ///< to the local file
        other  ///< `reason` needs no explanation, for example when the size is wrong
    };

    KIND kind = KIND::none;
    std::string reason;            ///< in the words of the system, libcurl or this library
    int status = 0;                ///< the HTTP status for the two kinds above, otherwise 0
    std::string server;            ///< "host:port", after redirects
    std::string proxy;             ///< "host:port" of the one that was used; empty without one
    std::string proxy_source = {}; ///< what named it; may be empty
    std::string proxy_schemes =
        {};                     ///< those that it offers with status 407, such as "Digest, Basic"
    bool login_refused = false; ///< the proxy accepted the credentials in no way that it offers
};

inline constexpr int curl_proxy_authentication_required = 407; ///< HTTP status

/// How far a request got.
struct CURL_EXCHANGE
{
    bool is_connected = false; ///< to the server, or to the proxy
    int status = 0;         ///< of the server, or of the proxy in its place; 0 without a response
    int connect_status = 0; ///< of the proxy's response to CONNECT; 0 without one
};

/// Leaves the server and the proxy empty.
CURL_FAILURE curl_failure_of(const CURL_OUTCOME& outcome, const CURL_EXCHANGE& exchange);

/// Of a transfer that has ended.
struct CURL_RESULT
{
    CURL_OUTCOME outcome;
    int status = 0; ///< the HTTP status; 0 without one
    CURL_FAILURE failure = {};
    /// From the first request to the end; empty if nothing was requested.
    std::optional<std::chrono::steady_clock::duration> duration = {};
    /// Whether the file is incomplete although the transfer has succeeded, because only a part of
    /// it was to be written.
    bool is_part = false;
};

/// Stores it where the program reads it.
void curl_store_result(CURL_PROGRESS_DATA& data, const CURL_RESULT& result);
