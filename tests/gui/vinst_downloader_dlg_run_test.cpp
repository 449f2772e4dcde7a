#include "install/vinst/download/vinst_install_place.h"
#include "tests/gui/downloader_dlg_run_fixture.h"
#include "tests/harness/processor_time.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QProgressBar>

namespace
{

class DialogRun : public DownloaderDlgRunTest
{
};

}

TEST_F(DialogRun, DownloadsAndReportsTheCount)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(5000, 2);
    open();
    press_download({"OK"});
    expect_box(0,
               "<h2><font color=green>Download Complete</font></h2>2 component(s) have been "
               "successfully downloaded.",
               QMessageBox::Information);
    EXPECT_EQ(read_file(dir / "dl/two.run"), read_file(builder.file("two").path));
    EXPECT_EQ(status(), "Download successful");
    EXPECT_EQ(find<QProgressBar>("m_total_download_progress_bar").value(), 100);
    EXPECT_EQ(text("m_total_size_downloaded_label"), "Downloaded: 7.81 KB / 7.81 KB -- 100%");
    EXPECT_EQ(text("m_avg_download_speed_label"), "");
    EXPECT_EQ(text("m_time_label"), "Total download time: less than 1 sec");
    expect_idle();
    EXPECT_FALSE(exists("inst"));
}

TEST_F(DialogRun, StartsByReturnInAFieldOrInTheTree)
{
    builder.component("one").pattern_content(3000, 1);
    open();
    QApplication::setActiveWindow(dialog.get());
    // The tree first: afterwards, its row has a Run button.
    for (QWidget* const focus :
         std::initializer_list<QWidget*>{&tree(), &line("m_download_dir_line_edit")})
    {
        focus->setFocus();
        MODAL_BOXES boxes({"OK"});
        QTest::keyClick(focus, Qt::Key_Return);
        ASSERT_EQ(boxes.shown().size(), 1U);
        EXPECT_TRUE(boxes.shown()[0].text.contains("Download Complete"));
    }
}

TEST_F(DialogRun, LogsASummary)
{
    builder.component("one").pattern_content(3000, 1);
    store("vinst_parallel_download", 3);
    open();
    press_download({"OK"});
    const std::string log = read_file(dir / "log");
    for (const std::string& line :
         {"Platform selected: " + this_platform().toStdString(),
          std::string("Components selected:"), std::string("  one"),
          std::string("Total selected components size: 0.00 GB"),
          "Download dir: " + path("dl").toStdString(), std::string("Auto install: off"),
          std::string("Number of parallel downloads: 3"),
          std::string("Retry duration: 0 (minutes)")})
        EXPECT_NE(log.find("[info] " + line + "\n"), std::string::npos) << line << '\n' << log;
}

TEST_F(DialogRun, DownloadsOnlyWhatIsChecked)
{
    builder.component("one");
    builder.component("two").selected(false);
    open();
    press_download({"OK"});
    EXPECT_TRUE(exists("dl/one.run"));
    EXPECT_FALSE(exists("dl/two.run"));
}

TEST_F(DialogRun, DownloadsDependenciesWhenStartedImmediately)
{
    builder.component("base").selected(false);
    builder.component("top").selected(false).depends_on({"base"});
    open();
    click_row(1);
    press_download({"OK"});
    EXPECT_TRUE(exists("dl/top.run"));
    EXPECT_TRUE(exists("dl/base.run"));
    EXPECT_EQ(tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
}

TEST_F(DialogRun, DownloadsDependenciesOfTheDefaultSelection)
{
    builder.component("base").selected(false);
    builder.component("top").depends_on({"base"});
    open();
    press_download({"OK"});
    EXPECT_TRUE(exists("dl/base.run"));
}

TEST_F(DialogRun, InstallsAfterwards)
{
    builder.component("one").content(install_script());
    open();
    check_auto_install();
    press_download({"OK"});
    expect_box(0,
               "<h2><font color=green>Installation Complete</font></h2>The software was "
               "successfully installed.",
               QMessageBox::Information);
    EXPECT_TRUE(status().startsWith("Installation completed successfully.  Total install time: "))
        << status().toStdString();
    EXPECT_TRUE(log_holds("[info] Installation completed successfully.  Total install time: "));
    EXPECT_EQ(dir.read("inst/install_order"), "one.run\n");
    expect_idle();
}

TEST_F(DialogRun, RefusesADirectoryIntoWhichAnotherRunInstalls)
{
    builder.component("one").content(install_script());
    open();
    check_auto_install();
    VINST_INSTALL_LOCK other_run;
    ASSERT_EQ(other_run.take(QString::fromStdString((dir / "inst").string())), "");
    press_download({"OK"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.startsWith("Cannot install into ")) << shown[0].text.toStdString();
    EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
    expect_idle();
    other_run.release();
    press_download({"OK"});
    EXPECT_EQ(dir.read("inst/install_order"), "one.run\n");
}

TEST_F(DialogRun, ReportsAnInstallerThatFails)
{
    builder.component("one").content(install_script(3));
    open();
    check_auto_install();
    press_download({"OK"});
    expect_box(
        0,
        "<h2><font color=red>Installation Incomplete</font></h2>Please check the log for "
        "more information.<br/><br/>The installer of The one part failed. It exited with code 3. "
        "The last lines of its output:<br/>  installed one.run",
        QMessageBox::Critical);
    EXPECT_TRUE(status().startsWith(
        "Installation cancelled or finished with error.  Total install time: "));
    EXPECT_EQ(find<QLabel>("m_download_message_label").styleSheet(), "QLabel { color : red; }");
    expect_idle();
}

TEST_F(DialogRun, ReportsThatNoComponentIsChecked)
{
    builder.component("one").selected(false);
    builder.component("group").no_file().selected(false);
    open();
    for (const bool installs : {false, true})
    {
        if (installs)
            check_auto_install();
        press_download({"OK"});
        expect_box(0, "There is nothing to download: no component is selected.",
                   QMessageBox::Information);
        EXPECT_EQ(status(), "There is nothing to download: no component is selected.");
    }
    EXPECT_TRUE(log_holds("[info] There is nothing to download: no component is selected.\n"));
    EXPECT_EQ(server.request_count(), 0U);
    EXPECT_FALSE(exists("inst"));
    expect_idle();
}

TEST_F(DialogRun, ReportsThatNoCheckedComponentHasAFile)
{
    builder.component("group").no_file();
    open();
    press_download({"OK"});
    expect_box(0, "There is nothing to download: no selected component has a file.",
               QMessageBox::Information);
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(DialogRun, ClearsItsTimesWhenAnotherSelectionIsMade)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(3000, 2);
    open();
    press_download({"OK"});
    ASSERT_EQ(text("m_time_label"), "Total download time: less than 1 sec");
    click_row(1);
    tree().take_clicks();
    EXPECT_EQ(text("m_time_label"), "");
    EXPECT_EQ(tree().model()->index(1, progress_column).data(tree_cell_role).toString(), "");
    EXPECT_EQ(tree().model()->index(0, progress_column).data(tree_cell_role).toString(), "100%");
    click_row(1);
    tree().take_clicks();
    EXPECT_EQ(tree().model()->index(1, progress_column).data(tree_cell_role).toString(), "100%");
}

TEST_F(DialogRun, ShowsInItsStatusWhatARunButtonStarts)
{
    builder.component("one").content(install_script());
    open();
    press_download({"OK"});
    QApplication::setActiveWindow(dialog.get());
    tree().setCurrentIndex(tree().model()->index(0, 0));
    QTest::keyClick(&tree(), Qt::Key_Return);
    EXPECT_EQ(status(), "Started the installer of The one part");
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return status() == "The installer of The one part has ended"; }, long_wait));
}

TEST_F(DialogRun, GivesTheReasonForEachComponentWithoutAnInstaller)
{
    builder.component("veltrin_base").title("The <b>Product</b> & more");
    builder.component("part");
    builder.component("act").data_type("install").no_file().cmd_exe("act");
    open();
    check_auto_install();
    press_download({"OK"});
    expect_box(0,
               "<h2><font color=red>Nothing was installed</font></h2>None of the components has an "
               "installer to run.<br/><br/>The &lt;b&gt;Product&lt;/b&gt; &amp; more was not "
               "installed: the manifest does not mark the main product as standalone.<br/>The part "
               "part was not installed: it is installed by the main product's installer, which was "
               "not run.",
               QMessageBox::Critical);
    EXPECT_EQ(status(), "Nothing was installed: none of the components has an installer to run.");
    EXPECT_TRUE(log_holds("[info] The part part was not installed: it is installed by the main "
                          "product's installer, which was not run.\n"));
    EXPECT_FALSE(log_holds("Run command: "));
    EXPECT_FALSE(exists("inst"));
    expect_idle();
}

TEST_F(DialogRun, NamesWhatWasLeftOutOfASuccessfulInstallation)
{
    builder.component("one").content(install_script());
    builder.component("loose").filename("loose.vdz");
    open();
    check_auto_install();
    press_download({"OK"});
    expect_box(0,
               "<h2><font color=green>Installation Complete</font></h2>The software was "
               "successfully installed.<br/><br/>The loose part was not installed: it has no "
               "separate installer, because it is a device archive outside the device group.",
               QMessageBox::Information);
    EXPECT_TRUE(status().startsWith("Installation completed successfully.  Total install time: "))
        << status().toStdString();
    EXPECT_TRUE(log_holds("[info] The loose part was not installed: "));
    EXPECT_EQ(dir.read("inst/install_order"), "one.run\n");
    expect_idle();
}

TEST_F(DialogRun, RunsTheActionsThatAreChecked)
{
    builder.component("veltrin_base")
        .standalone()
        .content("#!/bin/sh\nfor a in \"$@\"; do last=\"$a\"; done\n"
                 "while [ $# -gt 0 ]; do [ \"$1\" = --installdir ] && dir=\"$2\"; shift; done\n"
                 "mkdir -p \"$dir\"\nprintf '#!/bin/sh\\ntouch \"$(dirname \"$0\")/$1\"\\n' > "
                 "\"$dir/act\"\n"
                 "chmod 755 \"$dir/act\"\n");
    for (const char* name : {"first", "second"})
        builder.component(name).data_type("install").no_file().cmd_exe("act").cmd_options(name);
    open();
    check_auto_install();
    find<QCheckBox>("m_action_checkbox_second").click();
    press_download({"OK"});
    EXPECT_TRUE(exists("inst/first"));
    EXPECT_FALSE(exists("inst/second"));
}

TEST_F(DialogRun, AsksForTheLicence)
{
    builder.component("one").content(install_script());
    open();
    check_auto_install();
    find<QCheckBox>("m_agree_license_checkbox").setChecked(false);
    press_download({"No"});
    expect_box(0, "Do you agree to the Orvane License Agreement?", QMessageBox::Question,
               "Accept License Agreement?");
    EXPECT_EQ(server.request_count(), 0U);
    expect_idle();

    press_download({"Yes", "OK"});
    EXPECT_TRUE(find<QCheckBox>("m_agree_license_checkbox").isChecked());
    EXPECT_TRUE(exists("inst/install_order"));
}

TEST_F(DialogRun, AsksWhetherToContinueWithoutRights)
{
    builder.component("one");
    open();
    check_auto_install();
    // The window was opened with the rights.
    host.is_admin = false;
    reopen();
    auto_install().setEnabled(true);
    auto_install().setChecked(true);
    press_download({"No"});
    expect_box(0,
               "You do not have admin privilege to install. Do you want to continue downloading "
               "the files?",
               QMessageBox::Warning, "Proceed without installation?");
    EXPECT_FALSE(exists("dl/one.run"));

    auto_install().setEnabled(true);
    auto_install().setChecked(true);
    press_download({"Yes", "OK"});
    EXPECT_FALSE(auto_install().isChecked());
    EXPECT_TRUE(exists("dl/one.run"));
}

TEST_F(DialogRun, RefusesABadDownloadDirectory)
{
    builder.component("one");
    open();
    line("m_download_dir_line_edit").setText(path("with blank"));
    press_download({"OK"});
    expect_box(0, "Download or installation path cannot include spaces.", QMessageBox::Critical);
    line("m_download_dir_line_edit").clear();
    press_download({"OK"});
    expect_box(0, "Download or installation path is empty.", QMessageBox::Critical);
    EXPECT_EQ(server.request_count(), 0U);
    expect_idle();
}

TEST_F(DialogRun, RefusesAnInstallDirectoryThatIsNotEmpty)
{
    builder.component("one").content(install_script());
    open();
    write_file(dir / "inst/.hidden", "x");
    check_auto_install();
    press_download({"OK"});
    expect_box(0,
               "The installation directory is not empty. This application does not support "
               "updating an existing installation. <br/>Turn off the 'auto install after "
               "download' option and run the installer manually after download.",
               QMessageBox::Critical);
    EXPECT_EQ(server.request_count(), 0U);
    expect_idle();
}

TEST_F(DialogRun, AsksWhetherToContinueWithoutSpace)
{
    host.query_volume = [this](const QString& asked) {
        return VINST_VOLUME{asked.startsWith(path("inst")) ? "/inst" : "/dl", 0};
    };
    dir.make_dir("inst");
    builder.component("one").content(install_script());
    open();
    check_auto_install();
    press_download({"No"});
    expect_box(0, "Disk space insufficient for download. Do you want to proceed?",
               QMessageBox::Warning, "Insufficient Disk Space");
    press_download({"Yes", "No"});
    expect_box(1, "Disk space insufficient for installation. Do you want to proceed?",
               QMessageBox::Warning, "Insufficient Disk Space");
    EXPECT_EQ(server.request_count(), 0U);
    press_download({"Yes", "Yes", "OK"});
    EXPECT_TRUE(exists("inst/install_order"));
}

TEST_F(DialogRun, ReportsAFailedConnection)
{
    builder.component("one");
    open();
    server.set_faults("/test.txt", {FAULT::status(404, "<b>gone</b>")});
    press_download({"OK"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.startsWith(
        "Internet connection cannot be established. If you are behind a firewall, enter the proxy "
        "settings and try again.<br/>Details:<br/>Test download failed with error: "))
        << shown[0].text.toStdString();
    EXPECT_EQ(shown[0].icon, QMessageBox::Critical);
    EXPECT_EQ(status(), "Download failed");
    EXPECT_FALSE(exists("dl/one.run"));
    expect_idle();
}

TEST_F(DialogRun, EndsAtOnceWithoutARetryDuration)
{
    builder.component("one").title("The <b>One</b>");
    open();
    server.set_faults("/one.run", {FAULT::status(500)});
    press_download({"OK"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.startsWith(
        "This application cannot download 1 component(s). Download the files directly from the "
        "Orvane FPGA Download Center.<br/><br/>Failed component(s):<br/> - The "
        "&lt;b&gt;One&lt;/b&gt;<br/><br/><br/>Details:<br/>"))
        << shown[0].text.toStdString();
    EXPECT_TRUE(shown[0].text.contains("500"));
    EXPECT_EQ(shown[0].icon, QMessageBox::Critical);
    EXPECT_EQ(status(), "Download failed. Exceeded retry limit. Process aborted.");
    expect_idle();
}

TEST_F(DialogRun, RetriesAndSucceeds)
{
    builder.component("one").pattern_content(3000, 1);
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(503).times(1)});
    QStringList seen;
    auto* const label = &find<QLabel>("m_download_message_label");
    when(
        [&]
        {
            if (label->text().contains("Retrying") && !seen.contains(label->text()))
                seen.append(label->text());
            return false;
        },
        [] {});
    press_download({"OK"});
    QStringList expected;
    for (const char* left : {"5 secs", "4 secs", "3 secs", "2 secs", "1 sec"})
        expected.append(QString("Download failed. Retrying #1 after ") + left);
    EXPECT_EQ(seen, expected);
    expect_box(0,
               "<h2><font color=green>Download Complete</font></h2>1 component(s) have been "
               "successfully downloaded.",
               QMessageBox::Information);
}

TEST_F(DialogRun, GivesUpOnAMissingFileAfterTwoRetries)
{
    builder.component("one");
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(404)});
    press_download({"OK"});
    expect_box(0, "Error 404: File not found.", QMessageBox::Critical);
    EXPECT_EQ(server.request_count("/one.run"), 3U);
    EXPECT_EQ(status(), "Error 404: File not found.");
    expect_idle();
}

TEST_F(DialogRun, StopsWhileItDownloads)
{
    builder.component("one").pattern_content(100'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(5000)});
    stop_when([this] { return size_of("dl/one.run") >= 5000; });
    press_download({});
    EXPECT_TRUE(since_stop.within(2500ms));
    EXPECT_EQ(status(), "Download stopped");
    expect_idle();
    EXPECT_EQ(std::filesystem::file_size(dir / "dl/one.run"), 5000U);
}

TEST_F(DialogRun, RestoresTheFocusAfterAStopByKey)
{
    builder.component("one").pattern_content(300'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    QApplication::setActiveWindow(dialog.get());
    button("m_download_button").setFocus();
    when([this] { return size_of("dl/one.run") > 0; },
         [this] { QTest::keyClick(&button("m_stop_button"), Qt::Key_Space); });
    QTest::keyClick(&button("m_download_button"), Qt::Key_Space);
    EXPECT_TRUE(button("m_download_button").hasFocus());
}

TEST_F(DialogRun, MovesTheFocusToDownloadWhileAnotherProgramIsActive)
{
    builder.component("one").pattern_content(300'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::trickle(10'000, 10ms)});
    QApplication::setActiveWindow(dialog.get());
    when([this] { return size_of("dl/one.run") > 0; },
         [] { QApplication::setActiveWindow(nullptr); });
    press_download({"OK"});
    EXPECT_EQ(dialog->focusWidget(), &button("m_download_button"));
}

TEST_F(DialogRun, LeavesTheFocusAloneIfNothingIsStarted)
{
    builder.component("one").selected(false).pattern_content(3000, 1);
    open();
    QApplication::setActiveWindow(dialog.get());
    tree().setFocus();
    MODAL_BOXES boxes({"OK"});
    QTest::keyClick(&tree(), Qt::Key_Return);
    EXPECT_EQ(status(), "There is nothing to download: no component is selected.");
    EXPECT_EQ(dialog->focusWidget(), &tree());
}

TEST_F(DialogRun, ChangesTheRateLimitWhileItDownloads)
{
    builder.component("one").pattern_content(16 * 1024 * 1024, 1);
    store("vinst_rate_limit", 0.1); // the file would take almost three minutes
    open();
    show_dialog();
    auto& settings = find<QDialog>("VINST_SETTINGS_DLG");
    bool was_shown = false;
    when([this] { return size_of("dl/one.run") > 0; },
         [this, &settings, &was_shown]
         {
             click("m_settings_button");
             was_shown = settings.isVisible();
             EXPECT_FALSE(find<QWidget>("m_parallel_download_spinbox").isEnabled());
             auto& limit = find<QDoubleSpinBox>("m_rate_limit_spinbox");
             EXPECT_EQ(limit.value(), 0.1);
             limit.setValue(0);
             click("m_apply_btn");
         });
    const auto before = std::chrono::steady_clock::now();
    press_download({"OK"});
    EXPECT_LT(std::chrono::steady_clock::now() - before, 120s);
    EXPECT_TRUE(was_shown);
    EXPECT_EQ(status(), "Download successful") << "although the settings were open";
    EXPECT_TRUE(settings.isVisible());
    EXPECT_TRUE(find<QWidget>("m_parallel_download_spinbox").isEnabled());
    EXPECT_TRUE(log_holds("[info] Rate limit: none\n"));
    click("m_ok_btn");
    EXPECT_EQ(stored("vinst_rate_limit").toDouble(), 0);
    expect_idle();
}

TEST_F(DialogRun, LetsTheSpeedFadeWhenNothingArrivesAnyMore)
{
    builder.component("one").pattern_content(1'000'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(500'000)});
    QStringList speeds;
    stop_when(
        [&]
        {
            const QString speed = text("m_avg_download_speed_label");
            if (!speed.isEmpty() && !speeds.contains(speed))
            {
                speeds.append(speed);
                EXPECT_TRUE(text("m_time_label").startsWith("Est. time remaining "));
            }
            return speeds.size() == 3;
        });
    press_download({});
    for (const QString& speed : speeds)
        EXPECT_TRUE(speed.startsWith('(') && speed.endsWith("B/sec)")) << utf8(speed);
}

TEST_F(DialogRun, StopsWhileItTestsTheConnection)
{
    builder.component("one");
    open();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    stop_when([this] { return server.request_count("/test.txt") > 0; });
    press_download({});
    EXPECT_TRUE(since_stop.within(2000ms));
    EXPECT_EQ(status(), "Download stopped");
    expect_idle();
}

TEST_F(DialogRun, IsNotClosedWhileItRuns)
{
    builder.component("one").pattern_content(100'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(5000)});
    when([this] { return server.body_bytes("/one.run") >= 5000; },
         [this]
         {
             QTest::keyClick(dialog.get(), Qt::Key_Escape);
             EXPECT_TRUE(dialog->isVisible());
             EXPECT_FALSE(dialog->close());
             EXPECT_TRUE(dialog->is_download_in_progress());
             click("m_stop_button");
         });
    press_download({"OK", "OK"});
    const QString words = "Download is currently in progress. Stop the download before exiting the "
                          "application.";
    expect_box(0, words, QMessageBox::Information);
    expect_box(1, words, QMessageBox::Information);
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(DialogRun, LocksItsControlsWhileItRuns)
{
    builder.component("one").pattern_content(100'000, 1);
    open();
    check_auto_install();
    server.set_faults("/one.run", {FAULT::stall_after(5000)});
    when([this] { return server.body_bytes("/one.run") >= 5000; },
         [this]
         {
             expect_busy();
             click("m_stop_button");
         });
    press_download({});
    expect_idle();
}

TEST_F(DialogRun, UsesLittleProcessorTimeWhileItWaits)
{
    builder.component("one").pattern_content(100'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(5000)});
    std::chrono::microseconds begin{};
    QElapsedTimer clock;
    when([this] { return server.body_bytes("/one.run") >= 5000; },
         [&]
         {
             begin = processor_time();
             clock.start();
         });
    // The test checks that nothing happens during this time.
    stop_when([&] { return clock.isValid() && clock.hasExpired(3000); });
    press_download({});
    const auto used = processor_time() - begin;
    // This includes the test's own timers; a busy loop would use all of the three seconds.
    EXPECT_LT(used, 500ms);
}
