#include "install/vinst/gui/vinst_taskbar_progress.h"
#include "tests/gui/downloader_dlg_run_fixture.h"
#include "tests/gui/session_bus_posix.h"

#include <QLocalServer>

namespace
{

const QString desktop_entry = QStringLiteral("application://example.orvane.vinst.desktop");

class DialogTaskbar : public DownloaderDlgRunTest
{
};

bool is_hidden(const SESSION_BUS& bus)
{
    return !bus.updates.empty() && !bus.updates.back().is_visible;
}

}

TEST_F(DialogTaskbar, ShowsTheProgressOfARunInTheLauncher)
{
    const SESSION_BUS bus;
    builder.component("one").pattern_content(100'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(50'000).times(1)});
    const auto shows_half = [&]
    { return !bus.updates.empty() && bus.updates.back().progress == 0.5; };
    stop_when(shows_half);
    press_download({});
    EXPECT_TRUE(QTest::qWaitFor([&] { return is_hidden(bus); }, long_wait));
    for (const LAUNCHER_UPDATE& update : bus.updates)
        EXPECT_EQ(update.entry, desktop_entry);
    EXPECT_TRUE(bus.updates[bus.updates.size() - 2].is_visible);
    EXPECT_EQ(bus.updates[bus.updates.size() - 2].progress, 0.5);
}

TEST(TaskbarProgress, SendsEachValueOnce)
{
    const SESSION_BUS bus;
    QWidget window;
    VINST_TASKBAR_PROGRESS progress(window);
    progress.hide(); // there is nothing to hide
    EXPECT_TRUE(QTest::qWaitFor(
        [&]
        {
            progress.show(20);
            return !bus.updates.empty();
        },
        long_wait));
    progress.show(20);
    progress.show(30);
    progress.hide();
    EXPECT_TRUE(QTest::qWaitFor([&] { return is_hidden(bus); }, long_wait));
    ASSERT_EQ(bus.updates.size(), 3U);
    EXPECT_EQ(bus.updates[0].progress, 0.2);
    EXPECT_EQ(bus.updates[1].progress, 0.3);
}

TEST(TaskbarProgress, HidesItselfAtTheEnd)
{
    const SESSION_BUS bus;
    QWidget window;
    {
        VINST_TASKBAR_PROGRESS progress(window);
        EXPECT_TRUE(QTest::qWaitFor(
            [&]
            {
                progress.show(20);
                return !bus.updates.empty();
            },
            long_wait));
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return is_hidden(bus); }, long_wait));
}

TEST(TaskbarProgress, DoesNotWaitForABusThatDoesNotRespond)
{
    TEMP_DIR dir;
    QLocalServer mute;
    const QString socket = QString::fromStdString((dir / "bus").string());
    ASSERT_TRUE(mute.listen(socket));
    qputenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + socket).toUtf8());
    QWidget window;
    const STOPWATCH since_start;
    {
        VINST_TASKBAR_PROGRESS progress(window);
        for (int percent = 0; percent < 100; ++percent)
            progress.show(percent);
        progress.hide();
        EXPECT_TRUE(since_start.within(500ms)) << "nothing waits";
    }
    // A call over D-Bus without an answer ends after 25 s.
    EXPECT_TRUE(since_start.within(5s));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}
