#include "tests/gui/downloader_dlg_run_fixture.h"

#include <QProgressBar>

namespace
{

/// What rows and the status group show during a job and afterwards.
class DialogRows : public DownloaderDlgRunTest
{
protected:
    QModelIndex progress_cell(int row) const { return tree().model()->index(row, progress_column); }
    QString tool_tip(int row) const { return progress_cell(row).data(Qt::ToolTipRole).toString(); }
    QString heard(int row) const
    {
        return progress_cell(row).data(Qt::AccessibleTextRole).toString();
    }
    QImage picture(int row)
    {
        return tree().viewport()->grab(tree().visualRect(progress_cell(row))).toImage();
    }
};

}

TEST_F(DialogRows, ShowWhatHappensToTheirFiles)
{
    builder.component("one").pattern_content(100'000, 1);
    builder.component("two").pattern_content(3000, 2);
    builder.component("three").pattern_content(3000, 2);
    store("vinst_parallel_download", 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(50'000).times(1)});
    QImage downloading;
    QImage waiting;
    when([this] { return heard(0) == "50%, downloading"; },
         [&]
         {
             EXPECT_EQ(tool_tip(0), "downloading");
             EXPECT_EQ(tool_tip(1), "waiting");
             EXPECT_EQ(heard(1), "0%, waiting");
             downloading = picture(0);
             waiting = picture(1);
             click("m_stop_button");
         });
    press_download({});
    EXPECT_EQ(heard(0), "50%, stopped");
    EXPECT_EQ(tool_tip(1), "");
    EXPECT_EQ(heard(1), "0%");
    EXPECT_NE(picture(1), waiting) << "there was an image";
    press_download({"OK"});
    for (const int row : {0, 1, 2})
        EXPECT_EQ(heard(row), "100%, verified");
}

TEST_F(DialogRows, CountDownToTheNextAttempt)
{
    builder.component("one").pattern_content(3000, 1);
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(503)});
    QStringList seen;
    when(
        [&]
        {
            if (tool_tip(0).startsWith("will retry") && !seen.contains(tool_tip(0)))
                seen.append(tool_tip(0));
            return seen.size() == 2;
        },
        [this] { click("m_stop_button"); });
    press_download({});
    EXPECT_EQ(seen, QStringList({"will retry in 5 secs", "will retry in 4 secs"}));
    EXPECT_TRUE(tool_tip(0).startsWith("failed: ")) << utf8(tool_tip(0));
}

TEST_F(DialogRows, KeepTheReasonOfAFailure)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two");
    open();
    server.set_faults("/one.run", {FAULT::status(500)});
    press_download({"OK"});
    EXPECT_TRUE(tool_tip(0).startsWith("failed: The one part (")) << utf8(tool_tip(0));
    EXPECT_TRUE(tool_tip(0).contains("500"));
    EXPECT_TRUE(heard(0).startsWith("0%, failed: "));
    EXPECT_EQ(heard(1), "100%, verified");
    click_row(0);
    tree().take_clicks();
    EXPECT_EQ(heard(0), "") << "it is not selected any more";
}

TEST_F(DialogRows, ShowWhichComponentIsBeingInstalled)
{
    const std::string go_on = (dir / "go_on").string();
    builder.component("one").content(install_script());
    builder.component("two")
        .title("The <b>second</b>")
        .content("#!/bin/sh\necho 'Copying <i>files</i>'\nwhile [ ! -e '" + go_on +
                 "' ] && [ -d '" + dir.path().string() + "' ]; do sleep 0.01; done\n");
    builder.component("three").content("#!/bin/sh\nexit 3\n");
    open();
    check_auto_install();
    const auto& bar = find<QProgressBar>("m_total_download_progress_bar");
    when([this] { return text("m_installer_output_label") == "Copying <i>files</i>"; },
         [&]
         {
             EXPECT_EQ(heard(0), "100%, installed");
             EXPECT_EQ(heard(1), "100%, installing");
             EXPECT_EQ(heard(2), "100%, verified");
             EXPECT_TRUE(
                 text("m_installation_label").startsWith("Installing 2 of 3: The <b>second</b> ("))
                 << utf8(text("m_installation_label"));
             EXPECT_TRUE(find<QLabel>("m_installation_label").isVisible());
             EXPECT_TRUE(find<QLabel>("m_installer_output_label").isVisible());
             EXPECT_EQ(bar.minimum(), bar.maximum()) << "it is busy";
             EXPECT_EQ(status(), "Installing the selected components, please wait...");
             write_file(go_on, "");
         });
    press_download({"OK"});
    EXPECT_EQ(heard(1), "100%, installed");
    EXPECT_TRUE(tool_tip(2).startsWith("failed: The installer of The three part failed."))
        << utf8(tool_tip(2));
    EXPECT_FALSE(find<QLabel>("m_installation_label").isVisible());
    EXPECT_FALSE(find<QLabel>("m_installer_output_label").isVisible());
    EXPECT_EQ(bar.maximum(), 100);
    EXPECT_EQ(bar.value(), 100);
}

TEST_F(DialogRows, CallAPartOfTheMainProductInstalled)
{
    builder.component("early").content(install_script());
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("late").content(install_script());
    open();
    check_auto_install();
    QString step;
    when(
        [&]
        {
            if (const QString now = text("m_installation_label"); now.startsWith("Installing"))
                step = now;
            return false;
        },
        [] {});
    press_download({"OK"});
    ASSERT_TRUE(status().startsWith("Installation completed")) << utf8(status());
    for (const int row : {0, 1, 2})
        EXPECT_EQ(heard(row), "100%, installed") << row;
    EXPECT_TRUE(step.startsWith("Installing 1 of 1: ")) << utf8(step);
}

TEST_F(DialogRows, CallAStoppedInstallationStopped)
{
    builder.component("one").content("#!/bin/sh\necho > '" + (dir / "running").string() +
                                     "'\nexec sleep 60\n");
    builder.component("two").content(install_script());
    open();
    check_auto_install();
    stop_when([this] { return exists("running"); });
    press_download({"Yes", "OK"});
    EXPECT_EQ(heard(0), "100%, stopped");
    EXPECT_EQ(heard(1), "100%, verified");
}

TEST_F(DialogRows, ShowTheBeginningOfALongLineOfOutput)
{
    const std::string go_on = (dir / "go_on").string();
    builder.component("one").content("#!/bin/sh\necho 'Copying " + std::string(500, 'x') +
                                     " end'\nwhile [ ! -e '" + go_on + "' ] && [ -d '" +
                                     dir.path().string() + "' ]; do sleep 0.01; done\n");
    open();
    check_auto_install();
    when([this] { return !text("m_installer_output_label").isEmpty(); },
         [&]
         {
             EXPECT_TRUE(text("m_installer_output_label").startsWith("Copying xxx"));
             EXPECT_TRUE(text("m_installer_output_label").endsWith(QChar(0x2026)));
             write_file(go_on, "");
         });
    press_download({"OK"});
}

TEST_F(DialogRows, ComeWithoutAHintAboutTheDirectoryThatWasInstalledTo)
{
    builder.component("one").content(install_script());
    builder.component("two").content(install_script());
    open();
    check_auto_install();
    press_download({"OK"});
    ASSERT_TRUE(exists("inst/install_order"));
    const auto& hint = find<QLabel>("m_install_dir_problem_label");
    EXPECT_FALSE(hint.isVisible()) << utf8(hint.text());
    click_row(1);
    tree().take_clicks();
    EXPECT_TRUE(hint.isVisible()) << "the next job would be refused";
}
