#include "tests/gui/downloader_dlg_run_fixture.h"

#include <QAccessible>
#include <QProgressBar>

#include <algorithm>

namespace
{

/// What a screen reader learns about a control.
struct HEARD
{
    QString control;
    QAccessible::Role role;
    QString name;
    QString value = {};
};

/// The main dialog as a screen reader presents it.
class DialogAccessible : public DownloaderDlgRunTest
{
protected:
    void open_release()
    {
        builder.component("veltrin_base").desc("The base");
        builder.component("group").no_file();
        builder.component("one").parent("group");
        builder.component("two").parent("group").selected(false);
        builder.component("act").data_type("install").no_file();
        open();
        check_auto_install();
    }

    static QAccessibleInterface& interface_of(QObject& object)
    {
        return *QAccessible::queryAccessibleInterface(&object);
    }
    QAccessibleInterface& heard(const QString& name) const
    {
        const QStringList path = name.split('/');
        auto* widget = dialog->findChild<QWidget*>(path.first());
        if (path.size() > 1)
            widget = widget->findChild<QWidget*>(path[1]);
        return interface_of(*widget);
    }
    QAccessibleInterface& cell(int row, int column) const
    {
        return *interface_of(tree()).tableInterface()->cellAt(row, column);
    }
};

}

TEST_F(DialogAccessible, EveryControlHasItsRoleNameAndValue)
{
    open_release();
    tree().setCurrentIndex(tree().model()->index(0, 0));
    const std::vector<HEARD> controls{
        {"m_title_label", QAccessible::StaticText, "Orvane Veltrin Crest Pro Edition"},
        {"m_version_label", QAccessible::StaticText, "Version 5.2.0.31"},
        {"m_filter_edit", QAccessible::EditableText, "Filter the components"},
        {"m_component_title_label", QAccessible::StaticText, "The veltrin_base part"},
        {"m_download_treeview", QAccessible::Tree, "Components", "Components"},
        {"m_description_header_label", QAccessible::StaticText, "Description"},
        {"m_description_label", QAccessible::StaticText,
         QString::fromStdString("The base\n\nmd5sum: " + builder.file("veltrin_base").md5 +
                                "\nsha1sum:" + builder.file("veltrin_base").sha1)},
        {"m_download_dir_label", QAccessible::StaticText, "Download to:"},
        {"m_download_dir_line_edit/m_line_edit", QAccessible::EditableText, "Download directory",
         path("dl")},
        {"m_download_dir_line_edit/m_browse_button", QAccessible::Button,
         "Browse for the download directory"},
        {"m_install_options_groupbox", QAccessible::CheckBox, "Auto install after download"},
        {"m_agree_license_checkbox", QAccessible::CheckBox,
         "Agree to the Orvane License Agreement"},
        {"m_license_agreement_label", QAccessible::StaticText, "Orvane License Agreement"},
        {"m_install_dir_label", QAccessible::StaticText, "Install to:"},
        {"m_install_dir_line_edit/m_line_edit", QAccessible::EditableText, "Install directory",
         path("inst")},
        {"m_install_dir_line_edit/m_browse_button", QAccessible::Button,
         "Browse for the install directory"},
        {"m_all_actions_checkbox", QAccessible::CheckBox, "Run all actions after the installation"},
        {"m_action_checkbox_act", QAccessible::CheckBox, "The act part"},
        {"m_total_download_size_label", QAccessible::StaticText, "Download size: 0.00 GB"},
        {"m_total_install_size_label", QAccessible::StaticText, "Installation size: 0.00 GB"},
        {"m_disk_space_required_label", QAccessible::StaticText,
         text("m_disk_space_required_label")},
        {"m_disk_space_available_label", QAccessible::StaticText,
         "Disk space available: 1024.00 GB"},
        {"m_total_download_progress_bar", QAccessible::ProgressBar, "Overall progress", "0"},
        {"m_total_size_downloaded_label", QAccessible::StaticText,
         text("m_total_size_downloaded_label")},
        {"m_download_message_label", QAccessible::StaticText, status()},
        {"m_settings_button", QAccessible::Button, "Settings"},
        {"m_help_button", QAccessible::Button, "Help"},
        {"m_log_button", QAccessible::Button, "Log"},
        {"m_download_button", QAccessible::Button, "Download"},
        {"m_stop_button", QAccessible::Button, "Stop"},
        {"m_close_button", QAccessible::Button, "Close"}};
    for (const HEARD& expected : controls)
    {
        const QAccessibleInterface& control = heard(expected.control);
        EXPECT_EQ(control.role(), expected.role) << expected.control.toStdString();
        EXPECT_EQ(control.text(QAccessible::Name), expected.name);
        EXPECT_EQ(control.text(QAccessible::Value), expected.value)
            << expected.control.toStdString();
    }
    EXPECT_NE(status(), "");
}

TEST_F(DialogAccessible, NoControlIsNameless)
{
    open_release();
    for (QWidget* const widget : dialog->findChildren<QWidget*>())
    {
        if (widget->focusPolicy() == Qt::NoFocus || widget->window() != dialog.get() ||
            widget->focusProxy() != nullptr)
            continue;
        EXPECT_NE(interface_of(*widget).text(QAccessible::Name), "")
            << widget->objectName().toStdString() << " " << widget->metaObject()->className();
        const auto* const label = qobject_cast<const QLabel*>(widget);
        EXPECT_TRUE(label == nullptr || label->accessibleName().isEmpty())
            << "it would replace the text of " << widget->objectName().toStdString();
    }
}

TEST_F(DialogAccessible, NoControlOfTheOtherDialogsIsNameless)
{
    open_release();
    for (const char* name : {"VINST_SETTINGS_DLG", "VINST_LOG_VIEWER_DLG"})
        for (QWidget* const widget : find<QDialog>(name).findChildren<QWidget*>())
        {
            const bool is_part = widget->focusProxy() != nullptr ||
                                 widget->objectName().startsWith("qt_") ||
                                 widget->focusPolicy() == Qt::NoFocus;
            EXPECT_TRUE(is_part || interface_of(*widget).text(QAccessible::Name) != "")
                << name << ": " << widget->objectName().toStdString();
        }
}

TEST_F(DialogAccessible, EveryControlHasItsState)
{
    open_release();
    EXPECT_TRUE(heard("m_install_options_groupbox").state().checked);
    EXPECT_TRUE(heard("m_agree_license_checkbox").state().checked);
    EXPECT_TRUE(heard("m_action_checkbox_act").state().checked);
    EXPECT_TRUE(heard("m_stop_button").state().disabled);
    EXPECT_FALSE(heard("m_download_button").state().disabled);
    auto_install().setChecked(false);
    Q_EMIT auto_install().clicked(false);
    EXPECT_FALSE(heard("m_install_options_groupbox").state().checked);
    EXPECT_FALSE(heard("m_action_checkbox_act").state().checked);
    EXPECT_TRUE(heard("m_action_checkbox_act").state().disabled);
}

TEST_F(DialogAccessible, RowsHaveTheirNamesAndCheckStates)
{
    open_release();
    enum : int
    {
        base_row,
        group_row,
        one_row,
        two_row
    };
    for (const int row : {base_row, group_row, one_row, two_row})
    {
        EXPECT_EQ(cell(row, name_column).role(), QAccessible::TreeItem);
        EXPECT_TRUE(cell(row, name_column).state().checkable);
    }
    EXPECT_EQ(cell(base_row, name_column).text(QAccessible::Name), "The veltrin_base part");
    EXPECT_TRUE(cell(base_row, name_column).state().checked);
    EXPECT_EQ(cell(group_row, name_column).text(QAccessible::Name),
              "The group part, partly selected");
    EXPECT_EQ(cell(one_row, progress_column).text(QAccessible::Name), "") << "before a job";
    EXPECT_FALSE(cell(two_row, name_column).state().checked);
    QTest::keyClick(&tree(), Qt::Key_Home);
    QTest::keyClick(&tree(), Qt::Key_Down);
    QTest::keyClick(&tree(), Qt::Key_Space);
    EXPECT_EQ(cell(group_row, name_column).text(QAccessible::Name), "The group part");
    EXPECT_TRUE(cell(two_row, name_column).state().checked);
}

TEST_F(DialogAccessible, AnnouncesTheEndOfARun)
{
    builder.component("one");
    QStringList announced;
    host.announce = [&](QLabel& label) { announced.append(label.text()); };
    open();
    server.set_faults("/one.run", {FAULT::status(500)});
    press_download({"OK"});
    EXPECT_LE(announced.size(), 1) << "the next one follows after a pause";
    EXPECT_TRUE(QTest::qWaitFor(
        [&]
        { return announced.contains("Download failed. Exceeded retry limit. Process aborted."); },
        long_wait));
    EXPECT_LE(announced.size(), 2);
}
