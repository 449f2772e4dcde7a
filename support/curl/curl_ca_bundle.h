#pragma once

#include <string>

/// The file of trusted certificate authorities: the environment variable SSL_CERT_FILE or
/// CURL_CA_BUNDLE, otherwise the platform's. When empty, libcurl chooses.
std::string curl_find_ca_bundle();
