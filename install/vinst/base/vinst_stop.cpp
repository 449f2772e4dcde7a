#include "install/vinst/base/vinst_stop.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_stop_state.h"
#include "support/thr/thr_sleep.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <algorithm>

namespace
{

constexpr std::chrono::milliseconds longest_sleep{100};

}

VINST_STOP_STATE& vinst_stop_state()
{
    static VINST_STOP_STATE the_state;
    return the_state;
}

bool is_to_stop()
{
    return vinst_stop_state().download_stop_requested || is_shutting_down();
}

bool is_shutting_down()
{
    return vinst_stop_state().shutdown_requested || thr_stop_requested();
}

bool wait_unless_stopped(std::chrono::milliseconds duration)
{
    const QDeadlineTimer deadline(duration);
    // On Windows, an event that is posted just before the loop waits may not end that wait.
    QTimer wake_up;
    wake_up.start(std::min(duration, longest_sleep));
    while (!deadline.hasExpired() && !is_to_stop())
        process_events();
    return !is_to_stop();
}

void begin_stoppable_work()
{
    vinst_stop_state().download_stop_requested = false;
}

void request_download_stop()
{
    vinst_stop_state().download_stop_requested = true;
    wake_event_loop();
}

void request_shutdown()
{
    vinst_stop_state().shutdown_requested = true;
    wake_event_loop();
}

void request_process_stop()
{
    thr_request_stop();
    wake_event_loop();
}
