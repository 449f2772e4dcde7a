#include "tests/integration/host_fixture.h"

#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{

/// The reader of the program's output ends, or stops reading.
class HostOutput : public HostTest
{
protected:
    void SetUp() override
    {
        // The name is printed with each progress block and exceeds the capacity of a pipe.
        builder.component("one").pattern_content(3'000'000, 1).title(std::string(100'000, 'n'));
        publish();
    }

    void serve_slowly() { server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)}); }

    /// Runs a shell script in which "$@" is the host's command line.
    CHILD_SETUP in_shell(const std::string& script) const
    {
        CHILD_SETUP shell = setup(run_arguments());
        shell.arguments.insert(shell.arguments.begin(),
                               {"-c", script, "bash", shell.program.string()});
        shell.program = "/bin/bash";
        return shell;
    }

    std::uintmax_t fetched_bytes() const
    {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(dir / "dl/one.run", error);
        return error ? 0 : size;
    }

    void expect_orderly_end(CHILD_PROCESS& child)
    {
        const STOPWATCH since_signal;
        child.send_signal(SIGTERM);
        const auto ended = child.wait(long_enough);
        const MEASURED_TIME taken = since_signal.elapsed();
        ASSERT_TRUE(ended);
        EXPECT_TRUE(taken.within(2s));
        EXPECT_EQ(ended->signal, SIGTERM);
        EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos);
    }

    std::string fifo_path() const { return (dir / "fifo").string(); }
};

/// A pipe whose reader never reads.
class UNREAD_PIPE
{
public:
    explicit UNREAD_PIPE(const std::string& path)
    {
        if (::mkfifo(path.c_str(), 0600) != 0)
            return;
        m_reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        m_writer = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    }
    ~UNREAD_PIPE()
    {
        ::close(m_reader);
        ::close(m_writer);
    }
    UNREAD_PIPE(const UNREAD_PIPE&) = delete;
    UNREAD_PIPE& operator=(const UNREAD_PIPE&) = delete;

    [[nodiscard]] bool is_full() const
    {
        pollfd writer{m_writer, POLLOUT, 0};
        return m_writer != -1 && ::poll(&writer, 1, 0) == 0;
    }

private:
    int m_reader = -1;
    int m_writer = -1;
};

}

TEST_F(HostOutput, MayBeClosedByItsReader)
{
    CHILD_PROCESS child(in_shell("\"$@\" | head -n 1; echo \"status ${PIPESTATUS[0]}\""));
    ASSERT_TRUE(child.wait(300s));
    EXPECT_EQ(child.output(), "Testing internet connection ... \nstatus 0\n");
    EXPECT_NE(log().find("[info] Download successful\n"), std::string::npos);
    EXPECT_EQ(dir.read("dl/one.run"), read_file(builder.file("one").path));
}

TEST_F(HostOutput, MayBeClosedBySigintToItsReaderToo)
{
    serve_slowly();
    CHILD_SETUP terminal =
        in_shell("trap : INT; \"$@\" | tee copy; echo \"status ${PIPESTATUS[0]}\"");
    terminal.terminal = CHILD_TERMINAL{};
    for (int i = 0; i < 20; ++i)
    {
        std::filesystem::remove_all(dir / "dl");
        CHILD_PROCESS child(terminal);
        ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough)) << child.output();
        ASSERT_TRUE(wait_until([this] { return fetched_bytes() >= 1000; }));
        child.type("\x03");
        ASSERT_TRUE(child.wait(long_enough)) << child.output();
        EXPECT_NE(child.output().find("status 130\r\n"), std::string::npos) << "round " << i;
        EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos) << "round " << i;
    }
}

TEST_F(HostOutput, ThatNobodyReadsDoesNotDelayAStop)
{
    serve_slowly();
    const UNREAD_PIPE pipe(fifo_path());
    CHILD_PROCESS child(in_shell("exec \"$@\" > '" + fifo_path() + "'"));
    ASSERT_TRUE(wait_until([&pipe] { return pipe.is_full(); }));
    expect_orderly_end(child);
}

TEST_F(HostOutput, ThatATerminalHoldsBackDoesNotDelayAStop)
{
    serve_slowly();
    CHILD_SETUP terminal = setup(run_arguments());
    terminal.terminal = CHILD_TERMINAL{};
    CHILD_PROCESS child(terminal);
    ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough));
    child.type("\x13"); // Ctrl-S
    // The block is redrawn each second.
    const std::uintmax_t before = fetched_bytes();
    ASSERT_TRUE(wait_until([&] { return fetched_bytes() >= before + 150'000; }));
    expect_orderly_end(child);
}

TEST_F(HostOutput, HoldsNoControlCharactersOfARelease)
{
    builder.component("one").title("T \x1b[2J \u009b \u202e");
    publish();
    server.set_faults("/one.run", {FAULT::status(503)});
    run(run_arguments({"--debug", "--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("T \ufffd[2J \ufffd \ufffd: ")) << output;
    for (const char* part : {"\x1b[2J ", "\u009b", "\u202e"})
    {
        EXPECT_EQ(log().find(part), std::string::npos);
        EXPECT_FALSE(output_holds(part));
    }
}
