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

    /// The installer waits for a file "go_on" and then continues with the script.
    void open_with_waiting_installation(const std::string& script)
    {
        builder.component("one").content("#!/bin/sh\necho > '" + (dir / "running").string() +
                                         "'\nwhile [ ! -e '" + (dir / "go_on").string() +
                                         "' ] && [ -d '" + dir.path().string() +
                                         "' ]; do sleep 0.01; done\n" + script);
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
    press_download({"OK", "Yes", "OK"});
    expect_box(0, closing_refused, QMessageBox::Information);
    expect_box(1,
               "Stopping now leaves an incomplete installation in " + path("inst") +
                   ". Do you want to stop it?",
               QMessageBox::Warning, "Stop the installation?");
    expect_box(2,
               "<h2><font color=red>Installation Incomplete</font></h2>Please check the log for "
               "more information.",
               QMessageBox::Critical);
    EXPECT_TRUE(since_stop.within(3000ms));
    EXPECT_TRUE(log_holds("It was ended by signal 15"));
    expect_idle();
}

TEST_F(DialogStop, ContinuesAnInstallationIfTheUserSaysNo)
{
    open_with_waiting_installation(install_script());
    when([this] { return exists("running"); },
         [this]
         {
             QTest::keyClick(&button("m_stop_button"), Qt::Key_Space);
             auto* const question = dialog->findChild<QMessageBox*>();
             ASSERT_NE(question, nullptr);
             EXPECT_EQ(question->defaultButton(), question->button(QMessageBox::No));
             QTest::keyClick(question->defaultButton(), Qt::Key_Return);
             expect_busy();
             write_file(dir / "go_on", "");
         });
    press_download({"OK"});
    EXPECT_TRUE(status().startsWith("Installation completed successfully.")) << utf8(status());
    expect_idle();
}

TEST_F(DialogStop, ClosesItsQuestionWhenTheInstallationEnds)
{
    open_with_waiting_installation("exit 0\n");
    bool was_asked = false;
    when([this] { return exists("running"); },
         [&]
         {
             click("m_stop_button");
             was_asked = dialog->findChild<QMessageBox*>() != nullptr;
             write_file(dir / "go_on", "");
         });
    // The report's box comes without an answer to the question.
    when([this] { return status().startsWith("Installation completed"); },
         [this]
         {
             when([] { return QApplication::activeModalWidget() != nullptr; },
                  []
                  {
                      auto* const box =
                          qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                      EXPECT_TRUE(box->text().contains("Installation Complete"));
                      box->accept();
                  });
         });
    click("m_download_button");
    EXPECT_TRUE(was_asked);
    EXPECT_EQ(dialog->findChild<QMessageBox*>(), nullptr);
    expect_idle();
}

TEST_F(DialogStop, OffersToContinueAnIncompleteInstallation)
{
    builder.component("one").content(
        "#!/bin/sh\n[ -e '" + (dir / "go_on").string() + "' ] && exit 0\nmkdir -p '" +
        (dir / "inst").string() + "'\necho x > '" + (dir / "inst/part").string() + "'\nexit 1\n");
    open();
    check_auto_install();
    press_download({"OK"});
    ASSERT_TRUE(status().startsWith("Installation cancelled or finished with error."));
    ASSERT_TRUE(exists("inst/part"));

    press_download({"No"});
    expect_box(0,
               "The last installation in " + path("inst") +
                   " is incomplete. Do you want to install into the same directory again?",
               QMessageBox::Question, "Continue the installation?");
    expect_idle();

    write_file(dir / "go_on", "");
    press_download({"Yes", "OK"});
    EXPECT_TRUE(status().startsWith("Installation completed successfully.")) << utf8(status());

    // It is complete now.
    press_download({"OK"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.startsWith("The installation directory is not empty."));
}

TEST_F(DialogStop, RefusesAnotherDirectoryThatIsNotEmpty)
{
    builder.component("one").content("#!/bin/sh\nmkdir -p '" + (dir / "inst").string() +
                                     "'\necho x > '" + (dir / "inst/part").string() +
                                     "'\nexit 1\n");
    open();
    check_auto_install();
    press_download({"OK"});
    write_file(dir / "foreign/file", "");
    line("m_install_dir_line_edit").setText(path("foreign"));
    press_download({"OK"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.startsWith("The installation directory is not empty."));
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
