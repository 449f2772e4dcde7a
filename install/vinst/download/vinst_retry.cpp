#include "install/vinst/download/vinst_retry.h"

namespace
{

constexpr std::chrono::seconds wait_step{5};
constexpr std::chrono::seconds longest_wait_on_lasting_error{10};

}

VINST_RETRY_DECISION decide_retry(int attempt, std::chrono::nanoseconds elapsed,
                                  std::chrono::minutes limit, VINST_ATTEMPT_FAULT fault)
{
    using ACTION = VINST_RETRY_DECISION::ACTION;
    const std::chrono::seconds wait = attempt * wait_step;
    const bool is_over =
        fault == VINST_ATTEMPT_FAULT::final ||
        (fault == VINST_ATTEMPT_FAULT::lasting && wait > longest_wait_on_lasting_error);
    if (is_over)
        return {ACTION::give_up_on_error, {}};
    if (std::chrono::duration_cast<std::chrono::minutes>(elapsed) >= limit)
        return {ACTION::give_up_on_time, {}};
    return {ACTION::retry, wait};
}
