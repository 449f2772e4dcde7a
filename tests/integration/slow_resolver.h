#pragma once

/// The name whose resolution does not end during the lifetime of a SLOW_RESOLVER. Other names are
/// resolved normally.
inline constexpr const char* slow_host_name = "slow.resolver.invalid";

/// How many resolutions of that name have started.
int slow_lookups();

class SLOW_RESOLVER
{
public:
    SLOW_RESOLVER();
    ~SLOW_RESOLVER();
    SLOW_RESOLVER(const SLOW_RESOLVER&) = delete;
    SLOW_RESOLVER& operator=(const SLOW_RESOLVER&) = delete;
};
