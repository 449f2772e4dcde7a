#include "tests/gui/browser.h"
#include "tests/gui/downloader_dlg_fixture.h"
#include "tests/gui/small_screen.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/tested_host.h"

#include "install/vinst/gui/vinst_downloader_treeview_model.h"
#include "install/vinst/gui/vinst_log_viewer_dlg.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "support/afcq/afcq_line_edit_browse_button.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QLayout>
#include <QProgressBar>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QToolButton>
#include <QUrl>

namespace
{

class Dialog : public DownloaderDlgTest
{
protected:
    /// Changes the platform in the settings dialog, and presses the button with that text.
    void choose_platform(const char* radio_button, const char* end_button)
    {
        when([] { return qobject_cast<VINST_SETTINGS_DLG*>(QApplication::activeModalWidget()); },
             [this, radio_button, end_button]
             {
                 auto* const settings = dialog->findChild<VINST_SETTINGS_DLG*>();
                 settings->findChild<QRadioButton*>(radio_button)->click();
                 settings->findChild<QPushButton*>(end_button)->click();
             });
        click("m_settings_button");
    }

    /// Opens the dialog with a file that takes many seconds to check.
    void open_with_long_check()
    {
        constexpr std::uint64_t size = 6ULL << 30;
        builder.component("one").raw_key("size", std::to_string(size));
        builder.write();
        write_file(dir / "dl/one.run", "");
        std::filesystem::resize_file(dir / "dl/one.run", size); // a hole
        open_during_checks();
        ASSERT_TRUE(dialog->is_checking_files());
    }

    bool is_run_column_shown() const { return !tree().isColumnHidden(run_column); }
    QString row_text(int row, int column) const
    {
        return tree().model()->index(row, column).data().toString();
    }
};

}

TEST_F(Dialog, KeepsItsButtonsReachableOnASmallScreen)
{
    builder.component("one").pattern_content(1000, 1);
    open();
    dialog->resize(1024, 500);
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog->height(), 500);
    for (const char* name : {"m_settings_button", "m_help_button", "m_log_button",
                             "m_download_button", "m_stop_button", "m_close_button"})
    {
        const QPushButton& each = button(name);
        const QRect place(each.mapTo(dialog.get(), QPoint(0, 0)), each.size());
        EXPECT_TRUE(dialog->rect().contains(place)) << name;
    }
}

TEST_F(Dialog, ShowsTheReleaseAndWhatItNeeds)
{
    builder.component("one").title("The One").pattern_content(3000, 1).installsize(2ULL << 30);
    open();
    EXPECT_EQ(dialog->windowTitle(), "Orvane\u00ae Veltrin\u00ae Crest Installer");
    EXPECT_EQ(dialog->objectName(), "VINST_DOWNLOADER_DLG");
    EXPECT_EQ(text("m_title_label"), "Orvane Veltrin Crest Pro Edition");
    EXPECT_EQ(row_text(0, name_column), "The One");
    EXPECT_EQ(text("m_total_download_size_label"), "Download size: 0.00 GB");
    EXPECT_EQ(text("m_total_install_size_label"), "Installation size: N/A");
    EXPECT_EQ(text("m_disk_space_available_label"), "Disk space available: 1024.00 GB");
    check_auto_install();
    EXPECT_EQ(text("m_total_install_size_label"), "Installation size: 2.00 GB");
    EXPECT_EQ(text("m_disk_space_required_label"), "Disk space required: 2.00 GB");
    EXPECT_EQ(status(), "Download progress:");
    EXPECT_EQ(find<QLabel>("m_download_message_label").styleSheet(), "QLabel { color : blue; }");
}

TEST_F(Dialog, HasDownloadAsItsOnlyPrimaryButton)
{
    builder.component("one");
    open();
    EXPECT_TRUE(button("m_download_button").isDefault());
    for (const QPushButton* each : dialog->findChildren<QPushButton*>())
    {
        const bool is_download = each->objectName() == "m_download_button";
        EXPECT_EQ(each->property("afcq_primary").toBool(), is_download)
            << each->objectName().toStdString();
    }
}

TEST_F(Dialog, HasItsWidgetsWithTheirTexts)
{
    builder.component("one");
    open();
    const std::vector<std::pair<const char*, const char*>> labels = {
        {"m_description_header_label",
         "<html><head/><body><p><span style=\" font-weight:700;\">Description</span></p></body>"
         "</html>"},
        {"m_description_label",
         "<html><head/><body><p>Select a component for more information</p></body></html>"},
        {"m_download_dir_label", "Download to:"},
        {"m_install_dir_label", "Install to:"},
        {"m_avg_download_speed_label", ""},
        {"m_time_label", ""},
    };
    for (const auto& [name, words] : labels)
        EXPECT_EQ(text(name), words) << name;
    const std::vector<std::pair<const char*, const char*>> buttons = {
        {"m_settings_button", "Settings"}, {"m_help_button", "Help"}, {"m_log_button", "Log"},
        {"m_download_button", "Download"}, {"m_stop_button", "Stop"}, {"m_close_button", "Close"},
    };
    for (const auto& [name, words] : buttons)
        EXPECT_EQ(button(name).text(), words) << name;
    EXPECT_EQ(find<QCheckBox>("m_agree_license_checkbox").text(), "Agree to");
    EXPECT_TRUE(auto_install().isCheckable());
    EXPECT_EQ(find<QGroupBox>("m_disk_space_required_groupbox").title(), "Disk Space Required");
    EXPECT_EQ(find<QGroupBox>("m_download_status_gropbox").title(), "Status");
    EXPECT_FALSE(find<QLabel>("m_logo_label").pixmap(Qt::ReturnByValue).isNull());
    for (const char* name : {"line", "line_2", "line_separator"})
        EXPECT_NE(dialog->findChild<QFrame*>(name), nullptr) << name;
    for (const char* name :
         {"gridLayout_2", "horizontalLayout", "gridLayout", "verticalLayout_3",
          "horizontalLayout_2", "horizontalLayout_9", "horizontalLayout_5", "gridLayout_5",
          "gridLayout_4", "horizontalLayout_10", "horizontalLayout_8"})
        EXPECT_NE(dialog->findChild<QLayout*>(name), nullptr) << name;
    EXPECT_EQ(find<QProgressBar>("m_total_download_progress_bar").value(), 0);
    EXPECT_FALSE(dialog->windowIcon().isNull());
}

TEST_F(Dialog, IsIdleAtFirst)
{
    builder.component("one");
    open();
    EXPECT_EQ(tree().selectionMode(), QAbstractItemView::SingleSelection);
    for (const char* name : {"m_settings_button", "m_help_button", "m_log_button",
                             "m_download_button", "m_close_button"})
        EXPECT_TRUE(button(name).isEnabled()) << name;
    EXPECT_FALSE(button("m_stop_button").isEnabled());
    EXPECT_TRUE(find<QWidget>("m_download_dir_line_edit").isEnabled());
    EXPECT_TRUE(auto_install().isEnabled());
}

TEST_F(Dialog, StartsWithTheDefaultsOfTheRelease)
{
    store("vinst_downloader_download_dir", "");
    store("vinst_downloader_install_dir", "");
    builder.component("one");
    open();
    EXPECT_EQ(line("m_download_dir_line_edit").text(), release->default_download_dir());
    EXPECT_EQ(line("m_install_dir_line_edit").text(),
              release->default_install_dir(this_platform()));
}

TEST_F(Dialog, RemembersWhatTheUserSet)
{
    builder.component("one");
    builder.component("two").selected(false);
    builder.component("act").data_type("install").no_file();
    builder.component("veltrin_base");
    open();
    line("m_download_dir_line_edit").setText(path("elsewhere"));
    line("m_install_dir_line_edit").setText(path("target"));
    check_auto_install();
    find<QCheckBox>("m_action_checkbox_act").click();
    click_row(0);
    tree().take_clicks(); // which rebuilds the actions
    find<QCheckBox>("m_action_checkbox_act").click();
    dialog->resize(1100, 750);
    dialog.reset();

    EXPECT_EQ(stored("vinst_downloader_download_dir").toString(), path("elsewhere"));
    EXPECT_EQ(stored("vinst_downloader_install_dir").toString(), path("target"));
    EXPECT_EQ(stored("vinst_downloader_auto_install").toBool(), true);
    EXPECT_EQ(stored("act").toBool(), false);
    EXPECT_EQ(stored("one").toUInt(), 0U);
    EXPECT_EQ(stored("two").toUInt(), 0U);
    EXPECT_FALSE(stored("FrameGeometry").toByteArray().isEmpty());

    reopen();
    EXPECT_EQ(line("m_download_dir_line_edit").text(), path("elsewhere"));
    EXPECT_EQ(line("m_install_dir_line_edit").text(), path("target"));
    EXPECT_TRUE(auto_install().isChecked());
    EXPECT_FALSE(find<QCheckBox>("m_action_checkbox_act").isChecked());
    EXPECT_EQ(tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
}

TEST_F(Dialog, OffersToRunInstallersWithoutAutomaticInstallation)
{
    builder.component("one");
    open();
    EXPECT_TRUE(is_run_column_shown());
    check_auto_install();
    EXPECT_FALSE(is_run_column_shown());
}

TEST_F(Dialog, LinksToTheLicenceWhenInstalling)
{
    builder.component("one");
    open();
    const QString inactive = "<html><head/><body><p><a href=><span style=\" text-decoration: "
                             "underline; color:#cccccc;\">Orvane License Agreement</span></a></p>"
                             "</body></html>";
    const QString path =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../licenses/main.html");
    EXPECT_EQ(text("m_license_agreement_label"), inactive);
    check_auto_install();
    EXPECT_EQ(text("m_license_agreement_label"),
              "<html><head/><body><p><a href=" + path +
                  "><span style=\" text-decoration: underline; color:#0000ff;\">Orvane License "
                  "Agreement</span></a></p></body></html>");
    auto_install().setFocus();
    QTest::keyClick(&auto_install(), Qt::Key_Space);
    EXPECT_FALSE(auto_install().isChecked());
    EXPECT_EQ(text("m_license_agreement_label"), inactive);
}

TEST_F(Dialog, PressesTheButtonThatHasTheFocusOnReturn)
{
    builder.component("one");
    open();
    QApplication::setActiveWindow(dialog.get());
    button("m_log_button").setFocus();
    QTest::keyClick(&button("m_log_button"), Qt::Key_Return);
    auto* const viewer = dialog->findChild<VINST_LOG_VIEWER_DLG*>();
    EXPECT_TRUE(viewer->isVisible());
    EXPECT_EQ(server.request_count(), 0U) << "no download was started";
    QApplication::setActiveWindow(viewer);
    QTest::keyClick(viewer, Qt::Key_Return);
    EXPECT_FALSE(viewer->isVisible());
}

TEST_F(Dialog, OffersNoInstallationWithoutRights)
{
    host.is_admin = false;
    store("vinst_downloader_auto_install", true);
    builder.component("one");
    open();
    EXPECT_FALSE(auto_install().isEnabled());
    EXPECT_FALSE(auto_install().isChecked());
    EXPECT_EQ(auto_install().title(), "Auto install after download (Disabled: No admin privilege)");
    EXPECT_EQ(auto_install().toolTip(),
              "Auto-install is disabled as you do not have admin privilege.");
    EXPECT_FALSE(is_run_column_shown());
}

TEST_F(Dialog, FollowsThePlatformOfTheSettings)
{
    builder.component("one");
    builder.component("other").platform(other_platform().toStdString()).filename("other.exe");
    builder.component("act").data_type("install").no_file();
    open();
    check_auto_install();
    choose_platform(radio_button_of(other_platform()), "m_ok_btn");
    wait_for_checks();
    EXPECT_EQ(row_text(0, base_name_column), "other");
    EXPECT_EQ(tree().model()->rowCount(), 1);
    EXPECT_FALSE(auto_install().isEnabled());
    EXPECT_FALSE(auto_install().isChecked());
    EXPECT_TRUE(text("m_license_agreement_label").contains("#cccccc"));
    EXPECT_EQ(auto_install().title(), "Auto install after download (Disabled: Unable to install "
                                      "due to different platform)");
    EXPECT_EQ(auto_install().toolTip(),
              "Auto install is disabled as the platform selected does not match the platform that "
              "the application is running on.");
    EXPECT_FALSE(is_run_column_shown());
    EXPECT_EQ(dialog->findChild<QCheckBox*>("m_action_checkbox_act"), nullptr);

    choose_platform(radio_button_of(this_platform()), "m_ok_btn");
    wait_for_checks();
    EXPECT_EQ(row_text(0, base_name_column), "one");
    EXPECT_TRUE(auto_install().isEnabled());
    EXPECT_EQ(auto_install().title(), "Auto install after download");
    EXPECT_EQ(auto_install().toolTip(), "");
    EXPECT_NE(dialog->findChild<QCheckBox*>("m_action_checkbox_act"), nullptr);
}

TEST_F(Dialog, KeepsThePlatformWhenTheSettingsAreCancelled)
{
    builder.component("one");
    builder.component("other").platform(other_platform().toStdString()).filename("other.exe");
    open();
    choose_platform(radio_button_of(other_platform()), "m_cancel_btn");
    EXPECT_EQ(row_text(0, base_name_column), "one");
    EXPECT_EQ(stored("vinst_os").toString(), "");
}

TEST_F(Dialog, DisablesInstallationWhenLinuxIsChosenOnAnotherMachine)
{
    store("vinst_os", this_platform());
    host.platform = other_platform();
    builder.component("one");
    open();
    EXPECT_FALSE(auto_install().isEnabled());
    EXPECT_TRUE(
        auto_install().title().endsWith("(Disabled: Unable to install due to different platform)"));
}

TEST_F(Dialog, OffersTheActionsOfTheCheckedComponents)
{
    builder.component("veltrin_base");
    builder.component("tools");
    builder.component("act").data_type("install").no_file().parent("tools");
    open();
    auto& action = find<QCheckBox>("m_action_checkbox_act");
    EXPECT_FALSE(action.isEnabled());
    check_auto_install();
    EXPECT_TRUE(action.isEnabled());
    EXPECT_TRUE(action.isChecked());
    click_row(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !action.isEnabled(); }, long_wait));
    EXPECT_FALSE(action.isChecked());
}

TEST_F(Dialog, SelectsDependenciesOfTheUsersChoice)
{
    builder.component("base").selected(false).title("The Base");
    builder.component("middle").selected(false).depends_on({"base"}).title("The Middle");
    builder.component("top").selected(false).depends_on({"middle"});
    open();
    const QModelIndex top = tree().model()->index(2, 0);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(top).center());
    EXPECT_TRUE(QTest::qWaitFor(
        [this] {
            return status() ==
                   "Also selected, since other components need it: The Base, The Middle";
        },
        long_wait))
        << status().toStdString();
    for (int row = 0; row < 3; ++row)
        EXPECT_EQ(tree().model()->index(row, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
    EXPECT_TRUE(log_holds("Add dependent component: base\n"));
    // Components that are no longer needed keep their state.
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(top).center());
    tree().take_clicks();
    EXPECT_EQ(tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
}

TEST_F(Dialog, SelectsIndirectDependencies)
{
    builder.component("deep").selected(false);
    builder.component("group").selected(false);
    builder.component("child").selected(false).parent("group").depends_on({"deep"});
    builder.component("top").selected(false).depends_on({"group"});
    open();
    const QModelIndex top = tree().model()->index(tree().model()->rowCount() - 1, 0);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(top).center());
    EXPECT_TRUE(QTest::qWaitFor(
        [this]
        { return tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked; },
        long_wait));
}

TEST_F(Dialog, DescribesTheCurrentComponent)
{
    builder.component("one").desc("<h1>Not markup</h1>\nSecond line");
    open();
    EXPECT_TRUE(text("m_description_label").contains("Select a component for more information"));
    const QModelIndex row = tree().model()->index(0, download_size_column);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(row).center());
    EXPECT_EQ(text("m_description_label"),
              QString::fromStdString(
                  "<h1>Not markup</h1>\nSecond line\n\nmd5sum: " + builder.file("one").md5 +
                  "\nsha1sum:" + builder.file("one").sha1));
    EXPECT_EQ(find<QLabel>("m_description_label").textFormat(), Qt::PlainText);
    choose_platform(radio_button_of(other_platform()), "m_ok_btn");
    EXPECT_EQ(text("m_description_label"),
              "<html><head/><body><p>Select a component for more information</p></body></html>");
    choose_platform(radio_button_of(this_platform()), "m_ok_btn");
    EXPECT_EQ(tree().model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
}

TEST_F(Dialog, VerifiesExistingFiles)
{
    builder.component("one").pattern_content(3000, 1);
    builder.write();
    write_file(dir / "dl/one.run", read_file(builder.file("one").path));
    open();
    EXPECT_EQ(tree().model()->index(0, integrity_column).data(tree_cell_role).toInt(), 2);
    EXPECT_EQ(tree().model()->index(0, progress_column).data(tree_cell_role).toString(), "100%");
    EXPECT_TRUE(tree().model()->index(0, run_column).data(tree_cell_role).toBool());
    EXPECT_EQ(text("m_total_size_downloaded_label"), "Downloaded: 2.93 KB / 2.93 KB -- 100%");
    // The file doesn't exist in the other directory.
    line("m_download_dir_line_edit").setText(path("other"));
    EXPECT_TRUE(QTest::qWaitFor(
        [this]
        { return text("m_total_size_downloaded_label") == "Downloaded: 0.00 B / 2.93 KB -- 0%"; },
        long_wait));
    EXPECT_EQ(tree().model()->index(0, integrity_column).data(tree_cell_role).toInt(), 0);
    EXPECT_FALSE(tree().model()->index(0, run_column).data(tree_cell_role).toBool());
}

TEST_F(Dialog, ForgetsDeselectedFilesOfAnotherDirectory)
{
    builder.component("one").pattern_content(3000, 1);
    builder.write();
    write_file(dir / "dl/one.run", read_file(builder.file("one").path));
    write_file(dir / "other/one.run", "something else");
    open();
    click_row(0);
    tree().take_clicks();
    ASSERT_TRUE(tree().model()->index(0, run_column).data(tree_cell_role).toBool());
    line("m_download_dir_line_edit").setText(path("other"));
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return !tree().model()->index(0, run_column).data(tree_cell_role).toBool(); },
        long_wait));
    EXPECT_EQ(tree().model()->index(0, integrity_column).data(tree_cell_role).toInt(), 0);
    EXPECT_EQ(tree().model()->index(0, progress_column).data(tree_cell_role).toString(), "");
}

TEST_F(Dialog, UsesADirectoryThatTheUserBrowsesFor)
{
    builder.component("one");
    QString start;
    QString answer = "/chosen/dir";
    host.choose_directory = [&](QWidget*, const QString& from)
    {
        start = from;
        return answer;
    };
    open();
    auto* const browse =
        find<QWidget>("m_download_dir_line_edit").findChild<QToolButton*>("m_browse_button");
    QTest::mouseClick(browse, Qt::LeftButton);
    EXPECT_EQ(start, path("dl"));
    EXPECT_EQ(line("m_download_dir_line_edit").text(), native(QStringLiteral("/chosen/dir")));
    EXPECT_EQ(line("m_install_dir_line_edit").text(), path("inst"));
    answer.clear();
    QTest::mouseClick(browse, Qt::LeftButton);
    EXPECT_EQ(line("m_download_dir_line_edit").text(), native(QStringLiteral("/chosen/dir")));
}

TEST_F(Dialog, OpensTheDocumentationAndTheLicence)
{
    builder.component("one");
    open();
    BROWSER browser;
    click("m_help_button");
    Q_EMIT find<QLabel>("m_license_agreement_label").linkActivated("anything");
    ASSERT_EQ(browser.opened.size(), 2);
    EXPECT_EQ(browser.opened[0], release->documentation_url());
    EXPECT_EQ(browser.opened[1],
              QUrl::fromLocalFile(QDir::cleanPath(QCoreApplication::applicationDirPath() +
                                                  "/../licenses/main.html"))
                  .toString());
}

TEST_F(Dialog, ShowsTheLogWithoutBlocking)
{
    builder.component("one");
    open();
    auto* const log = dialog->findChild<VINST_LOG_VIEWER_DLG*>();
    EXPECT_FALSE(log->isVisible());
    click("m_log_button");
    EXPECT_TRUE(log->isVisible());
    log->showMinimized();
    click("m_log_button");
    EXPECT_FALSE(log->isMinimized());
    log->findChild<QPushButton*>("m_close_btn")->click();
    EXPECT_FALSE(log->isVisible());
    click("m_log_button");
    EXPECT_TRUE(log->isVisible());
    EXPECT_TRUE(dialog->close());
    EXPECT_FALSE(log->isVisible());
}

TEST_F(Dialog, ClosesByEscapeAndByItsButton)
{
    builder.component("one");
    open();
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_TRUE(is_shutting_down());
    forget_stop_request();
    reopen();
    click("m_close_button");
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(Dialog, IsNotClosedWhileACheckRuns)
{
    open_with_long_check();
    {
        MODAL_BOXES boxes({"OK"});
        EXPECT_FALSE(dialog->close());
        ASSERT_EQ(boxes.shown().size(), 1U);
        EXPECT_EQ(boxes.shown()[0].text, "Please wait while a background task is being processed.");
        EXPECT_EQ(boxes.shown()[0].icon, QMessageBox::Information);
        EXPECT_EQ(boxes.shown()[0].title, program_title());
        EXPECT_EQ(boxes.shown()[0].buttons, QStringList("OK"));
    }
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(is_shutting_down());
}

TEST_F(Dialog, ContinuesCheckingWhileTheConnectionIsTested)
{
    open_with_long_check();
    MODAL_BOXES boxes({"OK"});
    dialog->findChild<QPushButton*>("m_test_internet_connection_btn")->click();
    ASSERT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(boxes.shown()[0].text, "Internet connection tested successfully!");
    EXPECT_TRUE(dialog->is_checking_files());
}

TEST_F(Dialog, OpensTheSurveyWhenTheUserAgrees)
{
    store("vinst_never_ask_feedback", "");
    builder.component("one");
    open();
    BROWSER browser;
    for (const char* declined : {"No, thanks", "(close)"})
    {
        MODAL_BOXES boxes({declined});
        EXPECT_TRUE(dialog->close());
        ASSERT_EQ(boxes.shown().size(), 1U);
        EXPECT_EQ(boxes.shown()[0].title, "Feedback");
        EXPECT_TRUE(browser.opened.isEmpty());
        forget_stop_request();
        reopen();
    }
    MODAL_BOXES boxes({" Sure, I'll give feedback "});
    EXPECT_TRUE(dialog->close());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(browser.opened, QStringList(release->survey_url()));
}

TEST_F(Dialog, NeverAsksAgainIfTheUserOptedOut)
{
    store("vinst_never_ask_feedback", "");
    builder.component("one");
    open();
    {
        MODAL_BOXES boxes({"(close)"});
        boxes.check_boxes();
        EXPECT_TRUE(dialog->close());
    }
    EXPECT_EQ(stored("vinst_never_ask_feedback").toString(), "true");
    forget_stop_request();
    reopen();
    MODAL_BOXES none({});
    EXPECT_TRUE(dialog->close());
}

TEST_F(Dialog, ShowsProblemsOfADirectoryWhileItIsTyped)
{
    builder.component("one").pattern_content(3000, 1);
    open();
    const auto& download = find<QLabel>("m_download_dir_problem_label");
    const auto& install = find<QLabel>("m_install_dir_problem_label");
    EXPECT_FALSE(download.isVisible());
    line("m_download_dir_line_edit").clear();
    QTest::keyClicks(&line("m_download_dir_line_edit"), path("a b"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return download.isVisible(); }, long_wait));
    EXPECT_EQ(download.text(), "The path must not contain blanks.");
    line("m_download_dir_line_edit").setText(path("release/manifest.json/dl"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return download.text().contains("file"); }, long_wait));
    line("m_download_dir_line_edit").setText(path("dl"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !download.isVisible(); }, long_wait));

    write_file(dir / "inst/file", "x");
    line("m_install_dir_line_edit").setText(path("inst/"));
    line("m_install_dir_line_edit").setText(path("inst"));
    check_auto_install();
    EXPECT_TRUE(QTest::qWaitFor([&] { return install.isVisible(); }, long_wait));
    EXPECT_EQ(install.text(), "This directory is not empty. Choose an empty or a new one.");
    auto_install().setChecked(false);
    Q_EMIT auto_install().clicked(false);
    EXPECT_FALSE(install.isVisible());
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(Dialog, FitsASmallScreen)
{
    builder.component("veltrin_base");
    builder.component("act").data_type("install").no_file().title(std::string(300, 'w'));
    builder.component("act2").data_type("install").no_file().title(std::string(300, 'v'));
    open();
    check_auto_install();
    EXPECT_LE(dialog->minimumSizeHint().width(), 900);
    EXPECT_LE(dialog->minimumSizeHint().height(), 560);
    expect_fits_small_screen(*dialog);
    const auto& area = find<QScrollArea>("m_content_scroll_area");
    EXPECT_LE(area.widget()->minimumSizeHint().width(), area.viewport()->width())
        << "nothing is hidden at the right";
    dialog->show_log();
    expect_fits_small_screen(*dialog->findChild<VINST_LOG_VIEWER_DLG*>());
}

TEST_F(Dialog, ShowsItsStatusWithoutScrollingOnASmallScreen)
{
    builder.component("veltrin_base");
    builder.component("act").data_type("install").no_file();
    open();
    check_auto_install();
    for (const QSize& size : {QSize(1024, 600), small_screen})
    {
        dialog->resize(size);
        QApplication::processEvents();
        ASSERT_LE(dialog->height(), size.height());
        for (const char* name : {"m_download_status_gropbox", "m_download_message_label",
                                 "m_total_download_progress_bar", "m_download_button"})
        {
            const auto& widget = find<QWidget>(name);
            EXPECT_EQ(widget.visibleRegion().boundingRect(), widget.rect()) << name;
            const QRect place(widget.mapTo(dialog.get(), QPoint(0, 0)), widget.size());
            EXPECT_TRUE(dialog->rect().contains(place)) << name;
        }
    }
}

TEST_F(Dialog, CanBeUsedByTheKeyboardInReadingOrder)
{
    builder.component("one");
    builder.component("veltrin_base");
    builder.component("act").data_type("install").no_file();
    open();
    check_auto_install();
    QApplication::setActiveWindow(dialog.get());
    find<QLineEdit>("m_filter_edit").setFocus();
    QStringList order;
    for (int i = 0; i < 40; ++i)
    {
        QWidget* focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        const QString name = focus->objectName();
        const bool is_link_of_label = !order.isEmpty() && order.last() == name;
        if (!is_link_of_label && order.contains(name) && name != "m_line_edit" &&
            name != "m_browse_button")
            break;
        if (!is_link_of_label)
            order.append(name);
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    EXPECT_EQ(order,
              QStringList({"m_filter_edit", "m_download_treeview", "m_description_scroll_area",
                           "m_line_edit", "m_browse_button", "m_install_options_groupbox",
                           "m_agree_license_checkbox", "m_license_agreement_label", "m_line_edit",
                           "m_browse_button", "m_all_actions_checkbox", "m_action_checkbox_act",
                           "m_settings_button", "m_help_button", "m_log_button",
                           "m_download_button", "m_close_button"}));
}
