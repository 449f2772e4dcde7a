#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What a script may query, and where its messages go. Texts are UTF-8.
struct PAC_ENVIRONMENT
{
    /// The IP addresses of a name, IPv4 and IPv6, in the system's order; empty when there are none.
    std::function<std::vector<std::string>(const std::string& name)> resolve;
    /// This machine's IPv4 and IPv6 addresses, except loopback. Those with which it reaches the
    /// given addresses come first, or without such a route, those with which it reaches the
    /// Internet.
    std::function<std::vector<std::string>(const std::vector<std::string>& toward)> own_addresses;
    /// Milliseconds since the epoch.
    std::function<std::int64_t()> now;
    /// Receives the script's alerts and errors, one line per call.
    std::function<void(const std::string& line)> log;
    /// Receives what a user should know about a script that can't be used as it is.
    std::function<void(const std::string& line)> report;
};

/// Evaluates a proxy auto-configuration script for one URL.
///
/// The predefined functions of browsers are available. `FindProxyForURLEx` is preferred to
/// `FindProxyForURL`. When the script can't be parsed, or defines neither, this is reported, and
/// the directive in its text is used.
///
/// \param script  UTF-8, without a byte-order mark
/// \param url     the URL to fetch, without credentials
/// \param host    its host
/// \return the directive, such as "PROXY a:3128; DIRECT"; nothing when the script yields none, and
///         `log` or `report` has then received the reason
std::optional<std::string> evaluate_pac(const std::string& script, const std::string& url,
                                        const std::string& host,
                                        const PAC_ENVIRONMENT& environment);

/// Makes the engine read what it reads from files only once: the time zone. To be called before a
/// filter forbids to open files.
void prepare_engine();
