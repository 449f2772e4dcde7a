#pragma once

#include <string>

/// The version of libcurl and of its TLS library, such as "7.88.1 (OpenSSL/3.0.15)".
[[nodiscard]] std::string curl_version_text();
