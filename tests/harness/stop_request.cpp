#include "tests/harness/stop_request.h"

#include "install/vinst/base/vinst_stop_state.h"
#include "support/thr/thr_stop_state.h"

void forget_stop_request()
{
    vinst_stop_state().download_stop_requested = false;
    vinst_stop_state().shutdown_requested = false;
    const std::lock_guard lock(thr_stop_state().mutex);
    thr_stop_state().requested = false;
}
