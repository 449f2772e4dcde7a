#include "tests/gui/downloader_dlg_run_fixture.h"

void DownloaderDlgRunTest::open_with_long_check()
{
    constexpr std::uint64_t size = 8ULL << 30;
    builder.component("one").raw_key("size", std::to_string(size));
    write_file(dir / "dl/one.run", "");
    std::filesystem::resize_file(dir / "dl/one.run", size); // a hole
    open_during_checks();
    server.serve("/one.run", SERVED_BODY::of_pattern(size));
}

void DownloaderDlgRunTest::press_download(const QStringList& answers)
{
    MODAL_BOXES boxes(answers);
    click("m_download_button");
    shown = boxes.shown();
}

void DownloaderDlgRunTest::expect_idle()
{
    EXPECT_FALSE(dialog->is_download_in_progress());
    EXPECT_EQ(tree().selectionMode(), QAbstractItemView::SingleSelection);
    for (const char* name : {"m_settings_button", "m_help_button", "m_log_button",
                             "m_download_button", "m_close_button"})
        EXPECT_TRUE(button(name).isEnabled()) << name;
    EXPECT_FALSE(button("m_stop_button").isEnabled());
    EXPECT_TRUE(find<QWidget>("m_download_dir_line_edit").isEnabled());
    EXPECT_EQ(auto_install().isEnabled(), host.is_admin);
    EXPECT_EQ(text("m_license_agreement_label").contains("#0000ff"), auto_install().isChecked());
}

void DownloaderDlgRunTest::expect_busy()
{
    EXPECT_TRUE(dialog->is_download_in_progress());
    EXPECT_EQ(tree().selectionMode(), QAbstractItemView::NoSelection);
    for (const char* name : {"m_download_button", "m_close_button"})
        EXPECT_FALSE(button(name).isEnabled()) << name;
    for (const char* name : {"m_settings_button", "m_help_button", "m_log_button", "m_stop_button"})
        EXPECT_TRUE(button(name).isEnabled()) << name;
    EXPECT_FALSE(find<QWidget>("m_download_dir_line_edit").isEnabled());
    EXPECT_FALSE(auto_install().isEnabled());
    EXPECT_TRUE(text("m_license_agreement_label").contains("#cccccc"));
    const QModelIndex row = tree().model()->index(0, 0);
    click_row(0);
    tree().setFocus();
    QTest::keyClick(&tree(), Qt::Key_Space);
    EXPECT_EQ(row.data(Qt::CheckStateRole).toInt(), Qt::Checked);
}

void DownloaderDlgRunTest::expect_box(std::size_t index, const QString& words,
                                      QMessageBox::Icon icon, const QString& title)
{
    ASSERT_LT(index, shown.size());
    EXPECT_EQ(shown[index].text, words);
    EXPECT_EQ(shown[index].icon, icon);
    EXPECT_EQ(shown[index].title, title);
    const bool is_question = title != program_title();
    QStringList buttons = is_question ? QStringList({"No", "Yes"}) : QStringList("OK");
    if (words.contains("Please check the log"))
        buttons.append("Show log");
    shown[index].buttons.sort();
    EXPECT_EQ(shown[index].buttons, buttons);
}

void DownloaderDlgRunTest::stop_when(std::function<bool()> condition)
{
    when(std::move(condition),
         [this]
         {
             since_stop.restart();
             click("m_stop_button");
         });
}
