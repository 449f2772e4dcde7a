#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What a script may learn of the world, and where its words go. Texts are UTF-8.
struct PAC_ENVIRONMENT
{
    /// The numeric addresses of a name, of both families, as the system orders them; none when it
    /// has none.
    std::function<std::vector<std::string>(const std::string& name)> resolve;
    /// This machine's numeric addresses, of both families, loopback left out.
    std::function<std::vector<std::string>()> own_addresses;
    /// Milliseconds since the epoch.
    std::function<std::int64_t()> now;
    /// Takes what the script says by alert, and what is wrong with it: one line a call.
    std::function<void(const std::string& line)> log;
};

/// Evaluates an automatic-configuration script for one address.
///
/// The browsers' helper functions are there, `FindProxyForURLEx` is preferred to `FindProxyForURL`.
/// When the script can't be read, or defines neither, the directive that stands in its text counts.
///
/// \param script  UTF-8, without a byte-order mark
/// \param url     what is to be fetched, without credentials
/// \param host    its host
/// \return the directive, such as "PROXY a:3128; DIRECT"; nothing when the script yields none,
/// which
///         was then told to `log`
std::optional<std::string> evaluate_pac(const std::string& script, const std::string& url,
                                        const std::string& host,
                                        const PAC_ENVIRONMENT& environment);
