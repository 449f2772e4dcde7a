#pragma once

#include <optional>
#include <string>

/// The certificate authorities that servers are verified with. A member without a value means
/// libcurl's default, an empty one means none.
struct CURL_CA_STORE
{
    std::optional<std::string> file;      ///< in PEM format
    std::optional<std::string> directory; ///< with links that "openssl rehash" has made
};

/// Only those that the environment variables SSL_CERT_FILE or CURL_CA_BUNDLE, and SSL_CERT_DIR
/// name, otherwise the platform's.
CURL_CA_STORE curl_find_ca_store();
