#pragma once

#include <optional>
#include <string>

// Internal to curl_ca_store: what each platform implements.

/// The directory that SSL_CERT_DIR names, empty if it names none; without a value where libcurl
/// reads no directories.
std::optional<std::string> curl_named_ca_directory();

/// The first existing file among the platform's usual locations; without a value where libcurl
/// uses the system's own certificate store.
///
/// \param root  is put before each location
std::optional<std::string> curl_well_known_ca_file(const std::string& root = {});
