#include "tests/integration/host_fixture.h"

#include "tests/harness/screen_model.h"
#include "tests/harness/wait_until.h"

#include <algorithm>
#include <csignal>
#include <tuple>

namespace
{

using LINES = std::vector<std::string>;

constexpr CHILD_TERMINAL usual{24, 80};
constexpr CHILD_TERMINAL small{10, 40};
constexpr CHILD_TERMINAL big{50, 200};

/// The console host on a terminal, and what the terminal shows.
class HostTerminal : public HostTest
{
protected:
    void start(CHILD_TERMINAL size)
    {
        CHILD_SETUP child = setup(run_arguments());
        child.terminal = size;
        process = std::make_unique<CHILD_PROCESS>(child);
        screen = SCREEN_MODEL(size.rows, size.columns);
    }

    /// Also between two redraws, so that the screen shows a complete one.
    void resize(CHILD_TERMINAL size)
    {
        const std::size_t length = process->resize(size);
        show(process->output().substr(0, length));
        screen.resize(size.rows, size.columns);
    }

    /// Shows what has been written since the last call.
    void show(const std::string& written)
    {
        screen.write(std::string_view(written).substr(shown));
        shown = written.size();
    }

    void show_all() { show(process->output()); }

    /// Waits until the text was written that many times since the last call of `show`.
    void wait_for(const std::string& text, int times = 1)
    {
        const auto is_there = [&](const std::string& written, const std::string&)
        {
            std::size_t at = shown;
            for (int i = 0; i < times && at != std::string::npos; ++i)
            {
                at = written.find(text, at);
                at = at == std::string::npos ? at : at + text.size();
            }
            return at != std::string::npos;
        };
        ASSERT_TRUE(process->wait_for(is_there, long_enough)) << process->output();
    }

    std::unique_ptr<CHILD_PROCESS> process;
    SCREEN_MODEL screen;
    std::size_t shown = 0; ///< bytes of the output
};

}

TEST_F(HostTerminal, KeepsTheReasonsWhenAWaitIsInterrupted)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::status(503)});
    start(big);
    wait_for("Retrying #1 after 5 secs ...");
    process->type("\x03");
    const auto ended = process->wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->signal, SIGINT);
    show_all();
    const LINES lines = screen.from("Start download ...");
    ASSERT_GE(lines.size(), 9U);
    EXPECT_EQ(LINES(lines.begin(), lines.begin() + 8),
              (LINES{"Start download ...", "Download progress:",
                     "One: Error: The requested URL returned error: 503, Httpcode: 503, Curlcode: "
                     "22",
                     "Total downloaded: [0.00 B / 2.93 KB]", "", "", "Checking file integrity ...",
                     "Download failed"}));
    EXPECT_EQ(screen.count("Retrying #1 after 5 secs ..."), 1U);
    EXPECT_EQ(lines.back(), "Download stopped");
}

using RESIZED_RUN = std::tuple<int, CHILD_TERMINAL, CHILD_TERMINAL>;

class HostTerminalResized : public HostTerminal, public ::testing::WithParamInterface<RESIZED_RUN>
{
protected:
    void expect_one_block(CHILD_TERMINAL size)
    {
        EXPECT_EQ(screen.count("Start download ..."), 1U);
        EXPECT_EQ(screen.count("Total downloaded:"), 1U);
        EXPECT_LE(screen.count("more waiting"), 1U);
        EXPECT_LE(screen.screen().size(), size.rows);
        const LINES now = screen.lines();
        EXPECT_EQ(now.front(), "Testing internet connection ...");
    }
};

std::string name_of(const ::testing::TestParamInfo<RESIZED_RUN>& info)
{
    const auto& [count, first, second] = info.param;
    const auto text = [](const CHILD_TERMINAL& each)
    { return std::to_string(each.columns) + "x" + std::to_string(each.rows); };
    return std::to_string(count) + "On" + text(first) + "Then" + text(second);
}

TEST_P(HostTerminalResized, LeavesNoStaleBlock)
{
    const auto& [count, first, second] = GetParam();
    for (int i = 0; i < count; ++i)
        builder.component("part" + std::to_string(i))
            .title("Component " + std::to_string(i))
            .pattern_content(100'000, 1);
    publish();
    for (int i = 1; i < count; ++i)
        server.set_faults("/part" + std::to_string(i) + ".run", {FAULT::trickle(10, 100ms)});
    server.set_faults("/part0.run", {FAULT::status(404)});

    start(first);
    wait_for("Total downloaded:", 2);
    resize(first);
    expect_one_block(first);
    resize(second);
    wait_for("Total downloaded:", 2);
    resize(second);
    EXPECT_EQ(screen.count("Start download ..."), 1U);
    EXPECT_EQ(screen.count("Total downloaded:"), 1U);
    EXPECT_FALSE(screen.from("Component 0: Error: ").empty());
    resize(big);
    wait_for("Total downloaded:", 2);
    resize(big);
    expect_one_block(big);
    EXPECT_EQ(screen.count("Component 0:"), 1U);

    // A signal right after the one that continues the child is delivered to any of its threads. The
    // thread sanitizer never passes it on if that is a waiting thread of oneTBB.
    wait_for("Total downloaded:", 2);
    process->send_signal(SIGTERM);
    ASSERT_TRUE(process->wait(long_enough));
    show_all();
    expect_one_block(big);
    EXPECT_EQ(screen.from("Download stopped"), LINES{"Download stopped"});
}

INSTANTIATE_TEST_SUITE_P(Sizes, HostTerminalResized,
                         ::testing::Combine(::testing::Values(3, 60),
                                            ::testing::Values(usual, small, big),
                                            ::testing::Values(usual, small)),
                         name_of);
