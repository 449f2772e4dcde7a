#include "install/vinst/download/vinst_connection_rules.h"

namespace
{

constexpr int attempts_with_a_proxy = 2;

}

VINST_CONNECTION_STEP next_connection_step(int failed_attempts, const QString& platform,
                                           bool use_default_proxy, bool proxy_has_host)
{
    if (failed_attempts >= attempts_with_a_proxy)
        return VINST_CONNECTION_STEP::give_up;
    if (platform == "linux" && use_default_proxy && !proxy_has_host)
        return VINST_CONNECTION_STEP::look_for_proxy;
    return VINST_CONNECTION_STEP::retry;
}
