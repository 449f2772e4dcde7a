#include "install/vinst/gui/vinst_window_progress.h"
#include "tests/gui/downloader_dlg_run_fixture.h"

namespace
{

/// What a user learns about a job who looks at another window.
class DialogOutside : public DownloaderDlgRunTest
{
protected:
    DialogOutside()
    {
        host.alert = [this](QWidget& window)
        {
            EXPECT_EQ(&window, dialog.get());
            ++alerts;
        };
    }
    /// The user works with another program.
    static void look_away() { QApplication::setActiveWindow(nullptr); }
    /// Installs a component whose installer ends like this.
    void look_away_while_it_installs(const std::string& end_of_script)
    {
        builder.component("one").content("#!/bin/sh\necho > '" + (dir / "running").string() +
                                         "'\nwhile [ ! -e '" + (dir / "go_on").string() +
                                         "' ] && [ -d '" + dir.path().string() +
                                         "' ]; do sleep 0.01; done\n" + end_of_script);
        open();
        check_auto_install();
        when([this] { return exists("running"); },
             [this]
             {
                 look_away();
                 write_file(dir / "go_on", "");
             });
        press_download({"OK"});
    }

    int alerts = 0;
};

}

TEST(WindowProgress, ShowsThePercentageInTheTitleWhileMinimised)
{
    QWidget window;
    window.setWindowTitle("Usual title");
    VINST_WINDOW_PROGRESS progress(window, [](QWidget&) {});
    window.show();
    progress.show_percentage(41);
    EXPECT_EQ(window.windowTitle(), "Usual title");
    window.setWindowState(Qt::WindowMinimized);
    progress.follow_window_state();
    EXPECT_EQ(window.windowTitle(), "41 % - Usual title");
    progress.show_percentage(42);
    EXPECT_EQ(window.windowTitle(), "42 % - Usual title");
    window.setWindowState(Qt::WindowNoState);
    progress.follow_window_state();
    EXPECT_EQ(window.windowTitle(), "Usual title");
    window.setWindowState(Qt::WindowMinimized);
    progress.show_percentage({});
    EXPECT_EQ(window.windowTitle(), "Usual title");
}

TEST_F(DialogOutside, ShowsThePercentageOfARunInTheTitleWhileMinimised)
{
    builder.component("one").pattern_content(100'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(50'000).times(1)});
    const QString usual = dialog->windowTitle();
    when([this] { return find<QLabel>("m_total_size_downloaded_label").text().endsWith(" 50%"); },
         [&]
         {
             EXPECT_EQ(dialog->windowTitle(), usual);
             dialog->setWindowState(Qt::WindowMinimized);
             EXPECT_EQ(dialog->windowTitle(), "50 % - " + usual);
             dialog->setWindowState(Qt::WindowNoState);
             EXPECT_EQ(dialog->windowTitle(), usual);
             dialog->setWindowState(Qt::WindowMinimized);
             click("m_stop_button");
         });
    press_download({});
    EXPECT_EQ(dialog->windowTitle(), usual);
}

TEST_F(DialogOutside, AsksForAttentionAfterASuccess)
{
    look_away_while_it_installs("exit 0\n");
    EXPECT_TRUE(status().startsWith("Installation completed")) << utf8(status());
    EXPECT_EQ(alerts, 1);
}

TEST_F(DialogOutside, AsksForAttentionAfterAFailure)
{
    look_away_while_it_installs("exit 3\n");
    EXPECT_TRUE(status().startsWith("Installation cancelled")) << utf8(status());
    EXPECT_EQ(alerts, 1);
}

TEST_F(DialogOutside, AsksForAttentionToAQuestion)
{
    builder.component("one").content(install_script());
    open();
    check_auto_install();
    find<QCheckBox>("m_agree_license_checkbox").setChecked(false);
    look_away();
    press_download({"No"});
    EXPECT_EQ(alerts, 1);
}

TEST_F(DialogOutside, LeavesAUserAloneWhoIsLooking)
{
    builder.component("one").pattern_content(3000, 1);
    open();
    QApplication::setActiveWindow(dialog.get());
    press_download({"OK"});
    EXPECT_EQ(alerts, 0);
}
