#include "tests/harness/processor_time.h"

#include <cstdint>

#include <windows.h>

std::chrono::microseconds processor_time()
{
    FILETIME created, ended, kernel, user;
    ::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto ticks = [](const FILETIME& time)
    { return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime; };
    return std::chrono::microseconds((ticks(kernel) + ticks(user)) / 10);
}
