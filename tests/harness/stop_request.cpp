#include "tests/harness/stop_request.h"

#include "support/thr/thr_stop_state.h"

void forget_stop_request()
{
    const std::lock_guard lock(thr_stop_state().mutex);
    thr_stop_state().requested = false;
}
