#include "install/vinst/base/vinst_child_process.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>
#include <unistd.h>

// Only async-signal-safe functions may be called here. The descriptors are not closed at once,
// because Qt reports over one of them that the program can't be started.
void VINST_CHILD_PROCESS::setupChildProcess()
{
    constexpr int first = STDERR_FILENO + 1;
    if (::close_range(first, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
    // The kernel is older than 5.11.
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int descriptor = first; static_cast<rlim_t>(descriptor) < limit.rlim_cur; ++descriptor)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}
