#pragma once

#include <string_view>

/// Whether a list of exceptions such as "example.com,10.0.0.0/8 *" excludes a host from proxies, by
/// the same rules as libcurl: names match with all their subdomains, addresses by their network.
///
/// \param host  a name or an IP address, as in a URL; an IPv6 address may have brackets
bool curl_is_excluded(std::string_view host, std::string_view exceptions);
