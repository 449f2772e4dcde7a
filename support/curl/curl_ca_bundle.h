#pragma once

#include <string>

/// The file of trusted certificate authorities: SSL_CERT_FILE or CURL_CA_BUNDLE of the environment,
/// else the platform's. Empty leaves the choice to libcurl.
std::string curl_find_ca_bundle();
