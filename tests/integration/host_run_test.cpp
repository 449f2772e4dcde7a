#include "tests/integration/host_fixture.h"

#include "tests/harness/nginx_server.h"
#include "tests/harness/proxy_server.h"
#include "tests/harness/screen_model.h"
#include "tests/harness/wait_until.h"

#include <algorithm>
#include <csignal>
#include <random>

namespace
{

using LINES = std::vector<std::string>;

class HostRun : public HostTest
{
protected:
    std::string content_of(const std::string& name) const
    {
        return read_file(builder.file(name).path);
    }
};

}

TEST_F(HostRun, ReportsEachStepFromTheTestToTheResult)
{
    builder.component("one").title("The One").pattern_content(3000, 1);
    builder.component("two").title("The Two").pattern_content(4000, 2).selected(false);
    publish();
    run(run_arguments());
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(output.find("Testing internet connection ... \n"
                          "INFO: Proxy server: , port:\n"
                          "Test download -> success\n"
                          "Platform selected: " +
                          tested_platform() +
                          "\n"
                          "Components selected:\n"
                          "  one\n"
                          "Total selected components size: 0.00 GB\n"
                          "Already downloaded size: 0.00 GB\n"
                          "Total download size: 0.00 GB\n"
                          "Download dir: " +
                          downloads() +
                          "\n"
                          "Auto install: off\n"
                          "Number of parallel downloads: 4\n"
                          "Retry duration: 60 (minutes)\n"
                          "Start download ...\n"
                          "Download progress:\n"
                          "The One: [...]\n\n\n\n"
                          "\x1b[4A\x1b[2K\rThe One: ["),
              0U)
        << output;
    SCREEN_MODEL screen;
    screen.write(output);
    const LINES shown = screen.from("Start download");
    EXPECT_EQ(LINES(shown.begin(), shown.begin() + 4),
              (LINES{"Start download ...", "Download progress:", "The One: [3000 / 3000] 100%",
                     "Total downloaded: [2.93 KB / 2.93 KB]"}));
    EXPECT_EQ(LINES(shown.end() - 2, shown.end()),
              (LINES{"Checking file integrity ...", "Download successful"}));
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/two.run"));
}

TEST_F(HostRun, KeepsTheRateLimit)
{
    for (int i = 1; i <= 4; ++i)
        builder.component("part" + std::to_string(i))
            .pattern_content(768 * 1024, static_cast<std::uint64_t>(i));
    publish();
    const auto before = std::chrono::steady_clock::now();
    run(run_arguments({"--limit-rate", "1M"}));
    const auto taken = std::chrono::steady_clock::now() - before;
    EXPECT_TRUE(output_holds("\nRate limit: 1.00 MB/sec\nStart download ...\n")) << output;
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_GE(taken, 2700ms) << "3 MiB at 1 MiB per second, less a tenth";
}

TEST_F(HostRun, FetchesNothingTwice)
{
    builder.component("one").pattern_content(300'000, 1);
    builder.component("two").pattern_content(400'000, 2);
    publish();
    run(run_arguments());
    const std::uint64_t first = server.body_bytes("/one.run") + server.body_bytes("/two.run");
    EXPECT_EQ(first, 700'000U);
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n"));
    EXPECT_LT(server.body_bytes("/one.run") + server.body_bytes("/two.run"), first + 200);
}

TEST_F(HostRun, ReplacesACorruptFileOfTheLastRunEvenWithoutRetries)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(4000, 2);
    publish();
    server.set_faults("/one.run", {FAULT::other_body(std::string(3000, 'x')).times(1)});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nDownload failed. Failed to write data")) << output;
    EXPECT_EQ(dir.read("dl/one.run"), std::string(3000, 'x'));

    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
    EXPECT_NE(log().find("[info] Deleting corrupted components...\n"), std::string::npos);
    EXPECT_EQ(server.request_count("/two.run"), 1U);
}

TEST_F(HostRun, UsesTheGivenProxy)
{
    const PROXY_SERVER gate(PROXY_ENGINE::tinyproxy, "ada", "s3cret");
    const std::string port = std::to_string(gate.port());
    builder.component("one").pattern_content(300'000, 1);
    publish();
    const ARGUMENTS proxy{"--proxy", "http://" + gate.host() + ":" + port};
    ARGUMENTS with_user = run_arguments(proxy);
    with_user.insert(with_user.end(), {"--proxy-user", "ada:s3cret"});
    run(with_user);
    EXPECT_TRUE(
        output_holds("INFO: Proxy server: http://" + gate.host() + ", port:" + port + "\n"));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_TRUE(gate.wait_for_access("/one.run", long_enough));
    EXPECT_EQ(log().find("s3cret"), std::string::npos);

    run(run_arguments(proxy));
    EXPECT_TRUE(output_holds("Verify your proxy settings.\nDetails:\n")) << output;
    EXPECT_TRUE(output_holds("Httpcode: 407")) << output;
}

TEST_F(HostRun, IncludesDependenciesAndParents)
{
    builder.component("parent").selected(false);
    builder.component("dependency").selected(false);
    builder.component("named").selected(false).parent("parent").depends_on({"dependency"});
    builder.component("other");
    publish();
    run(run_arguments({"--components", "named"}));
    EXPECT_TRUE(output_holds("Download progress:\n"));
    for (const char* file : {"named.run", "dependency.run", "parent.run"})
        EXPECT_TRUE(std::filesystem::exists(dir / "dl" / file)) << file;
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/other.run"));
    EXPECT_NE(log().find("Add dependent component: dependency\n"), std::string::npos);
    EXPECT_NE(log().find("Add parent component: parent\n"), std::string::npos);
}

TEST_F(HostRun, ContinuesAfterAFailureAndRedrawsOverIt)
{
    builder.component("one").title("One").pattern_content(300'000, 1);
    builder.component("two").title("Two").pattern_content(3000, 2);
    publish();
    server.set_faults("/one.run", {FAULT::cut_after(100'000).times(1)});
    CHILD_SETUP child = setup(run_arguments());
    child.terminal = CHILD_TERMINAL{50, 160};
    CHILD_PROCESS process(child);
    ASSERT_TRUE(process.wait_for_output("Retrying #1 after 5 secs ...", long_enough));
    const auto ended = process.wait(long_enough);
    ASSERT_TRUE(ended);
    SCREEN_MODEL screen;
    screen.write(process.output());
    const LINES shown = screen.from("Retry duration");
    ASSERT_GE(shown.size(), 8U);
    EXPECT_EQ(LINES(shown.begin(), shown.begin() + 6),
              (LINES{"Retry duration: 60 (minutes)", "Start download ...",
                     "Download progress:", "One: [300000 / 300000] 100%", "Two: [3000 / 3000] 100%",
                     "Total downloaded: [295.90 KB / 295.90 KB]"}));
    EXPECT_EQ(LINES(shown.end() - 2, shown.end()),
              (LINES{"Checking file integrity ...", "Download successful"}));
    EXPECT_EQ(server.requests("/one.run").at(1).range(), "bytes=100000-");
    EXPECT_EQ(server.request_count("/two.run"), 1U);
}

TEST_F(HostRun, LeavesTheFailedAttemptOnTheScreenWhileItWaits)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::status(503)});
    CHILD_SETUP child = setup(run_arguments());
    child.terminal = CHILD_TERMINAL{50, 160};
    CHILD_PROCESS process(child);
    ASSERT_TRUE(process.wait_for_output("Retrying #1 after 5 secs ...\r\n\r\n", long_enough));
    SCREEN_MODEL screen;
    screen.write(process.output());
    EXPECT_EQ(
        screen.from("Start download"),
        (LINES{"Start download ...", "Download progress:",
               "One: Error: The requested URL returned error: 503, Httpcode: 503, Curlcode: 22",
               "Total downloaded: [0.00 B / 2.93 KB]", "", "", "Checking file integrity ...",
               "Download failed",
               "One (" + server.url("/one.run") +
                   "): the server answered with HTTP status 503 (server error)",
               "Retrying #1 after 5 secs ..."}));
}

TEST_F(HostRun, NeverDrawsAboveItsBlock)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    builder.component("two").title("Two").pattern_content(3000, 2);
    publish();
    server.set_faults("/one.run", {FAULT::status(503).times(1), FAULT::trickle(1500, 1000ms)});
    server.set_faults("/two.run", {FAULT::trickle(1000, 700ms)});
    CHILD_SETUP child = setup(run_arguments());
    child.terminal = CHILD_TERMINAL{50, 160};
    CHILD_PROCESS process(child);
    ASSERT_TRUE(process.wait_for_output("Download successful", long_enough)) << process.output();
    ASSERT_TRUE(process.wait(long_enough));
    const std::string all = process.output();
    const std::size_t first_draw = all.find("Start download ...");
    ASSERT_NE(first_draw, std::string::npos);
    SCREEN_MODEL screen;
    screen.write(all.substr(0, first_draw));
    LINES above = screen.lines();
    above.pop_back();
    ASSERT_EQ(above.back(), "Retry duration: 60 (minutes)");
    int draws = 0;
    for (std::size_t at = first_draw; at < all.size();)
    {
        const std::size_t next = std::min(all.find('\x1b', at + 1), all.size());
        screen.write(all.substr(at, next - at));
        at = next;
        ++draws;
        LINES now = screen.lines();
        ASSERT_GT(now.size(), above.size());
        now.resize(above.size());
        ASSERT_EQ(now, above) << "after draw " << draws;
    }
    EXPECT_GE(draws, 8);
    const LINES shown = screen.from("Retry duration");
    ASSERT_GE(shown.size(), 5U);
    EXPECT_EQ(LINES(shown.begin() + 1, shown.begin() + 5),
              (LINES{"Start download ...", "Download progress:", "One: [3000 / 3000] 100%",
                     "Two: [3000 / 3000] 100%"}));
    for (const char* once : {"Start download ...", "Download progress:", "Download successful"})
        EXPECT_EQ(std::count(shown.begin(), shown.end(), once), 1) << once;
}

TEST_F(HostRun, FetchesAsManyFilesAtATimeAsConfigured)
{
    for (int i = 0; i < 8; ++i)
        builder.component("part" + std::to_string(i)).pattern_content(4000, 1);
    for (const auto& [arguments, peak] : std::vector<std::pair<std::vector<std::string>, unsigned>>{
             {{}, 4}, {{"--parallel-downloads", "1"}, 1}, {{"--parallel-downloads", "6"}, 6}})
    {
        FAULT_SERVER counting;
        builder.download_url(counting.url(""));
        publish();
        counting.serve_directory(dir / "release");
        for (int i = 0; i < 8; ++i)
            counting.set_faults("/part" + std::to_string(i) + ".run", {FAULT::trickle(1000, 60ms)});
        std::filesystem::remove_all(dir / "dl");
        run(run_arguments(arguments));
        EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
        EXPECT_EQ(counting.peak_requests(), peak);
    }
}

TEST_F(HostRun, MakesFetchedInstallersExecutable)
{
    builder.component("one");
    builder.component("two").filename("two.qdz");
    publish();
    run(run_arguments());
    EXPECT_EQ(std::filesystem::status(dir / "dl/one.run").permissions(),
              std::filesystem::perms::owner_all);
    EXPECT_EQ(std::filesystem::status(dir / "dl/two.qdz").permissions() &
                  std::filesystem::perms::owner_exec,
              std::filesystem::perms::none);
}

TEST_F(HostRun, ResumesWhereAnEarlierRunWasStopped)
{
    builder.component("one").pattern_content(300'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::stall_after(100'000).times(1)});
    CHILD_PROCESS first(setup(run_arguments()));
    // Received bytes are shown once they are on disk, up to a second later.
    ASSERT_TRUE(first.wait_for_output("[100000 / 300000] 33%", long_enough)) << first.output();
    if (tested_platform() == "windows")
        first.send_signal_to_group(SIGKILL);
    else
        first.send_signal(SIGTERM);
    ASSERT_TRUE(first.wait(long_enough));
    ASSERT_EQ(std::filesystem::file_size(dir / "dl/one.run"), 100'000U);
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(server.requests("/one.run").at(1).range(), "bytes=100000-");
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
}

TEST_F(HostRun, DoesNotRetryWithADurationOfZero)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::cut_after(100)});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds("\nDownload failed\nOne (" + server.url("/one.run") +
                             "): transfer closed with 2900 bytes remaining to read\n"
                             "Download failed. Exceeded retry limit. Process aborted.\n"))
        << output;
    EXPECT_FALSE(output_holds("Retrying"));
    EXPECT_EQ(server.request_count("/one.run"), 1U);
}

TEST_F(HostRun, GivesUpOnAMissingFileAfterTheThirdAttempt)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::status(404)});
    run(run_arguments());
    EXPECT_EQ(server.request_count("/one.run"), 3U);
    EXPECT_TRUE(output_holds("Retrying #1 after 5 secs ...\n\n"));
    EXPECT_TRUE(output_holds("Retrying #2 after 10 secs ...\n\n"));
    EXPECT_FALSE(output_holds("Retrying #3"));
    const std::string end = "Download failed. Error 404: File not found.\nOne (" +
                            server.url("/one.run") +
                            "): the server answered with HTTP status 404 (file not found)\n"
                            "Error 404: File not found.\n" +
                            host_path(log_path()) + "\n";
    EXPECT_EQ(output.substr(output.size() - end.size()), end);
}

TEST_F(HostRun, InstallsNothingAfterGivingUp)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::status(500)});
    run(run_arguments({"--retry-duration", "0", "--install-dir", installed(), "--accept-eula"}));
    EXPECT_FALSE(output_holds("Do install"));
    EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
}

TEST_F(HostRun, EndsIfTheConnectionTestFails)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::status(500)});
    run(run_arguments());
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds("\nInternet connection cannot be established. "));
    EXPECT_FALSE(output_holds("Platform selected"));
    EXPECT_EQ(server.request_count("/one.run"), 0U);
}

TEST_F(HostRun, LeavesAFileToAnotherRunThatIsFetchingIt)
{
    builder.component("one").title("One").pattern_content(300'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(1000, 10ms).times(1)});
    CHILD_PROCESS first(setup(run_arguments()));
    ASSERT_TRUE(server.wait_for_body_bytes("/one.run", 10'000, long_enough));
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nOne (" + server.url("/one.run") + "): Cannot write " +
                             download("one.run") + ": another process is writing it; "))
        << output;
    const auto ended = first.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_NE(with_plain_line_ends(first.output()).find("\nDownload successful\n"),
              std::string::npos);
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
}

TEST_F(HostRun, ResumesAfterEveryKill)
{
    builder.component("one").pattern_content(6'000'000, 1);
    builder.component("two").pattern_content(2'000'000, 2);
    NGINX_OPTIONS options;
    options.root = dir / "release";
    options.bytes_per_second = 2'000'000;
    const NGINX_SERVER origin(options);
    builder.download_url(origin.url(""));
    publish();
    std::mt19937 random(20);
    std::uniform_int_distribution<int> delay(0, 250);
    std::uint64_t kept = 0;
    for (int kill = 0; kill < 20; ++kill)
    {
        CHILD_PROCESS child(setup(run_arguments()));
        child.wait_for_output("Download progress:", long_enough);
        child.wait(std::chrono::milliseconds(delay(random)));
        child.send_signal(SIGKILL);
        ASSERT_TRUE(child.wait(long_enough));
        for (const char* name : {"one", "two"})
        {
            const std::filesystem::path path = dir / "dl" / (name + std::string(".run"));
            if (!std::filesystem::exists(path))
                continue;
            const std::string bytes = read_file(path);
            EXPECT_EQ(bytes, content_of(name).substr(0, bytes.size()))
                << name << " at kill " << kill;
            kept = std::max<std::uint64_t>(kept, bytes.size());
        }
    }
    EXPECT_GT(kept, 100'000U);
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
    EXPECT_EQ(dir.read("dl/two.run"), content_of("two"));
}

TEST_F(HostRun, ContinuesAFileThatIsFetchedInPiecesAfterEachKill)
{
    builder.component("one").pattern_content(80'000'000, 1);
    publish();
    server.set_etag("/one.run", "\"v1\"");
    server.set_faults("/one.run", {FAULT::trickle(1'000'000, 50ms)});
    const std::string content = content_of("one");
    std::mt19937 random(7);
    std::uniform_int_distribution<int> delay(0, 800);
    const std::filesystem::path pieces = dir / "dl" / ".pieces";
    bool had_pieces = false;
    for (int kill = 0; kill < 6; ++kill)
    {
        CHILD_PROCESS child(setup(run_arguments()));
        child.wait_for_output("Download progress:", long_enough);
        child.wait(std::chrono::milliseconds(delay(random)));
        child.send_signal(SIGKILL);
        ASSERT_TRUE(child.wait(long_enough));
        had_pieces = had_pieces || std::filesystem::exists(pieces);
        if (!std::filesystem::exists(dir / "dl" / "one.run"))
            continue;
        const std::string bytes = dir.read("dl/one.run");
        EXPECT_TRUE(bytes == content.substr(0, bytes.size())) << "at kill " << kill;
    }
    EXPECT_TRUE(had_pieces);
    server.set_faults("/one.run", {});
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_TRUE(dir.read("dl/one.run") == content);
    EXPECT_FALSE(std::filesystem::exists(pieces));
}

TEST_F(HostRun, ReportsAFullDisk)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(1024 * 1024);
    builder.component("one").title("One").pattern_content(5'000'000, 1);
    publish();
    const std::string target = disk.path().string();
    run({"--download-dir", target, "--bypass", "--retry-duration", "0"});
    EXPECT_TRUE(output_holds("One: Error: Cannot write " + target +
                             "/one.run: No space left on device, Httpcode: 200, Curlcode: 23\n"))
        << output;
    EXPECT_TRUE(output_holds(
        "\nDownload failed. Failed to write data to the destination. Ensure you "
        "have sufficient disk space.\nOne (" +
        server.url("/one.run") + "): Cannot write " + target +
        "/one.run: No space left on device; " +
        std::to_string(5'000'000 - std::filesystem::file_size(disk.path() / "one.run")) +
        " bytes are needed, 0 are free\n"))
        << output;
}

TEST_F(HostRun, RefetchesACorruptedFile)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::other_body(std::string(3000, 'x')).times(1)});
    run(run_arguments());
    EXPECT_TRUE(output_holds("Retrying #1 after 5 secs ...\n"));
    EXPECT_TRUE(output_holds("\nDownload successful\n"));
    EXPECT_EQ(server.request_count("/one.run"), 2U);
    EXPECT_EQ(dir.read("dl/one.run"), content_of("one"));
}

TEST_F(HostRun, SleepsBetweenProgressPasses)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(600, 1000ms)});
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n"));
    EXPECT_LT(result.processor_time, 1500ms);
}
