#include "install/pac/pac_containment.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace
{

constexpr rlim_t address_space = 512 * 1024 * 1024; // bytes
constexpr rlim_t processor_time = 2;                // seconds
constexpr unsigned wall_clock = 5;                  // seconds
constexpr rlim_t open_files = 32; // needed for name look-ups; scripts can't open files

// The user and group "nobody", which own no files.
constexpr uid_t unprivileged = 65534;

bool limit(int resource, rlim_t value)
{
    const rlimit both{value, value};
    return ::setrlimit(static_cast<__rlimit_resource>(resource), &both) == 0;
}

/// The soft limit's signal identifies the reason; the hard limit follows a second later.
bool limit_processor_time()
{
    const rlimit limits{processor_time, processor_time + 1};
    return ::setrlimit(RLIMIT_CPU, &limits) == 0;
}

/// Root of a container may have no right to change its user, or no other user to change to. Then it
/// only gives up its capabilities.
bool is_done_or_forbidden(int result)
{
    return result == 0 || errno == EPERM || errno == EINVAL;
}

bool become_unprivileged_user()
{
    return is_done_or_forbidden(::setgroups(0, nullptr)) &&
           is_done_or_forbidden(::setresgid(unprivileged, unprivileged, unprivileged)) &&
           is_done_or_forbidden(::setresuid(unprivileged, unprivileged, unprivileged));
}

/// Keeps this process from ever regaining capabilities; only root can do that.
void empty_bounding_set()
{
    for (unsigned long number = 0; ::prctl(PR_CAPBSET_READ, number, 0, 0, 0) >= 0; ++number)
        ::prctl(PR_CAPBSET_DROP, number, 0, 0, 0);
}

bool drop_capabilities()
{
    ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3]{};
    return ::syscall(SYS_capset, &header, none) == 0;
}

}

// There is deliberately no limit on file sizes, because the engine writes its own code to a memory
// file.
bool limit_process()
{
    return limit(RLIMIT_AS, address_space) && limit_processor_time() && limit(RLIMIT_CORE, 0) &&
           limit(RLIMIT_NOFILE, open_files) && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

bool open_closed_streams()
{
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = ::open("/dev/null", O_RDWR);
    return descriptor >= 0 && ::close(descriptor) == 0;
}

void limit_wall_clock_time()
{
    ::alarm(wall_clock);
}

bool give_up_privileges()
{
    empty_bounding_set();
    if (::geteuid() == 0 && !become_unprivileged_user())
        return false;
    // A change of the user allows that user's other processes to debug this one.
    return drop_capabilities() && ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
}

bool end_with_starter()
{
    return ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0;
}
