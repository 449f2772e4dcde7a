#include "install/vinst/console/vinst_terminal_view.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_component.h"
#include "tests/harness/screen_model.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace
{

using LINES = std::vector<std::string>;
using STATE = VINST_COMPONENT_PROGRESS::STATE;

/// The view on a terminal that shows "above" before it.
class TerminalView : public ::testing::Test
{
protected:
    TerminalView() { VINST_MESSAGES::instance().echo_to_console = true; }
    ~TerminalView() override { VINST_MESSAGES::destroy(); }

    void open(int rows, int columns)
    {
        size = {rows, columns};
        screen = SCREEN_MODEL(static_cast<std::size_t>(rows), static_cast<std::size_t>(columns));
        screen.write("above\n");
    }

    void resize(int rows, int columns)
    {
        size = {rows, columns};
        screen.resize(static_cast<std::size_t>(rows), static_cast<std::size_t>(columns));
    }

    void shown(const std::function<void()>& action)
    {
        ::testing::internal::CaptureStdout();
        action();
        screen.write(::testing::internal::GetCapturedStdout());
    }

    /// Starts an attempt to download that many components, "Component 0" and so on.
    void start_attempt(int count)
    {
        components.clear();
        progress.clear();
        for (int i = 0; i < count; ++i)
        {
            components.push_back(std::make_unique<VINST_COMPONENT>());
            progress.push_back({"Component " + QString::number(i), 0, 100, 0, {}, STATE::waiting});
        }
        VINST_COMPONENT_LIST list;
        for (const auto& component : components)
            list.push_back(component.get());
        shown([&] { view.show_attempt(list); });
    }

    void start(int count)
    {
        shown([&] { view.start(); });
        start_attempt(count);
    }

    void pass(quint64 delta = 0)
    {
        VINST_PROGRESS_TOTALS totals;
        totals.downloaded = 1024;
        totals.total = 2048;
        totals.received = totals.delta = delta;
        shown([&] { view.show_progress(progress, totals); });
    }

    void report_line(const std::string& line)
    {
        shown(
            [&]
            {
                view.show_reported_line(QString::fromStdString(line));
                report(line, false);
            });
    }

    void fail(std::size_t index)
    {
        progress[index].state = STATE::failed;
        progress[index].error_line =
            transfer_error_line(progress[index].name,
                                "The requested URL returned error: 503, and a proxy on the way "
                                "explained it at length",
                                503, 22);
    }

    /// No heading, line of totals or line about others is there twice, and the summary is intact.
    void expect_one_block()
    {
        EXPECT_EQ(screen.count("Start download ..."), 1U);
        EXPECT_EQ(screen.count("Download progress:"), 1U);
        EXPECT_EQ(screen.count("Total downloaded:"), 1U);
        EXPECT_LE(screen.count("more waiting"), 1U);
        EXPECT_EQ(screen.lines().front(), "above");
        EXPECT_LE(screen.screen().size(), static_cast<std::size_t>(size.rows));
    }

    VINST_TERMINAL_SIZE size;
    SCREEN_MODEL screen;
    std::vector<std::unique_ptr<VINST_COMPONENT>> components;
    std::vector<VINST_COMPONENT_PROGRESS> progress;
    VINST_TERMINAL_VIEW view{[this] { return size; }};
};

}

TEST_F(TerminalView, ShowsTheCompleteBlockWhereItFits)
{
    open(24, 80);
    start(2);
    for (int i = 0; i < 3; ++i)
        pass();
    EXPECT_EQ(screen.lines(), (LINES{"above", "Start download ...", "Download progress:",
                                     "Component 0: [0 / 100] 0%", "Component 1: [0 / 100] 0%",
                                     "Total downloaded: [1.00 KB / 2.00 KB]", "", "", ""}));
    expect_one_block();
}

TEST_F(TerminalView, ElidesAnErrorLineThatIsTooLong)
{
    open(24, 80);
    start(2);
    fail(1);
    for (int i = 0; i < 30; ++i)
        pass();
    expect_one_block();
    EXPECT_EQ(screen.from("Component 1").front(),
              "Component 1: Error: The requested URL returned error: 503, and a proxy on the w…");
}

TEST_F(TerminalView, ShowsWhatMattersOfABlockThatIsTooHigh)
{
    open(10, 40);
    start(60);
    fail(17);
    progress[3].state = progress[4].state = STATE::moving;
    progress[5].state = STATE::verified;
    for (int i = 0; i < 30; ++i)
        pass();
    expect_one_block();
    EXPECT_EQ(screen.lines(),
              (LINES{"above", "Start download ...",
                     "Download progress:", "Component 17: Error: The requested URL …",
                     "Component 3: [0 / 100] 0%", "Component 4: [0 / 100] 0%",
                     "56 more waiting, 1 verified", "Total downloaded: [1.00 KB / 2.00 KB]", ""}));
}

TEST_F(TerminalView, SaysWhatIsLeftToCheck)
{
    open(24, 80);
    start(2);
    pass();
    report_line("Checking file integrity ...");
    shown([&] { view.show_pending_checks(2, 2048); });
    EXPECT_EQ(screen.screen().back(), "");
    EXPECT_EQ(screen.from("Checking"),
              (LINES{"Checking file integrity ...", "2 files and 2.00 KB left to check"}));
    shown([&] { view.show_pending_checks(1, 1024); });
    EXPECT_EQ(screen.from("Checking"),
              (LINES{"Checking file integrity ...", "1 file and 1.00 KB left to check"}));
    shown([&] { view.show_pending_checks(0, 0); });
    report_line("Download successful");
    EXPECT_EQ(screen.from("Checking"),
              (LINES{"Checking file integrity ...", "Download successful"}));
    expect_one_block();
}

TEST_F(TerminalView, CountsFilesAsTheirChecksEnd)
{
    open(10, 80);
    start(20);
    pass();
    report_line("Checking file integrity ...");
    view.show_integrity(components[2].get(), VINST_INTEGRITY_STATE::passed);
    view.show_integrity(components[3].get(), VINST_INTEGRITY_STATE::passed);
    view.show_integrity(components[7].get(), VINST_INTEGRITY_STATE::failed);
    shown([&] { view.show_pending_checks(17, 2048); });
    EXPECT_EQ(screen.count("Component 7: "), 1U);
    EXPECT_EQ(screen.count("17 more waiting, 2 verified"), 1U);
    expect_one_block();
}

TEST_F(TerminalView, DrawsTheNextAttemptOverTheFailedOne)
{
    open(24, 80);
    start(3);
    for (int attempt = 0; attempt < 3; ++attempt)
    {
        fail(1);
        pass();
        report_line("Checking file integrity ...");
        report_line("Download failed");
        report_line("Component 1: " + std::string(100, 'r'));
        shown([&] { view.begin_wait("Retrying #1 after 5 secs ...\n"); });
        expect_one_block();
        EXPECT_EQ(screen.from("Download failed"),
                  (LINES{"Download failed", "Component 1: " + std::string(67, 'r'),
                         std::string(33, 'r'), "Retrying #1 after 5 secs ..."}));
        shown([&] { view.end_wait(); });
        EXPECT_EQ(screen.lines(), (LINES{"above", "Start download ...", ""}));
        start_attempt(3);
    }
    pass();
    expect_one_block();
    EXPECT_EQ(screen.count("failed"), 0U);
}

TEST_F(TerminalView, KeepsTheReasonsWhenAWaitIsInterrupted)
{
    open(24, 80);
    start(2);
    pass();
    report_line("Download failed");
    report_line("Component 1: no connection");
    shown([&] { view.begin_wait("Retrying #1 after 5 secs ...\n"); });
    screen.write("^C");
    report_line("Download stopped");
    EXPECT_EQ(screen.from("Download failed"),
              (LINES{"Download failed", "Component 1: no connection",
                     "Retrying #1 after 5 secs ...", "", "Download stopped"}));
    expect_one_block();
}

TEST_F(TerminalView, MakesRoomForReportedLines)
{
    open(12, 80);
    start(60);
    pass();
    EXPECT_EQ(screen.screen().size(), 6U);
    for (int i = 0; i < 8; ++i)
        progress[static_cast<std::size_t>(i)].state = STATE::moving;
    pass();
    EXPECT_EQ(screen.screen().size(), 12U);
    report_line("Checking file integrity ...");
    report_line("Download failed");
    for (int i = 0; i < 4; ++i)
        report_line("Component " + std::to_string(i) + ": no connection");
    expect_one_block();
    EXPECT_EQ(screen.screen().size(), 12U);
    EXPECT_EQ(screen.from("Start"),
              (LINES{"Start download ...", "Download progress:", "Component 0: [0 / 100] 0%",
                     "7 more downloading, 52 more waiting, 0 verified",
                     "Total downloaded: [1.00 KB / 2.00 KB]", "Checking file integrity ...",
                     "Download failed", "Component 0: no connection", "Component 1: no connection",
                     "Component 2: no connection", "Component 3: no connection"}));
}

TEST_F(TerminalView, KeepsEveryReasonThatDoesNotFitAndNoBlock)
{
    open(12, 80);
    start(60);
    LINES expected{"above"};
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        pass();
        expected.insert(expected.end(),
                        {"Start download ...", "Download progress:", "Download failed"});
        report_line("Download failed");
        for (int i = 0; i < 60; ++i)
        {
            expected.push_back("Component " + std::to_string(i) + ": no connection");
            report_line(expected.back());
        }
        expected.insert(expected.end(), {"Retrying #1 after 5 secs ...", ""});
        shown([&] { view.begin_wait("Retrying #1 after 5 secs ...\n"); });
        shown([&] { view.end_wait(); });
        start_attempt(60);
    }
    expected.insert(expected.end(), {"Start download ...", "Download progress:", ""});
    EXPECT_EQ(screen.lines(), expected);
}

TEST_F(TerminalView, DrawsOverAnAttemptWhoseBlockHadNoRoom)
{
    open(10, 40);
    for (int reasons = 0; reasons < 4; ++reasons)
    {
        start(3);
        pass(100);
        EXPECT_EQ(screen.count("Total downloaded:"), 1U);
        report_line("Checking file integrity ...");
        report_line("Download failed");
        for (int i = 0; i < reasons; ++i)
            report_line("Component " + std::to_string(i) + ": no connection");
        shown([&] { view.begin_wait("Retrying #1 after 5 secs ...\n"); });
        EXPECT_EQ(screen.count("no connection"), static_cast<std::size_t>(reasons));
        EXPECT_EQ(screen.lines().front(), "above");
        EXPECT_LE(screen.screen().size(), 10U);
        shown([&] { view.end_wait(); });
        EXPECT_EQ(screen.lines(), (LINES{"above", "Start download ...", ""})) << reasons;
    }
}

TEST_F(TerminalView, FitsSmallTerminals)
{
    for (int rows = 2; rows < 12; ++rows)
    {
        open(rows, 40);
        VINST_TERMINAL_VIEW small([this] { return size; });
        shown([&] { small.start(); });
        shown([&] { small.show_attempt({}); });
        VINST_PROGRESS_TOTALS totals;
        for (int i = 0; i < 5; ++i)
            shown([&] { small.show_progress(progress, totals); });
        expect_one_block();
    }
}

/// The number of components, and the size of the terminal before and after it is resized.
using RESIZED_RUN = std::tuple<int, VINST_TERMINAL_SIZE, VINST_TERMINAL_SIZE>;

class TerminalViewResized : public TerminalView, public ::testing::WithParamInterface<RESIZED_RUN>
{
protected:
    void download(std::size_t passes)
    {
        for (std::size_t i = 0; i < passes; ++i)
        {
            progress[i % progress.size()].state = STATE::moving;
            pass();
        }
    }
};

std::string name_of(const ::testing::TestParamInfo<RESIZED_RUN>& info)
{
    const auto& [count, first, second] = info.param;
    const auto text = [](const VINST_TERMINAL_SIZE& each)
    { return std::to_string(each.columns) + "x" + std::to_string(each.rows); };
    return std::to_string(count) + "On" + text(first) + "Then" + text(second);
}

const auto sizes = ::testing::Values(VINST_TERMINAL_SIZE{24, 80}, VINST_TERMINAL_SIZE{10, 40},
                                     VINST_TERMINAL_SIZE{50, 200}, VINST_TERMINAL_SIZE{6, 20});

TEST_P(TerminalViewResized, LeavesNoStaleBlock)
{
    const auto& [count, first, second] = GetParam();
    open(first.rows, first.columns);
    start(count);
    fail(1);
    download(4);
    expect_one_block();
    resize(second.rows, second.columns);
    download(4);
    // What has left the screen is out of reach until the terminal gets higher.
    EXPECT_EQ(screen.count("Total downloaded:"), 1U);
    EXPECT_EQ(screen.count("Start download ..."), 1U);
    EXPECT_LE(screen.screen().size(), static_cast<std::size_t>(second.rows));
    resize(50, 200);
    download(4);
    expect_one_block();
    EXPECT_EQ(screen.lines().at(1), "Start download ...");
    EXPECT_EQ(screen.count("Component 1:"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Sizes, TerminalViewResized,
                         ::testing::Combine(::testing::Values(3, 60), sizes, sizes), name_of);
