#include "install/pac/pac_filter.h"

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <set>

namespace
{

// Not clone3, whose arguments a filter can't read; the C library then uses clone.
constexpr scmp_datum_t new_namespaces = CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWNET |
                                        CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWCGROUP;
constexpr scmp_datum_t writing = O_ACCMODE | O_CREAT | O_TRUNC;

/// A call that is allowed only with certain arguments.
struct CONDITIONAL_CALL
{
    int number;
    scmp_arg_cmp condition;
};

constexpr int evaluation_calls[] = {
    // Files that are open already.
    SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(close), SCMP_SYS(fstat),
    SCMP_SYS(sendto),
    // Memory. The engine's memory and code are in memory files.
    SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(madvise),
    SCMP_SYS(brk), SCMP_SYS(memfd_create), SCMP_SYS(ftruncate), SCMP_SYS(futex),
    // Time.
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(gettimeofday), SCMP_SYS(time),
    // This process itself, and its end.
    SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getrandom), SCMP_SYS(sched_yield),
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(exit),
    SCMP_SYS(exit_group)};

// In addition to those above.
constexpr int look_up_calls[] = {
    // Files: configuration, tables of names, libraries.
    SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(newfstatat), SCMP_SYS(statx), SCMP_SYS(fstatfs),
    SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
    SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(lseek), SCMP_SYS(pread64), SCMP_SYS(fcntl),
    SCMP_SYS(ioctl),
    // Connections to name servers and name services, and the table of interfaces.
    SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(getsockname), SCMP_SYS(getpeername),
    SCMP_SYS(getsockopt), SCMP_SYS(setsockopt), SCMP_SYS(shutdown), SCMP_SYS(sendmsg),
    SCMP_SYS(sendmmsg), SCMP_SYS(recvfrom), SCMP_SYS(recvmsg), SCMP_SYS(recvmmsg), SCMP_SYS(poll),
    SCMP_SYS(ppoll), SCMP_SYS(select), SCMP_SYS(pselect6), SCMP_SYS(eventfd2), SCMP_SYS(pipe2),
    SCMP_SYS(epoll_create1), SCMP_SYS(epoll_ctl), SCMP_SYS(epoll_wait), SCMP_SYS(epoll_pwait),
    SCMP_SYS(timerfd_create), SCMP_SYS(timerfd_settime),
    // The process for each look-up, its limit, and threads of name services.
    SCMP_SYS(fork), SCMP_SYS(wait4), SCMP_SYS(setitimer), SCMP_SYS(set_robust_list),
    SCMP_SYS(set_tid_address), SCMP_SYS(rseq), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
    SCMP_SYS(sched_getaffinity),
    // What name services ask about this machine and process.
    SCMP_SYS(getppid), SCMP_SYS(getuid), SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid),
    SCMP_SYS(uname), SCMP_SYS(sysinfo), SCMP_SYS(prlimit64)};

// Several entries for a call allow several values.
const CONDITIONAL_CALL conditional_look_up_calls[] = {
    {SCMP_SYS(openat), SCMP_A2(SCMP_CMP_MASKED_EQ, writing, O_RDONLY)},
    {SCMP_SYS(open), SCMP_A1(SCMP_CMP_MASKED_EQ, writing, O_RDONLY)},
    {SCMP_SYS(socket), SCMP_A0(SCMP_CMP_EQ, AF_UNIX)},
    {SCMP_SYS(socket), SCMP_A0(SCMP_CMP_EQ, AF_INET)},
    {SCMP_SYS(socket), SCMP_A0(SCMP_CMP_EQ, AF_INET6)},
    {SCMP_SYS(socket), SCMP_A0(SCMP_CMP_EQ, AF_NETLINK)},
    {SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, new_namespaces, 0)},
    {SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_PDEATHSIG)},
    {SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_NAME)}};

bool allow(scmp_filter_ctx context, const int* begin, const int* end)
{
    return std::all_of(begin, end,
                       [&](int call)
                       { return seccomp_rule_add(context, SCMP_ACT_ALLOW, call, 0) == 0; });
}

bool allow_look_ups(scmp_filter_ctx context)
{
    return allow(context, std::begin(look_up_calls), std::end(look_up_calls)) &&
           std::all_of(std::begin(conditional_look_up_calls), std::end(conditional_look_up_calls),
                       [&](const CONDITIONAL_CALL& call) {
                           return seccomp_rule_add_array(context, SCMP_ACT_ALLOW, call.number, 1,
                                                         &call.condition) == 0;
                       });
}

}

bool apply_filter(PAC_FILTER filter)
{
    const std::unique_ptr<void, decltype(&seccomp_release)> context(
        seccomp_init(SCMP_ACT_ERRNO(ENOSYS)), &seccomp_release);
    return context &&
           allow(context.get(), std::begin(evaluation_calls), std::end(evaluation_calls)) &&
           (filter == PAC_FILTER::evaluation || allow_look_ups(context.get())) &&
           seccomp_load(context.get()) == 0;
}

std::size_t allowed_calls(PAC_FILTER filter)
{
    std::set<int> calls(std::begin(evaluation_calls), std::end(evaluation_calls));
    if (filter == PAC_FILTER::look_ups)
    {
        calls.insert(std::begin(look_up_calls), std::end(look_up_calls));
        for (const CONDITIONAL_CALL& call : conditional_look_up_calls)
            calls.insert(call.number);
    }
    return calls.size();
}
