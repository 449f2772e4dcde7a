#include "tests/gui/downloader_dlg_run_fixture.h"

namespace
{

const QString closing_refused = "Download is currently in progress. Stop the download before "
                                "exiting the application.";

/// Runs that are stopped before they end.
class DialogStop : public DownloaderDlgRunTest
{
protected:
    void open_with_long_installation()
    {
        builder.component("one").content("#!/bin/sh\necho > '" + (dir / "running").string() +
                                         "'\nexec sleep 60\n");
        open();
        check_auto_install();
    }

    int integrity_code() const
    {
        return tree().model()->index(0, integrity_column).data(tree_cell_role).toInt();
    }

    void expect_not_closed()
    {
        EXPECT_FALSE(dialog->close());
        EXPECT_TRUE(dialog->isVisible());
        EXPECT_FALSE(is_shutting_down());
    }
};

}

TEST_F(DialogStop, EndsARunThatChecksFiles)
{
    open_with_long_check();
    constexpr int checking_code = 4;
    when([this] { return status().startsWith("Checking") && integrity_code() == checking_code; },
         [this]
         {
             EXPECT_EQ(status(), "Checking file integrity, please wait...");
             expect_busy();
             expect_not_closed();
             since_stop.restart();
             click("m_stop_button");
         });
    press_download({"OK"});
    expect_box(0, closing_refused, QMessageBox::Information);
    EXPECT_TRUE(since_stop.within(1000ms));
    EXPECT_EQ(status(), "Download stopped");
    EXPECT_FALSE(dialog->is_checking_files());
    EXPECT_EQ(integrity_code(), 0);
    expect_idle();
    // No check is still running, so the window doesn't have to wait for one.
    MODAL_BOXES none({});
    EXPECT_TRUE(dialog->close());
}

TEST_F(DialogStop, EndsARunThatInstalls)
{
    open_with_long_installation();
    when([this] { return exists("running"); },
         [this]
         {
             EXPECT_EQ(status(), "Installing the selected components, please wait...");
             expect_busy();
             expect_not_closed();
             since_stop.restart();
             click("m_stop_button");
         });
    press_download({"OK", "OK"});
    expect_box(0, closing_refused, QMessageBox::Information);
    expect_box(1,
               "<h2><font color=red>Installation Incomplete</font></h2>Please check the log for "
               "more information.",
               QMessageBox::Critical);
    EXPECT_TRUE(since_stop.within(3000ms));
    EXPECT_TRUE(log_holds("It was ended by signal 15"));
    expect_idle();
}

TEST_F(DialogStop, KeepsWhatWasFetchedForTheNextRun)
{
    builder.component("one").pattern_content(100'000, 1);
    builder.component("two");
    open();
    server.set_faults("/one.run", {FAULT::stall_after(60'000).times(1)});
    click_row(1);
    line("m_install_dir_line_edit").setText(path("target"));
    stop_when([this] { return size_of("dl/one.run") >= 60'000; });
    press_download({});
    EXPECT_EQ(tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
    EXPECT_EQ(tree().model()->index(1, 0).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    EXPECT_EQ(line("m_download_dir_line_edit").text(), path("dl"));
    EXPECT_EQ(line("m_install_dir_line_edit").text(), path("target"));

    press_download({"OK"});
    expect_box(0,
               "<h2><font color=green>Download Complete</font></h2>1 component(s) have been "
               "successfully downloaded.",
               QMessageBox::Information);
    EXPECT_EQ(server.requests("/one.run").back().range(), "bytes=60000-");
    EXPECT_EQ(read_file(dir / "dl/one.run"), read_file(builder.file("one").path));
    EXPECT_FALSE(exists("dl/two.run"));
    expect_idle();
}

TEST_F(DialogStop, IsTheOnlyWayToEndAWait)
{
    builder.component("one");
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(503)});
    when([this] { return status().contains("Retrying #1 after 4 secs"); },
         [this]
         {
             expect_busy();
             expect_not_closed();
             since_stop.restart();
             click("m_stop_button");
         });
    press_download({"OK"});
    expect_box(0, closing_refused, QMessageBox::Information);
    EXPECT_TRUE(since_stop.within(1000ms));
    EXPECT_EQ(status(), "Download stopped");
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    expect_idle();
}

TEST_F(DialogStop, EndsTheThirdWaitEarly)
{
    builder.component("one");
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(404).times(2), FAULT::status(503)});
    QStringList seen;
    const QLabel& label = find<QLabel>("m_download_message_label");
    when(
        [&]
        {
            if (label.text().contains("Retrying") && !seen.contains(label.text()))
            {
                seen.append(label.text());
                EXPECT_EQ(label.styleSheet(), "QLabel { color : red; }");
            }
            return false;
        },
        [] {});
    stop_when([this] { return status().endsWith("#3 after 14 secs"); });
    press_download({});
    EXPECT_TRUE(since_stop.within(1000ms));
    QStringList expected;
    for (const int attempt : {1, 2})
        for (int left = 5 * attempt; left > 0; --left)
            expected.append(QString("Download failed. Retrying #%1 after %2 %3")
                                .arg(attempt)
                                .arg(left)
                                .arg(left == 1 ? "sec" : "secs"));
    expected << "Download failed. Retrying #3 after 15 secs"
             << "Download failed. Retrying #3 after 14 secs";
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(server.request_count("/one.run"), 3U);
    EXPECT_EQ(status(), "Download stopped");
    expect_idle();
}

TEST_F(DialogStop, EndsAWaitWhateverRequestsIt)
{
    builder.component("one");
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(503).times(1)});
    when([this] { return status().contains("Retrying #1 after 4 secs"); },
         [this]
         {
             since_stop.restart();
             request_download_stop();
             EXPECT_FALSE(dialog->is_download_in_progress());
         });
    press_download({});
    EXPECT_TRUE(since_stop.within(1000ms));
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    expect_idle();
}
