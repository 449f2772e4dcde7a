#pragma once

#include <string>

// Internal to curl_ca_bundle: what each platform implements.

/// The first existing file among the platform's usual locations; empty where libcurl uses the
/// system's own certificate store.
std::string curl_well_known_ca_bundle();
