#include "support/main/main_globals.h"

#include <atomic>
#include <cstdlib>

void (*main_seh_callback)(const void* exception_record) = nullptr;
void (*main_terminator_callback)() = nullptr;

bool main_eh_enabled()
{
    const char* debug = std::getenv("VINST_DEBUG");
    return debug == nullptr || *debug == '\0';
}

bool main_terminate_called(int mark) noexcept
{
    static std::atomic<bool> under_way{false};
    static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets this mark");
    return under_way.exchange(mark != 0);
}
