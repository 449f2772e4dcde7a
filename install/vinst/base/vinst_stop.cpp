#include "install/vinst/base/vinst_stop.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "support/thr/thr_sleep.h"

std::atomic<bool> download_stop_requested{false};
std::atomic<bool> shutdown_requested{false};

bool is_to_stop()
{
    return download_stop_requested || is_shutting_down();
}

bool is_shutting_down()
{
    return shutdown_requested || thr_stop_requested();
}

void begin_stoppable_work()
{
    download_stop_requested = false;
}

void request_download_stop()
{
    download_stop_requested = true;
    wake_event_loop();
}

void request_shutdown()
{
    shutdown_requested = true;
    wake_event_loop();
}

void request_process_stop()
{
    thr_request_stop();
    wake_event_loop();
}
