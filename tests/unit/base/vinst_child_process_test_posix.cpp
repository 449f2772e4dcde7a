#include "install/vinst/base/vinst_child_process_platform.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// For a child process: marks descriptors, one of which is above the limit. \return 0 if they are
/// marked and the standard ones are not
int faults_above_a_lowered_limit()
{
    constexpr int high = 900;
    constexpr int low = 5;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    if (::dup2(STDIN_FILENO, high) != high || ::dup2(STDIN_FILENO, low) != low)
        return 1;
    limit.rlim_cur = 100;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0 || !close_listed_descriptors_at_exec())
        return 2;
    const bool are_marked =
        ::fcntl(high, F_GETFD) == FD_CLOEXEC && ::fcntl(low, F_GETFD) == FD_CLOEXEC;
    const bool are_standard_kept = (::fcntl(STDOUT_FILENO, F_GETFD) & FD_CLOEXEC) == 0;
    return are_marked && are_standard_kept ? 0 : 3;
}

}

TEST(ChildProcess, InheritsNoDescriptorAboveALoweredLimit)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(faults_above_a_lowered_limit());
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
