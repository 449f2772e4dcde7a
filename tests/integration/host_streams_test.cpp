#include "tests/integration/host_fixture.h"

#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <csignal>
#include <set>
#include <system_error>

namespace
{

using STREAMS = std::set<int>;

/// Programs started without standard streams, as by "<&- >&-" in a shell or by a careless daemon.
class HostStreams : public HostTest, public ::testing::WithParamInterface<STREAMS>
{
protected:
    CHILD_SETUP without_streams(CHILD_SETUP child) const
    {
        child.closed_streams = GetParam();
        return child;
    }

    CHILD_SETUP tool(const ARGUMENTS& arguments) const
    {
        return without_streams({tested_build_dir() / "bin/vinst_release", arguments});
    }

    /// Expects that the program ends by itself with this exit code.
    static void expect_exit(const CHILD_SETUP& setup, int exit_code)
    {
        CHILD_PROCESS child(setup);
        const auto ended = child.wait(30s);
        ASSERT_TRUE(ended) << "the program did not end";
        EXPECT_TRUE(ended->exited_with(exit_code)) << ended->exit_code << ' ' << ended->signal;
    }

    static void expect_end_by(CHILD_PROCESS& child, int signal_number)
    {
        child.send_signal(signal_number);
        const STOPWATCH since_signal;
        const auto ended = child.wait(long_enough);
        ASSERT_TRUE(ended) << "the program did not end";
        EXPECT_TRUE(since_signal.within(2s));
        EXPECT_EQ(ended->signal, signal_number);
    }

    void wait_for_bytes(const std::string& name, std::uintmax_t count) const
    {
        std::error_code error;
        const auto size = [&] { return std::filesystem::file_size(dir / name, error); };
        ASSERT_TRUE(wait_until([&] { return size() >= count && !error; }));
    }

    /// Waits until /proc shows that the process has a descriptor of that kind.
    static void wait_for_descriptor(pid_t process, const std::string& kind)
    {
        const auto has_it = [&]
        {
            std::error_code error;
            for (const auto& entry : std::filesystem::directory_iterator(
                     "/proc/" + std::to_string(process) + "/fd", error))
                if (target_of(entry.path()).rfind(kind, 0) == 0)
                    return true;
            return false;
        };
        ASSERT_TRUE(wait_until(has_it));
    }

    static std::string target_of(const std::filesystem::path& link)
    {
        std::error_code error;
        return std::filesystem::read_symlink(link, error).string();
    }

    static void expect_null_devices(pid_t process)
    {
        for (const int stream : GetParam())
            EXPECT_EQ(
                target_of("/proc/" + std::to_string(process) + "/fd/" + std::to_string(stream)),
                "/dev/null")
                << stream;
    }

    std::string fetched(const std::string& name) const { return dir.read("dl/" + name + ".run"); }
};

std::string name_of(const ::testing::TestParamInfo<STREAMS>& info)
{
    std::string name;
    for (const int stream : info.param)
        name += stream == 0 ? "Input" : stream == 1 ? "Output" : "Errors";
    return "Without" + name;
}

}

TEST_P(HostStreams, AreNotNeededForARun)
{
    // The name is printed with each progress block and exceeds the capacity of a pipe that is not
    // read.
    builder.component("one").pattern_content(300'000, 1).title(std::string(100'000, 'n'));
    publish();
    expect_exit(without_streams(setup(run_arguments())), 0);
    EXPECT_EQ(fetched("one"), read_file(builder.file("one").path));
    EXPECT_NE(log().find("[info] Download successful\n"), std::string::npos);
    EXPECT_EQ(log().find("Download progress:"), std::string::npos);
}

TEST_P(HostStreams, AreNotNeededForAStop)
{
    builder.component("one").pattern_content(3'000'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    CHILD_PROCESS child(without_streams(setup(run_arguments())));
    wait_for_bytes("dl/one.run", 4000);
    expect_null_devices(child.pid());
    expect_end_by(child, SIGTERM);
    EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos);
    EXPECT_EQ(fetched("one"), read_file(builder.file("one").path).substr(0, fetched("one").size()));
}

TEST_P(HostStreams, AreNotNeededByTheReleaseTool)
{
    dir.write("in/base.run", std::string(200'000, 'b'));
    const std::string description = dir.write("in/release.json", R"({
        "edition": "pro", "version": "5.2.0.31", "download_url": "http://dl.example/5.2",
        "components": [{ "name": "base", "platform": "linux", "file": "base.run",
                         "title": "Base", "selected": true }]})");
    CHILD_SETUP whole = tool({"make", description, (dir / "expected").string()});
    whole.closed_streams.clear();
    expect_exit(whole, 0);
    expect_exit(tool({"make", description, (dir / "made").string()}), 0);
    ASSERT_EQ(list_tree(dir / "made"), list_tree(dir / "expected"));
    for (const std::string& name : list_tree(dir / "expected"))
        EXPECT_EQ(dir.read("made/" + name), dir.read("expected/" + name)) << name;
    expect_exit(tool({"check", (dir / "made/manifest.json").string(), (dir / "made").string()}), 0);
}

TEST_P(HostStreams, AreNotNeededByAReleaseServer)
{
    CHILD_PROCESS child(tool({"serve", dir.path().string()}));
    wait_for_descriptor(child.pid(), "socket:");
    expect_null_devices(child.pid());
    child.send_signal(SIGTERM);
    const auto ended = child.wait(20s);
    ASSERT_TRUE(ended) << "the program did not end";
    EXPECT_TRUE(ended->exited_with(0)) << ended->signal;
}

TEST_P(HostStreams, AreNotNeededByTheScriptHelper)
{
    // Without input there is no request, and without output nothing can be written; the program
    // ends anyway.
    constexpr int bad_request = 2;
    expect_exit(without_streams({tested_build_dir() / "lib/vinst_pac"}), bad_request);
}

INSTANTIATE_TEST_SUITE_P(Each, HostStreams,
                         ::testing::Values(STREAMS{0}, STREAMS{1}, STREAMS{2}, STREAMS{0, 1},
                                           STREAMS{0, 2}, STREAMS{1, 2}, STREAMS{0, 1, 2}),
                         name_of);
