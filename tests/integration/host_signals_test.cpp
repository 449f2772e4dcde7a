#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/run_files.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/unanswering_port.h"
#include "tests/harness/wait_until.h"

#include <csignal>
#include <random>

namespace
{

/// Whether a signal that was sent to a process is still pending.
bool has_pending_signal(pid_t pid, int signal_number)
{
    const std::uint64_t bit = std::uint64_t{1} << (signal_number - 1);
    for (const std::string& line : read_lines("/proc/" + std::to_string(pid) + "/status"))
    {
        const bool is_mask = line.rfind("SigPnd:", 0) == 0 || line.rfind("ShdPnd:", 0) == 0;
        if (is_mask && (std::stoull(line.substr(7), nullptr, 16) & bit) != 0)
            return true;
    }
    return false;
}

class HostSignals : public HostTest
{
protected:
    /// Sends a signal and expects that the process ends by it cleanly within two seconds.
    void expect_orderly_end(CHILD_PROCESS& child, int signal_number)
    {
        const STOPWATCH since_signal;
        child.send_signal(signal_number);
        const auto ended = child.wait(long_enough);
        const MEASURED_TIME taken = since_signal.elapsed();
        ASSERT_TRUE(ended) << child.output();
        EXPECT_TRUE(taken.within(2s));
        EXPECT_EQ(ended->signal, signal_number) << child.output();
        output = child.output();
    }

    /// A run whose first installer creates the file "running" and then runs on, at most until the
    /// test removes the file; it executes `preparation` first.
    CHILD_SETUP setup_with_installer(const std::string& preparation)
    {
        builder.component("a").content("#!/bin/sh\n" + preparation + "\n: > '" +
                                       (dir / "running").string() + "'\nwhile [ -e '" +
                                       (dir / "running").string() + "' ]; do sleep 0.05; done\n");
        builder.component("b").content(install_script());
        publish();
        return setup(run_arguments({"--install-dir", installed(), "--accept-eula"}));
    }

    /// Makes an installer ignore requests to end, and stores its process ID for the test.
    std::string stubborn_installer() const
    {
        return "trap '' INT TERM\necho $$ > '" + (dir / "installer").string() + "'";
    }

    pid_t installer() const { return std::stoi(read_file(dir / "installer")); }

    bool installer_is_running() const { return ::kill(installer(), 0) == 0; }

    /// Also if nobody has collected its exit status yet.
    bool installer_has_ended() const
    {
        std::ifstream state("/proc/" + std::to_string(installer()) + "/stat");
        std::string line;
        std::getline(state, line);
        return line.empty() || line.find(") Z ") != std::string::npos;
    }

    /// It is in its own process group, which outlives the host's.
    void end_installer() const
    {
        if (installer_is_running())
            ::kill(-installer(), SIGKILL);
    }

    std::uintmax_t size_of(const std::string& name) const { return size_of_file(dir / name); }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir / name); }
};

}

TEST_F(HostSignals, EndTheConnectionTest)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    std::size_t requests = 0;
    for (const int signal_number : {SIGINT, SIGTERM})
    {
        CHILD_PROCESS child(setup(run_arguments()));
        ASSERT_TRUE(server.wait_for_requests("/test.txt", ++requests, long_enough));
        expect_orderly_end(child, signal_number);
        expect_log_kept();
        EXPECT_FALSE(output_holds("Internet connection cannot be established"));
        EXPECT_FALSE(output_holds("Platform selected"));
    }
}

TEST_F(HostSignals, EndConnectingToAServerThatDoesNotAnswer)
{
    const UNANSWERING_PORT silent;
    builder.component("one").pattern_content(3000, 1);
    builder.download_url(silent.url(""));
    publish();
    for (const int signal_number : {SIGINT, SIGTERM})
    {
        CHILD_PROCESS child(setup(run_arguments()));
        ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough));
        expect_orderly_end(child, signal_number);
        EXPECT_TRUE(output_holds("\nDownload stopped\n"));
        expect_log_kept();
    }
    builder.test_file(silent.url(""));
    publish();
    CHILD_PROCESS child(setup(run_arguments()));
    ASSERT_TRUE(child.wait_for_output("Testing internet connection ...", long_enough));
    expect_orderly_end(child, SIGTERM);
    expect_log_kept();
}

TEST_F(HostSignals, EndTheHostDuringStartup)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    std::mt19937 random(7);
    std::uniform_int_distribution<int> delay(0, 60);
    for (int i = 0; i < 20; ++i)
    {
        CHILD_PROCESS child(setup(run_arguments()));
        // The signal is sent at a random moment of the startup.
        EXPECT_FALSE(child.wait(std::chrono::milliseconds(delay(random))));
        expect_orderly_end(child, i % 2 == 0 ? SIGTERM : SIGINT);
        expect_nothing_left_behind();
    }
    EXPECT_FALSE(exists("dl/one.run"));
}

TEST_F(HostSignals, EndAStandaloneConnectionTest)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_after(1)});
    CHILD_PROCESS child(setup({"--test-download"}));
    ASSERT_TRUE(server.wait_for_requests("/test.txt", 1, long_enough));
    expect_orderly_end(child, SIGTERM);
}

TEST_F(HostSignals, EndTransfersAndKeepPartialFiles)
{
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP})
        for (const FAULT& fault : {FAULT::trickle(1000, 20ms), FAULT::stall_after(5000)})
        {
            std::filesystem::remove_all(dir / "dl");
            builder.component("one").pattern_content(3'000'000, 1);
            publish();
            server.set_faults("/one.run", {fault});
            CHILD_PROCESS child(setup(run_arguments()));
            ASSERT_TRUE(wait_until([this] { return size_of("dl/one.run") >= 4000; }));
            expect_orderly_end(child, signal_number);
            EXPECT_TRUE(output_holds("\nDownload stopped\n"));
            const std::string bytes = dir.read("dl/one.run");
            EXPECT_GE(bytes.size(), 4000U);
            EXPECT_EQ(bytes, read_file(builder.file("one").path).substr(0, bytes.size()));
            expect_log_kept();
            EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos);
        }
}

#if !defined(__SANITIZE_THREAD__)
// The thread sanitizer delays a signal while its thread sleeps in a library that is not built with
// the sanitizer, as the main thread does here while a worker hashes.
TEST_F(HostSignals, EndTheHashingOfALargeFile)
{
    builder.component("one").pattern_content(1000, 1).raw_key("size", "20000000000");
    publish();
    dir.write("dl/one.run", "");
    std::filesystem::resize_file(dir / "dl/one.run", 20'000'000'000); // a hole
    for (const int signal_number : {SIGINT, SIGTERM})
    {
        CHILD_PROCESS child(setup(run_arguments({"--bypass"})));
        ASSERT_TRUE(child.wait_for_output("Checking file integrity ...", long_enough));
        expect_orderly_end(child, signal_number);
        EXPECT_TRUE(output_holds("\nDownload stopped\n"));
        expect_log_kept();
    }
    EXPECT_EQ(size_of("dl/one.run"), 20'000'000'000U);
}

TEST_F(HostSignals, EndTheHashingOfALargeFileWithoutANetwork)
{
    constexpr std::uint64_t size = 20'000'000'000;
    builder.component("a").content("x").raw_key("size", std::to_string(size));
    publish();
    dir.make_dir("dl");
    dir.write("dl/a.run", "");
    std::filesystem::resize_file(dir / "dl/a.run", size); // sparse
    CHILD_PROCESS child(setup(run_arguments({"--offline"})));
    ASSERT_TRUE(child.wait_for_output("Checking file integrity ...", long_enough));
    expect_orderly_end(child, SIGINT);
    EXPECT_TRUE(output_holds("Checking file integrity ...\nVerification stopped\n")) << output;
    expect_log_kept();
}

TEST_F(HostSignals, EndTheHashingOfALargeFileBeforeItsInstallation)
{
    constexpr std::uint64_t size = 4ULL << 30;
    builder.component("a").content("#!/bin/sh\ntouch " + downloads() + "/b.run\n: > '" +
                                   (dir / "running").string() + "'\n");
    builder.component("b")
        .pattern_content(1000, 1)
        .raw_key("size", std::to_string(size))
        .key("md5sum", "c9a5a6878d97b48cc965c1e41859f034"); // of so many zeros
    publish();
    dir.write("dl/b.run", "");
    std::filesystem::resize_file(dir / "dl/b.run", size); // a hole
    CHILD_PROCESS child(
        setup(run_arguments({"--bypass", "--install-dir", installed(), "--accept-eula"})));
    ASSERT_TRUE(child.wait_for_output("Do install ...", 300s)) << child.output();
    ASSERT_TRUE(wait_until([this] { return temporary_log_holds(" returned 0: "); }));
    ASSERT_TRUE(exists("running"));
    expect_orderly_end(child, SIGTERM);
    EXPECT_FALSE(output_holds("Installation"));
    EXPECT_FALSE(output_holds("has changed"));
    expect_log_kept();
}
#endif

TEST_F(HostSignals, EndTheWaitForARetry)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::status(503)});
    for (const int signal_number : {SIGINT, SIGTERM})
    {
        CHILD_PROCESS child(setup(run_arguments()));
        ASSERT_TRUE(child.wait_for_output("A\x1b[2K\rStart download ...", long_enough));
        expect_orderly_end(child, signal_number);
        EXPECT_EQ(output.substr(output.size() - 36), "Start download ...\nDownload stopped\n");
        expect_log_kept();
    }
}

TEST_F(HostSignals, ArePassedOnToARunningInstaller)
{
    CHILD_PROCESS child(setup_with_installer("trap 'echo caught; exit 9' TERM"));
    ASSERT_TRUE(wait_until([this] { return exists("running"); }));
    expect_orderly_end(child, SIGTERM);
    expect_log_kept();
    EXPECT_NE(log().find(" returned 9: "), std::string::npos) << log();
    EXPECT_NE(log().find("caught\n"), std::string::npos) << log();
    EXPECT_FALSE(std::filesystem::exists(dir / "inst/install_order"));
    EXPECT_FALSE(output_holds("Installation"));
}

TEST_F(HostSignals, FromTheTerminalReachTheInstallerOnce)
{
    const std::string caught = (dir / "caught").string();
    CHILD_SETUP terminal =
        setup_with_installer("trap 'echo caught >> " + caught + "; sleep 0.3; exit 9' INT");
    terminal.terminal = CHILD_TERMINAL{};
    CHILD_PROCESS child(terminal);
    ASSERT_TRUE(wait_until([this] { return exists("running"); }));
    child.type("\x03");
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->signal, SIGINT);
    EXPECT_EQ(read_file(caught), "caught\n");
    EXPECT_NE(log().find(" returned 9: "), std::string::npos) << log();
    EXPECT_FALSE(exists("inst/install_order"));
}

TEST_F(HostSignals, EndAnInstallerThatIgnoresThem)
{
    CHILD_PROCESS child(setup_with_installer(stubborn_installer()));
    ASSERT_TRUE(wait_until([this] { return exists("running"); }));
    expect_orderly_end(child, SIGINT);
    EXPECT_NE(log().find("It was ended by signal 9"), std::string::npos);
    EXPECT_FALSE(installer_is_running());
    EXPECT_FALSE(exists("inst/install_order"));
    expect_log_kept();
}

TEST_F(HostSignals, EndTheProcessImmediatelyTheSecondTime)
{
    CHILD_PROCESS child(setup_with_installer(stubborn_installer()));
    ASSERT_TRUE(wait_until([this] { return exists("running"); }));
    child.send_signal(SIGINT);
    // Two pending signals of the same kind would be merged into one.
    ASSERT_TRUE(wait_until([&child] { return !has_pending_signal(child.pid(), SIGINT); }));
    const STOPWATCH since_signal;
    child.send_signal(SIGINT);
    const auto ended = child.wait(long_enough);
    const MEASURED_TIME taken = since_signal.elapsed();
    ASSERT_TRUE(ended);
    EXPECT_TRUE(taken.within(700ms));
    EXPECT_EQ(ended->signal, SIGINT);
    EXPECT_TRUE(wait_until([this] { return installer_has_ended(); }));
    // Only the log is left, not the installer's output.
    EXPECT_EQ(temporary_files_in(dir / "tmp").size(), 1U);
    EXPECT_TRUE(temporary_log_holds("Welcome to the "));
    end_installer();
}

TEST_F(HostSignals, ThatKillTheHostEndItsInstaller)
{
    CHILD_PROCESS child(setup_with_installer(stubborn_installer()));
    ASSERT_TRUE(wait_until([this] { return exists("running"); }));
    child.send_signal(SIGKILL);
    ASSERT_TRUE(child.wait(long_enough));
    EXPECT_TRUE(wait_until([this] { return installer_has_ended(); }));
    end_installer();
}

TEST_F(HostSignals, ThatTheHostsParentIgnoresStayIgnored)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(100, 50ms)});
    CHILD_SETUP nohup = setup(run_arguments());
    nohup.program = "/bin/sh";
    nohup.arguments = {"-c",       "trap '' HUP INT; exec \"$@\"", "sh", host(), "--download-dir",
                       downloads()};
    CHILD_PROCESS child(nohup);
    ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough));
    child.send_signal(SIGHUP);
    child.send_signal(SIGINT);
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(ended->exited_with(0));
    EXPECT_NE(child.output().find("\nDownload successful\n"), std::string::npos);
}
