#include "tests/gui/downloader_dlg_fixture.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/tested_host.h"

#include <QCheckBox>
#include <QScreen>

namespace
{

class DialogSettings : public DownloaderDlgTest
{
protected:
    /// A release with two actions.
    void open_with_actions()
    {
        builder.component("veltrin_base");
        builder.component("tools");
        builder.component("first").title("First").data_type("install").no_file();
        builder.component("second").title("Second").data_type("install").no_file();
        open();
    }

    QCheckBox& all_actions() const { return find<QCheckBox>("m_all_actions_checkbox"); }
    QCheckBox& second() const { return find<QCheckBox>("m_action_checkbox_second"); }

    static constexpr const char* all_actions_key = "Run all actions after the installation";
};

}

TEST_F(DialogSettings, EnableInstallingByDefault)
{
    forget_settings();
    builder.component("one");
    open();
    EXPECT_TRUE(auto_install().isChecked());
    EXPECT_FALSE(find<QCheckBox>("m_agree_license_checkbox").isChecked());
    EXPECT_EQ(line("m_download_dir_line_edit").text(), release->default_download_dir());
    EXPECT_EQ(line("m_install_dir_line_edit").text(),
              release->default_install_dir(this_platform()));
}

TEST_F(DialogSettings, AreStoredWhenTheWindowIsDestroyed)
{
    builder.component("one");
    open();
    line("m_download_dir_line_edit").setText(path("elsewhere"));
    line("m_install_dir_line_edit").setText(path("target"));
    check_auto_install();
    EXPECT_TRUE(dialog->close());
    EXPECT_EQ(stored("vinst_downloader_download_dir").toString(), path("dl"));
    EXPECT_EQ(stored("vinst_downloader_install_dir").toString(), path("inst"));
    EXPECT_EQ(stored("vinst_downloader_auto_install").toBool(), false);
    EXPECT_FALSE(stored("FrameGeometry").isValid());

    dialog.reset();
    EXPECT_EQ(stored("vinst_downloader_download_dir").toString(), path("elsewhere"));
    EXPECT_EQ(stored("vinst_downloader_install_dir").toString(), path("target"));
    EXPECT_EQ(stored("vinst_downloader_auto_install").toBool(), true);
    EXPECT_TRUE(stored("FrameGeometry").isValid());
}

TEST_F(DialogSettings, IncludeTheSizeOfTheWindow)
{
    builder.component("one");
    open();
    // The screen of these tests is narrower than the window, and only slightly higher.
    const int chosen = dialog->minimumHeight() + 7;
    ASSERT_LT(chosen, QGuiApplication::primaryScreen()->availableSize().height());
    ASSERT_NE(chosen, dialog->height());
    dialog->resize(dialog->width(), chosen);
    reopen();
    EXPECT_EQ(dialog->height(), chosen);
}

TEST_F(DialogSettings, SurviveAnInvalidGeometry)
{
    store("FrameGeometry", QByteArray("no geometry"));
    builder.component("one");
    open();
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_GE(dialog->width(), dialog->minimumSizeHint().width());
}

TEST_F(DialogSettings, IncludeWhetherToInstall)
{
    builder.component("one");
    for (const bool choice : {true, false})
    {
        store("vinst_downloader_auto_install", choice);
        open();
        EXPECT_EQ(auto_install().isChecked(), choice);
        auto_install().setChecked(!choice);
        reopen();
        EXPECT_EQ(auto_install().isChecked(), !choice);
        dialog.reset();
    }
}

TEST_F(DialogSettings, IncludeEveryStateOfTheSelectAllBox)
{
    open_with_actions();
    EXPECT_EQ(all_actions().text(), all_actions_key);
    dialog.reset();
    EXPECT_EQ(stored(all_actions_key).toInt(), Qt::Unchecked);

    reopen();
    check_auto_install();
    dialog.reset();
    EXPECT_EQ(stored(all_actions_key).toInt(), Qt::Checked);

    reopen();
    EXPECT_EQ(all_actions().checkState(), Qt::Checked);
    second().click();
    dialog.reset();
    EXPECT_EQ(stored(all_actions_key).toInt(), Qt::PartiallyChecked);
    EXPECT_EQ(stored("First").toBool(), true);
    EXPECT_EQ(stored("Second").toBool(), false);

    reopen();
    EXPECT_EQ(all_actions().checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(release->find_component("first", this_platform())->skip, 0);
    EXPECT_EQ(release->find_component("second", this_platform())->skip, 1);
}

TEST_F(DialogSettings, OfActionsLastUntilAnotherSelection)
{
    open_with_actions();
    check_auto_install();
    second().click();
    reopen();
    EXPECT_FALSE(second().isChecked());
    // The download directory doesn't affect what is installed.
    line("m_download_dir_line_edit").setText(path("elsewhere"));
    line("m_install_dir_line_edit").setText(path("target"));
    ASSERT_TRUE(QTest::qWaitFor(
        [this]
        {
            return release->download_dir() == path("elsewhere") &&
                   release->install_dir() == path("target");
        },
        long_wait));
    EXPECT_FALSE(second().isChecked());

    click_row(1);
    EXPECT_TRUE(QTest::qWaitFor([this] { return second().isChecked(); }, long_wait));
}

TEST_F(DialogSettings, OfFeedbackAreComparedAsText)
{
    builder.component("one");
    open();
    for (const QVariant& value : {QVariant("false"), QVariant(""), QVariant("True"), QVariant("1"),
                                  QVariant("never"), QVariant(false)})
    {
        store("vinst_never_ask_feedback", value);
        reopen();
        MODAL_BOXES boxes({"No, thanks"});
        EXPECT_TRUE(dialog->close()) << value.toString().toStdString();
        forget_stop_request();
    }
    for (const QVariant& value : {QVariant("true"), QVariant(true)})
    {
        store("vinst_never_ask_feedback", value);
        reopen();
        MODAL_BOXES none({});
        EXPECT_TRUE(dialog->close());
        forget_stop_request();
    }
}

TEST_F(DialogSettings, OfFeedbackAreKeptWhenTheUserOnlyDeclined)
{
    store("vinst_never_ask_feedback", "");
    builder.component("one");
    open();
    {
        MODAL_BOXES boxes({"No, thanks"});
        EXPECT_TRUE(dialog->close());
    }
    dialog.reset();
    EXPECT_EQ(stored("vinst_never_ask_feedback").toString(), "");
}
