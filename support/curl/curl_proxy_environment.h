#pragma once

#include "support/curl/curl_proxy_info.h"

#include <functional>

/// The value of an environment variable; empty if it isn't set.
using CURL_VARIABLES = std::function<std::string(const char* name)>;

/// The variables of this process. Not to be called while another thread changes them.
std::string curl_own_variable(const char* name);

/// The proxy that the variables name for a URL; `direct()` if none does, or if `no_proxy` or
/// `NO_PROXY` excludes the host. The source is the name of the variable.
///
/// The rules are those of libcurl, with two additions: `HTTP_PROXY` counts in a program that is no
/// CGI script, where it could come from a request, and `http_proxy` counts for https if nothing
/// else does. Credentials may be percent-encoded or not. A value that is no address becomes the
/// host unchanged, so that the transfer fails instead of bypassing the proxy.
CURL_PROXY_INFO curl_environment_proxy(const std::string& url, const CURL_VARIABLES& variables);

/// The proxy that a transfer of a URL uses with this setting: itself, or the environment's choice
/// for the URL with the credentials that were added to the setting.
CURL_PROXY_INFO curl_proxy_for(const std::string& url, const CURL_PROXY_INFO& setting,
                               const CURL_VARIABLES& variables = curl_own_variable);
