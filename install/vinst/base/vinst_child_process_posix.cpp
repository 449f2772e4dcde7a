#include "install/vinst/base/vinst_child_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

// Only async-signal-safe functions may be called here. The descriptors are not closed at once,
// because Qt reports over one of them that the program can't be started.
void VINST_CHILD_PROCESS::setupChildProcess()
{
    constexpr unsigned first = STDERR_FILENO + 1;
    // glibc has close_range since 2.34, and the kernel's headers CLOSE_RANGE_CLOEXEC since 5.11.
    constexpr unsigned cloexec = 1U << 2;
    if (::syscall(__NR_close_range, first, ~0U, cloexec) == 0)
        return;
    // The kernel is older than 5.11.
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (unsigned descriptor = first; descriptor < limit.rlim_cur; ++descriptor)
        ::fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC);
}
