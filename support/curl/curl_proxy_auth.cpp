#include "support/curl/curl_proxy_auth.h"

#include <curl/curl.h>

#include <array>

namespace
{

struct SCHEME
{
    unsigned long bit;
    const char* name;
    bool needs_credentials;
};

/// In the order in which libcurl prefers them.
constexpr std::array<SCHEME, 4> schemes = {{{CURLAUTH_NEGOTIATE, "Negotiate", false},
                                            {CURLAUTH_DIGEST, "Digest", true},
                                            {CURLAUTH_NTLM, "NTLM", true},
                                            {CURLAUTH_BASIC, "Basic", true}}};

bool contains(long set, const SCHEME& scheme)
{
    return (static_cast<unsigned long>(set) & scheme.bit) != 0;
}

}

long curl_first_proxy_auth()
{
    unsigned long all = 0;
    for (const SCHEME& scheme : schemes)
        all |= scheme.needs_credentials ? scheme.bit : 0;
    return static_cast<long>(all);
}

long curl_next_proxy_auth(long allowed, long offered, bool has_credentials)
{
    unsigned long next = 0;
    bool has_failed = false; // a stronger scheme
    for (const SCHEME& scheme : schemes)
    {
        if (!contains(offered, scheme) || scheme.needs_credentials != has_credentials)
            continue;
        const bool is_tried_now = has_failed || (!has_credentials && !contains(allowed, scheme));
        next |= is_tried_now ? scheme.bit : 0;
        has_failed = has_failed || contains(allowed, scheme);
    }
    return static_cast<long>(next);
}

std::string curl_auth_names(long offered)
{
    std::string names;
    for (const SCHEME& scheme : schemes)
        if (contains(offered, scheme))
            names += (names.empty() ? "" : ", ") + std::string(scheme.name);
    return names;
}
