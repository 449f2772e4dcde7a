#include "install/pac/pac_filter.h"

#include "tests/harness/temp_dir.h"
#include "tests/unit/pac/pac_script_case.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <linux/sched.h>
#include <ostream>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// The exit code of a child process that runs the function under the filter; -1 if a signal ended
/// it, 255 if the filter could not be applied.
int exit_code_under(PAC_FILTER filter, const std::function<int()>& run)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        end_filtered_process(apply_filter(filter) ? run() : 255);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// A system call with its arguments; those that aren't given are 0.
struct CALL
{
    const char* name;
    long number;
    long first = 0;
    long second = 0;
    long third = 0;
};

void PrintTo(const CALL& call, std::ostream* out)
{
    *out << call.name;
}

long address_of(const char* text)
{
    return reinterpret_cast<long>(text);
}

/// 0 if the call succeeds, otherwise its errno.
int error_of(const CALL& call)
{
    return ::syscall(call.number, call.first, call.second, call.third, 0, 0, 0) < 0 ? errno : 0;
}

const CALL refused_by_both[] = {
    {"ExecuteProgram", SYS_execve, address_of("/bin/true")},
    {"ExecuteProgramAt", SYS_execveat, AT_FDCWD, address_of("/bin/true")},
    {"Debug", SYS_ptrace, PTRACE_TRACEME},
    {"ReadOtherMemory", SYS_process_vm_readv, 1},
    {"WriteOtherMemory", SYS_process_vm_writev, 1},
    {"SendSignal", SYS_kill, 0, 0},
    {"SendSignalToThread", SYS_tgkill, 1, 1},
    {"SendSignalWithData", SYS_rt_sigqueueinfo, 1},
    {"OpenForWriting", SYS_openat, AT_FDCWD, address_of("/tmp"), O_WRONLY},
    {"OpenForReadingAndWriting", SYS_openat, AT_FDCWD, address_of("/dev/null"), O_RDWR},
    {"CreateFile", SYS_openat, AT_FDCWD, address_of("/nonexistent/file"), O_CREAT},
    {"CreateFileOld", SYS_creat, address_of("/nonexistent/file"), 0600},
    {"OpenFileBeneath", SYS_openat2, AT_FDCWD, address_of("/dev/null")},
    {"RemoveFile", SYS_unlink, address_of("/nonexistent/file")},
    {"RemoveFileAt", SYS_unlinkat, AT_FDCWD, address_of("/nonexistent/file")},
    {"RenameFile", SYS_rename, address_of("/nonexistent/file"), address_of("/nonexistent/other")},
    {"LinkFile", SYS_link, address_of("/nonexistent/file"), address_of("/nonexistent/other")},
    {"LinkFileSymbolically", SYS_symlink, address_of("/nonexistent/file"),
     address_of("/nonexistent/other")},
    {"CreateDirectory", SYS_mkdir, address_of("/nonexistent/file"), 0700},
    {"ChangeMode", SYS_chmod, address_of("/nonexistent/file"), 0777},
    {"ChangeOwner", SYS_chown, address_of("/nonexistent/file"), 0, 0},
    {"Truncate", SYS_truncate, address_of("/nonexistent/file"), 0},
    {"ChangeDirectory", SYS_chdir, address_of("/tmp")},
    {"ChangeRoot", SYS_chroot, address_of("/")},
    {"Mount", SYS_mount, address_of("none"), address_of("/mnt")},
    {"ChangeUser", SYS_setuid, 0},
    {"ChangeGroup", SYS_setgid, 0},
    {"ChangeCapabilities", SYS_capset},
    {"EnterNamespace", SYS_setns, 0},
    {"MakeNamespace", SYS_unshare, CLONE_NEWUSER},
    {"StartInNewNamespace", SYS_clone, CLONE_NEWUSER},
    {"StartWithUnknownArguments", SYS_clone3},
    {"OpenRawSocket", SYS_socket, AF_PACKET, SOCK_RAW},
    {"OpenKernelCryptography", SYS_socket, 38, SOCK_SEQPACKET},
    {"Listen", SYS_listen, 0},
    {"Accept", SYS_accept, 0},
    {"LoadKernelProgram", SYS_bpf},
    {"WatchPerformance", SYS_perf_event_open},
    {"SubmitRequests", SYS_io_uring_setup, 1},
    {"UseKeys", SYS_keyctl},
    {"HandlePageFaults", SYS_userfaultfd},
    {"LoadModule", SYS_init_module},
    {"SetTime", SYS_settimeofday},
    {"SetLimits", SYS_setrlimit, 0},
    {"SetDebuggable", SYS_prctl, PR_SET_DUMPABLE, 1},
    {"OpenProcess", SYS_pidfd_open, 1},
    {"CopyDescriptor", SYS_pidfd_getfd, 0},
};

const CALL refused_by_evaluation[] = {
    {"OpenForReading", SYS_openat, AT_FDCWD, address_of("/dev/null"), O_RDONLY},
    {"OpenForReadingOld", SYS_open, address_of("/dev/null"), O_RDONLY},
    {"FileExists", SYS_access, address_of("/dev/null")},
    {"FileData", SYS_newfstatat, AT_FDCWD, address_of("/dev/null")},
    {"LinkTarget", SYS_readlink, address_of("/proc/self/exe")},
    {"OpenSocket", SYS_socket, AF_INET, SOCK_STREAM},
    {"OpenLocalSocket", SYS_socket, AF_UNIX, SOCK_STREAM},
    {"Connect", SYS_connect, 0},
    {"StartProcess", SYS_fork},
    {"ControlDevice", SYS_ioctl, 0},
    {"NameOfMachine", SYS_uname},
    {"UserId", SYS_getuid},
    {"SetTimer", SYS_setitimer},
};

class RefusedCall : public ::testing::TestWithParam<CALL>
{
};

class RefusedCallOfEvaluation : public ::testing::TestWithParam<CALL>
{
};

}

TEST_P(RefusedCall, FailsLikeACallThatDoesNotExist)
{
    for (const PAC_FILTER filter : {PAC_FILTER::evaluation, PAC_FILTER::look_ups})
        EXPECT_EQ(exit_code_under(filter, [] { return error_of(GetParam()); }), ENOSYS);
}

TEST_P(RefusedCallOfEvaluation, FailsLikeACallThatDoesNotExist)
{
    EXPECT_EQ(exit_code_under(PAC_FILTER::evaluation, [] { return error_of(GetParam()); }), ENOSYS);
    // The call exists otherwise.
    EXPECT_NE(exit_code_under(PAC_FILTER::look_ups, [] { return error_of(GetParam()); }), ENOSYS);
}

INSTANTIATE_TEST_SUITE_P(Filter, RefusedCall, ::testing::ValuesIn(refused_by_both),
                         [](const auto& call) { return call.param.name; });
INSTANTIATE_TEST_SUITE_P(Filter, RefusedCallOfEvaluation,
                         ::testing::ValuesIn(refused_by_evaluation),
                         [](const auto& call) { return call.param.name; });

TEST(PacFilter, CannotBeTakenBack)
{
    EXPECT_EQ(exit_code_under(PAC_FILTER::evaluation,
                              []
                              {
                                  static_cast<void>(apply_filter(PAC_FILTER::look_ups));
                                  return error_of({"", SYS_access, address_of("/dev/null")});
                              }),
              ENOSYS);
}

TEST(PacFilter, AllowsTheDocumentedNumberOfCalls)
{
    std::string text = read_file(VINST_TEST_SOURCE_DIR "/docs/proxies.md");
    for (char& c : text)
        c = c == '\n' ? ' ' : c;
    const std::string evaluation = std::to_string(allowed_calls(PAC_FILTER::evaluation));
    const std::string look_ups = std::to_string(allowed_calls(PAC_FILTER::look_ups));
    EXPECT_NE(text.find("allows it " + evaluation + " system calls"), std::string::npos)
        << evaluation;
    EXPECT_NE(text.find("allows it " + look_ups + " system calls"), std::string::npos) << look_ups;
}
