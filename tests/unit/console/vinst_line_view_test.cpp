#include "install/vinst/console/vinst_line_view.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/release/vinst_component.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QStringList>

#include <functional>

namespace
{

using namespace std::chrono_literals;
using STATE = VINST_COMPONENT_PROGRESS::STATE;

constexpr quint64 mebi = 1024 * 1024;

/// A download of two components of 300 MiB each, at a time that the test sets.
class LineView : public ::testing::Test
{
protected:
    LineView()
    {
        VINST_MESSAGES::instance().echo_to_console = true;
        VINST_MESSAGES::instance().echo_with_time = true;
        one.name = "one";
        two.name = "two";
        for (VINST_COMPONENT* component : {&one, &two})
            progress.push_back({component->name, 0, 300 * mebi, 0, {}, STATE::waiting});
        totals.total = 600 * mebi;
    }
    ~LineView() override
    {
        VINST_MESSAGES::instance().echo_to_console = false;
        VINST_MESSAGES::instance().echo_with_time = false;
    }

    void receive(std::size_t index, quint64 bytes)
    {
        progress[index].bytes += bytes;
        progress[index].state = STATE::moving;
        totals.downloaded += bytes;
        totals.received += bytes;
        totals.delta = bytes;
    }

    /// One progress pass. \return the lines that it prints, without their times
    QStringList pass()
    {
        return lines_of([this] { view.show_progress(progress, totals); });
    }

    static QStringList lines_of(const std::function<void()>& action)
    {
        ::testing::internal::CaptureStdout();
        action();
        const QString output = QString::fromStdString(::testing::internal::GetCapturedStdout());
        QStringList lines = output.split('\n');
        EXPECT_EQ(lines.takeLast(), "") << "the output ends within a line";
        static const QRegularExpression time(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} )");
        for (QString& line : lines)
        {
            EXPECT_TRUE(time.match(line).hasMatch()) << line.toStdString();
            line.remove(time);
        }
        return lines;
    }

    VINST_COMPONENT one;
    VINST_COMPONENT two;
    std::vector<VINST_COMPONENT_PROGRESS> progress;
    VINST_PROGRESS_TOTALS totals;
    VINST_LINE_VIEW::TIME now = VINST_LINE_VIEW::TIME() + 1h;
    VINST_LINE_VIEW view{[this] { return now; }};
};

}

TEST_F(LineView, PrintsEachEventOnce)
{
    EXPECT_EQ(lines_of([this] { view.start(); }), QStringList("Start download ..."));
    EXPECT_EQ(lines_of([this] { view.show_attempt({&one, &two}); }), QStringList());
    EXPECT_EQ(pass(), QStringList());
    receive(0, 100 * mebi);
    EXPECT_EQ(pass(), QStringList("one: downloading, 104857600 bytes of 314572800"));
    receive(0, 100 * mebi);
    EXPECT_EQ(pass(), QStringList());
    receive(0, 100 * mebi);
    progress[0].state = STATE::waiting;
    EXPECT_EQ(pass(), QStringList("one: downloaded, 314572800 bytes"));
    progress[0].state = STATE::verified;
    EXPECT_EQ(pass(), QStringList("one: verified"));
    EXPECT_EQ(pass(), QStringList());
    EXPECT_EQ(lines_of([this] { view.show_integrity(&one, VINST_INTEGRITY_STATE::passed); }),
              QStringList());
}

TEST_F(LineView, PrintsTheResultsOfChecks)
{
    view.show_attempt({&one, &two});
    EXPECT_EQ(lines_of(
                  [this]
                  {
                      view.show_integrity(&one, VINST_INTEGRITY_STATE::checking);
                      view.show_integrity(&one, VINST_INTEGRITY_STATE::passed);
                      view.show_integrity(&two, VINST_INTEGRITY_STATE::failed);
                      view.show_integrity(&two, VINST_INTEGRITY_STATE::failed);
                  }),
              QStringList({"one: verified", "two: checksum mismatch"}));
}

TEST_F(LineView, PrintsAnErrorOncePerAttempt)
{
    const QString error = "two: Error: The requested URL returned error: 503, Httpcode: 503";
    view.show_attempt({&one, &two});
    progress[0].state = STATE::verified;
    progress[1].state = STATE::failed;
    progress[1].error_line = error;
    EXPECT_EQ(pass(), QStringList({"one: verified", error}));
    EXPECT_EQ(pass(), QStringList());

    view.show_attempt({&one, &two});
    EXPECT_EQ(pass(), QStringList(error));
}

TEST_F(LineView, PrintsTheTotalsEvery30Seconds)
{
    view.show_attempt({&one, &two});
    pass();
    int lines = 0;
    for (int second = 1; second <= 90; ++second)
    {
        now += 1s;
        receive(second % 2, 2 * mebi);
        for (const QString& line : pass())
            lines += line.startsWith("Total downloaded: ") ? 1 : 0;
        EXPECT_EQ(lines, second / 30);
    }
    now += 30s;
    receive(0, 30 * mebi);
    EXPECT_EQ(pass(), QStringList("Total downloaded: 210.00 MB / 600.00 MB, 1.00 MB/sec, est. "
                                  "time remaining: 6 mins 30 secs"));
}

TEST_F(LineView, PrintsTheTotalsAtTheEndOfAnAttempt)
{
    view.show_attempt({&one, &two});
    pass();
    now += 10s;
    receive(0, 20 * mebi);
    pass();
    EXPECT_EQ(lines_of(
                  [this]
                  {
                      view.show_reported_line("Checking file integrity ...");
                      view.show_reported_line("Download failed");
                  }),
              QStringList("Total downloaded: 20.00 MB / 600.00 MB, 2.00 MB/sec, est. time "
                          "remaining: 4 mins 50 secs"));
}

TEST_F(LineView, PrintsWhatIsLeftToCheckEvery30Seconds)
{
    view.show_attempt({&one, &two});
    pass();
    now += 29s;
    EXPECT_EQ(lines_of([this] { view.show_pending_checks(2, 1536 * mebi); }), QStringList());
    now += 1s;
    EXPECT_EQ(lines_of([this] { view.show_pending_checks(2, 1536 * mebi); }),
              QStringList("2 files and 1.50 GB left to check"));
    EXPECT_EQ(lines_of([this] { view.show_pending_checks(2, 1536 * mebi); }), QStringList());
    now += 60s;
    EXPECT_EQ(lines_of([this] { view.show_pending_checks(0, 0); }), QStringList());
}

TEST_F(LineView, SurvivesFilesThatShrink)
{
    view.show_attempt({&one, &two});
    receive(0, 100 * mebi);
    pass();
    now += 30s;
    totals.downloaded = 0;
    EXPECT_EQ(pass(), QStringList("Total downloaded: 0.00 B / 600.00 MB"));
}

TEST_F(LineView, ReplacesControlCharacters)
{
    const QString bad = QString::fromUtf8("a\x1b[2J\u009b\u202e"
                                          "b");
    const QString plain = QString::fromUtf8("a\ufffd[2J\ufffd\ufffd"
                                            "b");
    EXPECT_EQ(lines_of([&] { view.show_connection_attempt(bad.toStdString(), "80"); }),
              QStringList("Testing internet connection through the proxy " + plain + ":80 ..."));
    EXPECT_EQ(lines_of([&] { view.begin_wait(bad + "\n"); }), QStringList(plain));
}

TEST_F(LineView, PrintsALineWithATimePerLineOfAReport)
{
    EXPECT_EQ(lines_of([] { report("The installer failed.\n  last line\n\n", true); }),
              QStringList({"The installer failed.", "  last line"}));
}
