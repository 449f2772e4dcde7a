#include "install/pac/pac_request.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// The helper with a script that never ends, started by a shell.
class PacContainmentTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // Makes this process the parent of those whose own parent has ended.
        ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), 0);
        write_file(dir / "request", to_text({"http://dl.example/", "dl.example",
                                             "alert('running'); while (true) {}"}));
        shell = std::make_unique<CHILD_PROCESS>(
            CHILD_SETUP{"/bin/sh",
                        {"-c", "\"$1\" <\"$2\" & echo helper $!; wait; :", "sh",
                         VINST_TEST_BINARY_DIR "/lib/vinst_pac", (dir / "request").string()}});
        ASSERT_TRUE(shell->wait_for(
            [](const std::string& output, const std::string& errors)
            {
                return output.find('\n') != std::string::npos &&
                       errors.find("alert: running\n") != std::string::npos;
            },
            long_enough));
        helper = std::stoi(shell->output().substr(std::string("helper ").size()));
    }

    ~PacContainmentTest() override { ::prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0); }

    /// The process for name look-ups.
    pid_t service() const
    {
        const std::string pid = std::to_string(helper);
        std::ifstream children("/proc/" + pid + "/task/" + pid + "/children");
        pid_t child = -1;
        children >> child;
        return child;
    }

    /// The status of an orphaned process when it has ended; -1 if it doesn't.
    static int status_at_end(pid_t process)
    {
        int status = 0;
        const bool ended =
            wait_until([&] { return ::waitpid(process, &status, WNOHANG) == process; });
        return ended ? status : -1;
    }

    /// The service may notice the closed connection before the signal arrives.
    static bool is_end_with_starter(int status) { return status == SIGKILL || status == 0; }

    /// A field of /proc/PID/status without its blanks at the ends; empty if there is none.
    static std::string status(pid_t process, const std::string& field)
    {
        for (const std::string& line : read_lines("/proc/" + std::to_string(process) + "/status"))
            if (line.rfind(field + ":", 0) == 0)
            {
                const std::size_t begin = line.find_first_not_of(" \t", field.size() + 1);
                return begin == std::string::npos
                           ? ""
                           : line.substr(begin, line.find_last_not_of(" \t") + 1 - begin);
            }
        return {};
    }

    static std::string four_times(unsigned id)
    {
        const std::string text = std::to_string(id);
        return text + "\t" + text + "\t" + text + "\t" + text;
    }

    TEMP_DIR dir;
    std::unique_ptr<CHILD_PROCESS> shell;
    pid_t helper = -1;
};

}

TEST_F(PacContainmentTest, HasNoPrivileges)
{
    constexpr unsigned nobody = 65534;
    const bool is_root = ::geteuid() == 0;
    for (const pid_t process : {helper, service()})
    {
        SCOPED_TRACE(process == helper ? "helper" : "service");
        EXPECT_EQ(status(process, "Uid"), four_times(is_root ? nobody : ::getuid()));
        EXPECT_EQ(status(process, "Gid"), four_times(is_root ? nobody : ::getgid()));
        if (is_root)
        {
            EXPECT_EQ(status(process, "Groups"), "");
            EXPECT_EQ(status(process, "CapBnd"), "0000000000000000");
        }
        for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"})
            EXPECT_EQ(status(process, set), "0000000000000000") << set;
        EXPECT_EQ(status(process, "NoNewPrivs"), "1");
    }
}

TEST_F(PacContainmentTest, HasAFilterOfSystemCalls)
{
    const std::string filtered = "2";
    EXPECT_EQ(status(helper, "Seccomp"), filtered);
    EXPECT_EQ(status(service(), "Seccomp"), filtered);
}

// The processes' own limits end them by other signals.
TEST_F(PacContainmentTest, EndsWithItsStarter)
{
    const pid_t look_ups = service();
    ASSERT_GT(look_ups, 0);
    shell->send_signal(SIGKILL);
    ASSERT_TRUE(shell->wait(long_enough));
    EXPECT_EQ(status_at_end(helper), SIGKILL);
    EXPECT_TRUE(is_end_with_starter(status_at_end(look_ups)));
}

TEST_F(PacContainmentTest, EndsTheServiceWithTheHelper)
{
    const pid_t look_ups = service();
    ASSERT_GT(look_ups, 0);
    ::kill(helper, SIGKILL);
    EXPECT_TRUE(is_end_with_starter(status_at_end(look_ups)));
}
