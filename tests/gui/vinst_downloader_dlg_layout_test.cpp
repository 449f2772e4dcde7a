#include "tests/gui/downloader_dlg_fixture.h"

#include "support/afcq/afcq_search_edit.h"
#include "tests/gui/looks.h"

#include <QCheckBox>
#include <QSplitter>

namespace
{

constexpr QSize default_size(1180, 800);

/// How the main dialog divides its space.
class DialogLayout : public DownloaderDlgTest
{
protected:
    DialogLayout() { QApplication::setFont(QFont("DejaVu Sans", 9)); }
    ~DialogLayout() override { QApplication::setFont(m_font_of_tests); }

    void open_with_rows(int count)
    {
        for (int i = 0; i < count; ++i)
            builder.component("part_" + std::to_string(i)).pattern_content(1000, 1);
        for (const char* name : {"shortcut", "file_types"})
            builder.component(name).data_type("install").no_file();
        open();
    }

    /// Not limited by the screen of the tests.
    void resize(const QSize& size) const
    {
        dialog->resize(size);
        QCoreApplication::processEvents();
    }

    int visible_rows() const
    {
        const QRect view = tree().viewport()->rect();
        int count = 0;
        for (int row = 0; row < tree().model()->rowCount(); ++row)
            count += view.contains(tree().visualRect(tree().model()->index(row, 0))) ? 1 : 0;
        return count;
    }

    /// Other dialogs below it have widgets of the same names.
    QRect place_of(const char* name) const
    {
        for (const QWidget* widget : dialog->findChildren<QWidget*>(name))
            if (widget->window() == dialog.get())
                return {widget->mapTo(dialog.get(), QPoint(0, 0)), widget->size()};
        throw std::runtime_error(std::string("no widget ") + name);
    }

    QSplitter& splitter() const { return find<QSplitter>("m_content_splitter"); }

private:
    const QFont m_font_of_tests = QApplication::font();
};

constexpr const char* space_labels[] = {
    "m_total_download_size_label",           "m_total_install_size_label",
    "m_disk_space_required_label",           "m_disk_space_available_label",
    "m_download_disk_space_available_label", "m_installation_disk_space_available_label"};

constexpr const char* install_options[] = {"m_agree_license_checkbox", "m_install_dir_line_edit",
                                           "m_after_install_actions"};

}

TEST_F(DialogLayout, ShowsFourteenRowsAtItsDefaultSize)
{
    open_with_rows(30);
    EXPECT_EQ(VINST_DOWNLOADER_DLG(*release, host).size(), default_size);
    resize(default_size);
    EXPECT_GE(visible_rows(), 14);
    check_auto_install();
    QCoreApplication::processEvents();
    EXPECT_GE(visible_rows(), 14) << "with the install options";
}

TEST_F(DialogLayout, ShowsTheStatusOnAScreenOfSixHundredPixels)
{
    open_with_rows(30);
    check_auto_install();
    resize({1016, 560});
    const QLabel& status_label = find<QLabel>("m_download_message_label");
    EXPECT_EQ(status_label.visibleRegion().boundingRect().size(), status_label.size())
        << "scrolled out of view";
    EXPECT_GE(visible_rows(), 3);
}

TEST_F(DialogLayout, FoldsTheInstallOptionsWhenTheyDoNotApply)
{
    open_with_rows(3);
    ASSERT_FALSE(auto_install().isChecked());
    const int folded = auto_install().height();
    for (const char* name : install_options)
        EXPECT_FALSE(find<QWidget>(name).isVisible()) << name;
    check_auto_install();
    QCoreApplication::processEvents();
    for (const char* name : install_options)
        EXPECT_TRUE(find<QWidget>(name).isVisible()) << name;
    EXPECT_GT(auto_install().height(), folded + 50);
}

TEST_F(DialogLayout, ShowsTheSpaceFiguresOnOneLine)
{
    host.query_volume = [](const QString& directory) {
        return VINST_VOLUME{directory.endsWith("/inst") ? "/inst" : "/", 1LL << 40};
    };
    std::filesystem::create_directories(dir / "inst");
    open_with_rows(3);
    check_auto_install();
    resize(default_size);
    int shown = 0;
    for (const char* name : space_labels)
    {
        const QLabel& label = find<QLabel>(name);
        if (!label.isVisible())
            continue;
        ++shown;
        EXPECT_EQ(place_of(name).top(), place_of(space_labels[0]).top()) << name;
        EXPECT_GE(label.width(), label.fontMetrics().horizontalAdvance(label.text())) << name;
    }
    EXPECT_EQ(shown, 5);
}

TEST_F(DialogLayout, RemembersTheWidthOfTheDescription)
{
    open_with_rows(3);
    resize({700, 450}); // fits the screen of the tests
    ASSERT_EQ(splitter().widget(0)->findChild<QWidget*>("m_download_treeview"), &tree());
    ASSERT_NE(splitter().widget(1)->findChild<QLabel*>("m_description_label"), nullptr);
    EXPECT_FALSE(splitter().childrenCollapsible());
    const QList<int> at_first = splitter().sizes();
    EXPECT_GT(at_first[0], at_first[1]);
    splitter().setSizes({at_first[0] - 40, at_first[1] + 40});
    const QList<int> chosen = splitter().sizes();
    ASSERT_NE(chosen, at_first);
    reopen();
    EXPECT_EQ(splitter().sizes(), chosen);
}

TEST_F(DialogLayout, IgnoresAStoredSplitterThatIsNone)
{
    store("vinst_downloader_splitter", QByteArray("nonsense"));
    open_with_rows(3);
    for (const int width : splitter().sizes())
        EXPECT_GT(width, 0);
}

TEST_F(DialogLayout, ShowsTheVersionInTheHeader)
{
    open_with_rows(1);
    resize(default_size);
    EXPECT_EQ(text("m_version_label"), "Version " + release->version);
    EXPECT_NE(release->version, "");
    EXPECT_LT(place_of("m_version_label").top(), place_of("line").top());
}

TEST_F(DialogLayout, ShowsReadableStatusTextsOnADarkWindow)
{
    open_with_rows(2);
    dialog->setPalette(dark_palette());
    QLabel& label = find<QLabel>("m_download_message_label");
    const QColor blue_ground = most_frequent_color(label.grab().toImage());
    EXPECT_GE(contrast(blue_ground, Qt::blue), 4.5) << blue_ground.name().toStdString();
    EXPECT_LT(contrast(blue_ground, Qt::blue), 4.6) << "brighter than it must be";

    server.set_faults("/part_0.run", {FAULT::status(404)});
    {
        MODAL_BOXES boxes({"OK"});
        click("m_download_button");
    }
    ASSERT_EQ(label.styleSheet(), "QLabel { color : red; }");
    const QColor red_ground = most_frequent_color(label.grab().toImage());
    EXPECT_GE(contrast(red_ground, Qt::red), 4.5) << red_ground.name().toStdString();
    EXPECT_LT(red_ground.lightness(), dark_palette().color(QPalette::Window).lightness());
    dialog->setPalette(light_palette());
    EXPECT_EQ(label.parentWidget()->styleSheet(), "");
}

TEST_F(DialogLayout, HeadsTheDescriptionWithTheWholeTitle)
{
    const std::string title =
        "Device support of the Orion family, with the timing models of all speed grades";
    builder.component("one").title(title);
    builder.component("two");
    open();
    tree().setCurrentIndex(tree().model()->index(1, 0));
    QLabel& heading = find<QLabel>("m_component_title_label");
    EXPECT_EQ(heading.text(), "The two part");
    tree().setCurrentIndex(tree().model()->index(0, 0));
    EXPECT_TRUE(heading.isVisible());
    EXPECT_EQ(utf8(heading.text()), title);
    EXPECT_TRUE(heading.font().bold());
    EXPECT_EQ(utf8(tree().model()->index(0, 0).data(Qt::ToolTipRole).toString()), title);
}

TEST_F(DialogLayout, FiltersTheTreeByKeyboardAlone)
{
    open_with_rows(12);
    QApplication::setActiveWindow(dialog.get());
    AFCQ_SEARCH_EDIT& filter = find<AFCQ_SEARCH_EDIT>("m_filter_edit");
    EXPECT_TRUE(QTest::qWaitFor([this] { return dialog->focusWidget() == &tree(); }, long_wait));
    QTest::keyClick(dialog.get(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(dialog->focusWidget(), &filter);
    QTest::keyClicks(&filter, "part_1");
    const auto shown = [this]
    {
        int count = 0;
        for (int row = 0; row < tree().model()->rowCount(); ++row)
            count += tree().isRowHidden(row, {}) ? 0 : 1;
        return count;
    };
    EXPECT_EQ(shown(), 3);
    EXPECT_FALSE(find<QLabel>("m_no_match_label").isVisible());
    QTest::keyClicks(&filter, "x");
    EXPECT_EQ(shown(), 0);
    EXPECT_TRUE(find<QLabel>("m_no_match_label").isVisible());
    QTest::keyClick(&filter, Qt::Key_Escape);
    EXPECT_EQ(filter.text(), "");
    EXPECT_EQ(shown(), 12);
    EXPECT_TRUE(dialog->isVisible());
    QTest::keyClick(&filter, Qt::Key_Return);
    EXPECT_EQ(dialog->focusWidget(), &tree());
    EXPECT_FALSE(dialog->is_download_in_progress());
}

TEST_F(DialogLayout, ShowsTheCurrentComponentAfterTheFilterWasCleared)
{
    open_with_rows(100);
    resize(default_size);
    AFCQ_SEARCH_EDIT& filter = find<AFCQ_SEARCH_EDIT>("m_filter_edit");
    QTest::keyClicks(&filter, "part_77");
    const QModelIndex current = tree().model()->index(77, 0);
    tree().setCurrentIndex(current);
    QTest::keyClick(&filter, Qt::Key_Escape);
    EXPECT_EQ(filter.text(), "");
    EXPECT_TRUE(tree().viewport()->rect().contains(tree().visualRect(current)));
}

TEST_F(DialogLayout, LeavesAGroupCollapsedWhenTheFilterIsCleared)
{
    builder.component("group").no_file();
    builder.component("member").parent("group").pattern_content(1000, 1);
    open_with_rows(3);
    const QModelIndex group = tree().model()->index(0, 0);
    tree().setCurrentIndex(tree().model()->index(0, 0, group));
    tree().collapse(group);
    AFCQ_SEARCH_EDIT& filter = find<AFCQ_SEARCH_EDIT>("m_filter_edit");
    QTest::keyClicks(&filter, "part_1");
    QTest::keyClick(&filter, Qt::Key_Escape);
    EXPECT_FALSE(tree().isExpanded(group));
}
