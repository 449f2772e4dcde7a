#include "tests/harness/stopwatch.h"

#include <cstdint>
#include <windows.h>

/// The system reports the total of all processors; this returns their average.
IDLE_TIMES idle_times()
{
    FILETIME idle{}, kernel{}, user{};
    if (::GetSystemTimes(&idle, &kernel, &user) == 0)
        return {};
    SYSTEM_INFO machine{};
    ::GetSystemInfo(&machine);
    const std::int64_t ticks = (std::int64_t{idle.dwHighDateTime} << 32) | idle.dwLowDateTime;
    return {std::chrono::nanoseconds(ticks * 100 / machine.dwNumberOfProcessors)}; // of 100 ns
}
