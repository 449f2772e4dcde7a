#pragma once

#include "support/curl/curl_easy.h"

/// Requires TLS 1.2 or later and the verification of every server. With Windows' own TLS, a
/// certificate that is known to be revoked is refused, but not one whose authority's revocation
/// list can't be reached: behind an inspecting proxy that would be every certificate.
void curl_set_tls_options(CURL_OPTIONS& options);
