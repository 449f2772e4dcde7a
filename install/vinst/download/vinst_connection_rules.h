#pragma once

#include <QString>

#include <string>

/// How the connection test reaches the network.
struct VINST_PROXY_SETTINGS
{
    std::string server;
    std::string port;
    std::string username;
    std::string password;
    bool use_default_proxy = true; ///< the system's proxy, and discovery when that fails
    std::string source = {};       ///< what names the server, for messages
    /// The user asks about the connection: shown is also what names a proxy that the user has
    /// given, and what excludes the server from proxies.
    bool is_inquiry = false;
};

/// What a connection test does after an attempt that failed.
enum class VINST_CONNECTION_STEP
{
    retry,          ///< the same proxy once more
    look_for_proxy, ///< discovery; then the proxy found, or the same one again
    give_up
};

/// Every proxy is tried twice. On Linux, when the default proxy is selected and none is in use,
/// discovery runs first.
///
/// \param failed_attempts  with this proxy, from 1
VINST_CONNECTION_STEP next_connection_step(int failed_attempts, const QString& platform,
                                           bool use_default_proxy, bool proxy_has_host);
