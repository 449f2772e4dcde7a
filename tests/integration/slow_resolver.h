#pragma once

/// The name whose look-up does not come to an end while a SLOW_RESOLVER lives. Others are looked up
/// as ever.
inline constexpr const char* slow_host_name = "slow.resolver.invalid";

/// How many look-ups of that name have begun.
int slow_lookups();

class SLOW_RESOLVER
{
public:
    SLOW_RESOLVER();
    ~SLOW_RESOLVER();
    SLOW_RESOLVER(const SLOW_RESOLVER&) = delete;
    SLOW_RESOLVER& operator=(const SLOW_RESOLVER&) = delete;
};
