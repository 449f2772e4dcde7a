#include "install/vinst/gui/vinst_downloader_treeview.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_treeview_delegates.h"
#include "install/vinst/release/vinst_data.h"
#include "support/afcq/afcq_style.h"
#include "tests/gui/modal_box.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace
{

/// A tree with a small release:
///     veltrin_base
///     tools
///       scope
///         probe
///       editor
///     help
class TreeView : public ::testing::Test
{
protected:
    TreeView()
    {
        QFile::remove(QDir::homePath() + "/.config/Orvane/vinst.conf");
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
        release.set_download_dir(QString::fromStdString((dir / "dl").string()));
        release.set_install_dir("/opt/v");
        base = add("veltrin_base");
        tools = add("tools");
        scope = add("scope", tools);
        probe = add("probe", scope);
        editor = add("editor", tools);
        help = add("help");
        help->selection = VINST_SELECTION::not_selected;
        other = add("other", nullptr, other_platform());
        action = add("action");
        action->kind = VINST_COMPONENT_KIND::install;
    }

    VINST_COMPONENT* add(const QString& name, VINST_COMPONENT* parent = nullptr,
                         const QString& platform = this_platform())
    {
        VINST_COMPONENT* component = release.add_component();
        component->name = name;
        component->title = "The " + name;
        component->filename = name + ".run";
        component->kind = VINST_COMPONENT_KIND::download;
        component->platform = platform;
        component->selection = VINST_SELECTION::selected;
        component->size = 3000;
        component->installsize = 5.0 * 1024 * 1024;
        if (parent != nullptr)
            component->set_parent(*parent);
        release.index_component(component);
        return component;
    }

    void fill()
    {
        tree.set_release(release);
        tree.set_platform(this_platform());
        tree.populate();
        tree.restore_states();
        tree.resize(900, 400);
        tree.show();
    }

    QModelIndex index(const VINST_COMPONENT* component, int column = name_column) const
    {
        const QModelIndexList found =
            tree.model()->match(tree.model()->index(0, 0), Qt::UserRole, component->name, 1,
                                Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? QModelIndex() : found.first().siblingAtColumn(column);
    }
    Qt::CheckState state(const VINST_COMPONENT* component) const
    {
        return static_cast<Qt::CheckState>(index(component).data(Qt::CheckStateRole).toInt());
    }
    QString cell(const VINST_COMPONENT* component, int column) const
    {
        return index(component, column).data().toString();
    }
    QVariant value(const VINST_COMPONENT* component, int column) const
    {
        return index(component, column).data(tree_cell_role);
    }
    void click(const VINST_COMPONENT* component, int column = name_column)
    {
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, {},
                          tree.visualRect(index(component, column)).center());
    }

    /// Creates the installer's file, as if it had been fetched and verified.
    void verify(VINST_COMPONENT* component)
    {
        verify(component, "#!/bin/sh\ntouch '" + (dir / "ran").string() + "'\n");
    }
    void verify(VINST_COMPONENT* component, const std::string& script)
    {
        write_file(dir / "dl" / component->filename.toStdString(), script, 0755);
        component->size = static_cast<qint64>(
            std::filesystem::file_size(dir / "dl" / component->filename.toStdString()));
        component->file.measure();
        component->file.begin_check();
        component->file.finish_check(
            {true, FIO_FILE_SYSTEM::identity(utf8(component->file.path()))});
    }

    bool log_holds(const std::string& part) const
    {
        return read_file(dir / "log").find(part) != std::string::npos;
    }

    /// Whether these rows are shown, and no others.
    bool shown(const std::vector<const VINST_COMPONENT*>& expected) const
    {
        for (const VINST_COMPONENT* each : {base, tools, scope, probe, editor, help, other})
        {
            const QModelIndex row = index(each);
            const bool is_shown = row.isValid() && !tree.isRowHidden(row.row(), row.parent());
            if (is_shown != (std::find(expected.begin(), expected.end(), each) != expected.end()))
                return false;
        }
        return true;
    }
    /// The names of the components of this platform that count as selected.
    std::string selected() const
    {
        QStringList names;
        for (const VINST_COMPONENT* each : {base, tools, scope, probe, editor, help})
            if (each->is_selected())
                names.append(each->name);
        return utf8(names.join(' '));
    }

    static bool is_blank(const QPixmap& picture)
    {
        const QImage image = picture.toImage();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) != image.pixel(0, 0))
                    return false;
        return true;
    }
    /// What a cell shows, without the focus frame of the current row.
    QPixmap picture(const VINST_COMPONENT* component, int column)
    {
        const QRect cell_rect = tree.visualRect(index(component, column));
        return tree.viewport()->grab(cell_rect.adjusted(2, 2, -2, -2));
    }

    TEMP_DIR dir;
    VINST_RELEASE release;
    VINST_COMPONENT *base, *tools, *scope, *probe, *editor, *help, *other, *action;
    VINST_DOWNLOADER_TREEVIEW tree;
};

}

TEST_F(TreeView, HasItsColumnsInOrder)
{
    fill();
    QStringList headers;
    for (int column = 0; column < tree.model()->columnCount(); ++column)
        headers.append(tree.model()->headerData(column, Qt::Horizontal).toString());
    EXPECT_EQ(headers,
              QStringList({"Name", "Base Name", "Download Size", "Install Size", "Progress",
                           "File Integrity", "", "Description", "md5sum", "sha1sum"}));
    for (const int hidden : {1, 7, 8, 9})
        EXPECT_TRUE(tree.isColumnHidden(hidden)) << hidden;
    EXPECT_EQ(tree.columnWidth(4), 100);
    EXPECT_EQ(tree.header()->sectionResizeMode(0), QHeaderView::Stretch);
    EXPECT_FALSE(tree.header()->stretchLastSection());
}

TEST_F(TreeView, ShowsThePlatformsComponentsBelowTheirParents)
{
    help->platform = "";
    fill();
    EXPECT_EQ(tree.model()->rowCount(), 3);
    EXPECT_EQ(index(scope).parent(), index(tools));
    EXPECT_EQ(index(probe).parent(), index(scope));
    EXPECT_TRUE(tree.isExpanded(index(tools)));
    EXPECT_FALSE(index(other).isValid());
    EXPECT_FALSE(index(action).isValid());
    tree.set_platform(other_platform());
    tree.populate();
    EXPECT_TRUE(index(other).isValid());
    EXPECT_TRUE(index(help).isValid());
    EXPECT_FALSE(index(tools).isValid());
}

TEST_F(TreeView, ShowsEachComponentsFields)
{
    base->desc = "<b>desc</b>";
    base->md5sum = "m";
    base->sha1sum = "s";
    base->downloadsize_str = "3 KB or so";
    help->filename.clear();
    fill();
    EXPECT_EQ(cell(base, name_column), "The veltrin_base");
    EXPECT_EQ(cell(base, base_name_column), "veltrin_base");
    EXPECT_EQ(cell(base, download_size_column), "3 KB or so");
    EXPECT_EQ(cell(base, install_size_column), "5.00 MB");
    EXPECT_EQ(cell(tools, download_size_column), "2.93 KB");
    EXPECT_EQ(cell(help, download_size_column), "N/A");
    EXPECT_EQ(cell(help, install_size_column), "N/A");
    EXPECT_EQ(cell(base, description_column), "<b>desc</b>");
    EXPECT_EQ(cell(base, md5sum_column), "m");
    EXPECT_EQ(cell(base, sha1sum_column), "s");
    EXPECT_EQ(index(base).data(Qt::UserRole).toString(), "veltrin_base");
    EXPECT_EQ(index(base, download_size_column).data(Qt::TextAlignmentRole).toInt(),
              static_cast<int>(Qt::AlignRight | Qt::AlignVCenter));
}

TEST_F(TreeView, ShowsTheSelectionOfTheRelease)
{
    fill();
    EXPECT_EQ(state(base), Qt::Checked);
    EXPECT_EQ(state(help), Qt::Unchecked);
    EXPECT_EQ(state(tools), Qt::Checked);
}

TEST_F(TreeView, ReportsManyClicksOnce)
{
    fill();
    QSignalSpy changes(&tree, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    click(base);
    click(help);
    click(scope);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_TRUE(changes.wait(static_cast<int>(long_enough.count())));
    tree.take_clicks();
    EXPECT_EQ(changes.count(), 1) << "no clicks are left to report";
    EXPECT_EQ(base->selection, VINST_SELECTION::not_selected);
    EXPECT_EQ(help->selection, VINST_SELECTION::selected);
}

TEST_F(TreeView, PropagatesAClickDownAndUp)
{
    fill();
    click(tools);
    for (const VINST_COMPONENT* component : {tools, scope, probe, editor})
    {
        EXPECT_EQ(state(component), Qt::Unchecked) << utf8(component->name);
        EXPECT_EQ(component->selection, VINST_SELECTION::not_selected) << utf8(component->name);
    }
    click(probe);
    EXPECT_EQ(state(probe), Qt::Checked);
    EXPECT_EQ(state(scope), Qt::Checked);
    EXPECT_EQ(state(tools), Qt::PartiallyChecked);
    EXPECT_EQ(tools->selection, VINST_SELECTION::partly_selected);
    EXPECT_EQ(scope->selection, VINST_SELECTION::selected);
}

TEST_F(TreeView, IsPartlyCheckedForASingleGrandchild)
{
    VINST_COMPONENT* second = add("second probe", scope);
    static_cast<void>(second);
    fill();
    click(probe);
    EXPECT_EQ(state(scope), Qt::PartiallyChecked);
    EXPECT_EQ(state(editor), Qt::Checked);
    EXPECT_EQ(state(tools), Qt::PartiallyChecked);
}

TEST_F(TreeView, SelectsAllOfAPartlyCheckedParent)
{
    fill();
    click(probe);
    ASSERT_EQ(state(tools), Qt::PartiallyChecked);
    click(tools);
    for (const VINST_COMPONENT* component : {tools, scope, probe, editor})
        EXPECT_EQ(state(component), Qt::Checked) << utf8(component->name);
}

TEST_F(TreeView, TogglesByTheSpaceKeyInAnyColumn)
{
    fill();
    tree.setCurrentIndex(index(help, progress_column));
    QTest::keyClick(&tree, Qt::Key_Space);
    EXPECT_EQ(state(help), Qt::Checked);
    QTest::keyClick(&tree, Qt::Key_Space);
    EXPECT_EQ(state(help), Qt::Unchecked);
}

TEST_F(TreeView, TogglesByClicksInTheFirstColumnOnly)
{
    fill();
    click(base, download_size_column);
    EXPECT_EQ(state(base), Qt::Checked);
    const QRect row = tree.visualRect(index(base));
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, row.topLeft() + QPoint(8, 8));
    EXPECT_EQ(state(base), Qt::Unchecked) << "one click on the box itself toggles once";
}

TEST_F(TreeView, IgnoresTheUserWhileItIsLocked)
{
    fill();
    QSignalSpy changes(&tree, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    tree.set_editable(false);
    EXPECT_EQ(tree.selectionMode(), QAbstractItemView::NoSelection);
    click(base);
    tree.setCurrentIndex(index(base));
    QTest::keyClick(&tree, Qt::Key_Space);
    EXPECT_EQ(state(base), Qt::Checked);
    tree.take_clicks();
    EXPECT_EQ(changes.count(), 0);
    tree.set_editable(true);
    EXPECT_EQ(tree.selectionMode(), QAbstractItemView::SingleSelection);
    click(base);
    EXPECT_EQ(state(base), Qt::Unchecked);
}

TEST_F(TreeView, RemembersItsStates)
{
    fill();
    click(base);
    click(probe);
    tree.save_states();
    CFGQ_REGISTRY_KEY settings(program_title());
    EXPECT_EQ(settings.get_value("veltrin_base").toUInt(), 0U);
    EXPECT_EQ(settings.get_value("tools").toUInt(), 1U);
    EXPECT_EQ(settings.get_value("editor").toUInt(), 2U);

    for (const auto& component : release.components())
        component->selection = VINST_SELECTION::selected;
    tree.populate();
    tree.restore_states();
    EXPECT_EQ(state(base), Qt::Unchecked);
    EXPECT_EQ(base->selection, VINST_SELECTION::not_selected);
    EXPECT_EQ(state(scope), Qt::Unchecked);
    EXPECT_EQ(state(tools), Qt::PartiallyChecked);
}

TEST_F(TreeView, IgnoresInvalidStates)
{
    CFGQ_REGISTRY_KEY settings(program_title());
    settings.set_value("veltrin_base", "nonsense");
    settings.set_value("help", 7);
    settings.set_value("gone", 0);
    fill();
    EXPECT_EQ(state(base), Qt::Checked);
    EXPECT_EQ(state(help), Qt::Unchecked);
}

TEST_F(TreeView, RecomputesParentsFromStoredStates)
{
    CFGQ_REGISTRY_KEY settings(program_title());
    settings.set_value("tools", 2);
    settings.set_value("scope", 2);
    settings.set_value("probe", 0);
    settings.set_value("editor", 2);
    fill();
    EXPECT_EQ(state(scope), Qt::Unchecked);
    EXPECT_EQ(state(tools), Qt::PartiallyChecked);
    EXPECT_EQ(tools->selection, VINST_SELECTION::partly_selected);
}

TEST_F(TreeView, ShowsProgressAsABar)
{
    fill();
    EXPECT_TRUE(is_blank(picture(base, progress_column)));
    tree.show_percentage(base, 45);
    EXPECT_EQ(value(base, progress_column).toString(), "45%");
    EXPECT_FALSE(is_blank(picture(base, progress_column)));
    tree.show_percentage(other, 45); // has no row
}

TEST_F(TreeView, ElidesLongNamesInTheMiddle)
{
    fill();
    EXPECT_EQ(tree.textElideMode(), Qt::ElideMiddle);
}

TEST_F(TreeView, FiltersByTitleAndName)
{
    fill();
    EXPECT_TRUE(tree.set_filter("SCOP"));
    EXPECT_TRUE(shown({tools, scope, probe}));
    EXPECT_TRUE(tree.set_filter("the veltrin"));
    EXPECT_TRUE(shown({base})) << "all words";
    EXPECT_TRUE(tree.set_filter("tools"));
    EXPECT_TRUE(shown({tools, scope, probe, editor})) << "what is below a match";
    EXPECT_FALSE(tree.set_filter("nothing"));
    EXPECT_TRUE(shown({}));
    EXPECT_TRUE(tree.set_filter(" "));
    EXPECT_TRUE(shown({base, tools, scope, probe, editor, help}));
}

TEST_F(TreeView, ExpandsGroupsWithMatches)
{
    fill();
    tree.collapseAll();
    tree.set_filter("probe");
    EXPECT_TRUE(tree.isExpanded(index(tools)));
    EXPECT_TRUE(tree.isExpanded(index(scope)));
}

TEST_F(TreeView, KeepsTheSelectionWhenItIsFiltered)
{
    fill();
    click(editor);
    const QSignalSpy changes(&tree, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    tree.take_clicks();
    for (const char* text : {"help", "nothing", ""})
    {
        tree.set_filter(text);
        EXPECT_EQ(state(base), Qt::Checked);
        EXPECT_EQ(state(tools), Qt::PartiallyChecked);
        EXPECT_EQ(state(editor), Qt::Unchecked);
        EXPECT_EQ(state(help), Qt::Unchecked);
    }
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(TreeView, KeepsItsFilterOnAnotherPlatform)
{
    fill();
    tree.set_filter("other");
    tree.set_platform(other_platform());
    tree.populate();
    EXPECT_TRUE(shown({other}));
    tree.set_platform(this_platform());
    tree.populate();
    EXPECT_TRUE(shown({}));
}

TEST_F(TreeView, SelectsAllNoneAndTheDefaultByKeys)
{
    fill();
    QApplication::setActiveWindow(&tree);
    tree.setFocus();
    QSignalSpy changes(&tree, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    QTest::keyClick(&tree, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(selected(), "veltrin_base tools scope probe editor help");
    EXPECT_TRUE(changes.wait());
    QTest::keyClick(&tree, Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(selected(), "");
    QTest::keyClick(&tree, Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(selected(), "veltrin_base tools scope probe editor");
    EXPECT_EQ(state(tools), Qt::Checked);
}

TEST_F(TreeView, OffersTheSameInItsContextMenu)
{
    fill();
    EXPECT_EQ(tree.contextMenuPolicy(), Qt::ActionsContextMenu);
    QStringList texts;
    for (const QAction* each : tree.actions())
        texts.append(each->text());
    EXPECT_EQ(texts.join(", "), "Select all, Select none, Select default");
    tree.actions()[1]->trigger();
    EXPECT_EQ(selected(), "");
    tree.set_editable(false);
    for (const QAction* each : tree.actions())
        EXPECT_FALSE(each->isEnabled()) << "during a job";
}

TEST_F(TreeView, SelectsOnlyWhatTheFilterShows)
{
    fill();
    tree.set_filter("scope");
    tree.actions()[1]->trigger();
    EXPECT_EQ(selected(), "veltrin_base tools editor");
    EXPECT_EQ(state(tools), Qt::PartiallyChecked);
}

TEST_F(TreeView, RestoresTheDefaultOfTheReleaseInsteadOfTheStoredSelection)
{
    CFGQ_REGISTRY_KEY settings(program_title());
    settings.set_value("veltrin_base", 0);
    settings.set_value("help", 2);
    fill();
    EXPECT_EQ(state(help), Qt::Checked);
    tree.actions()[2]->trigger();
    EXPECT_EQ(state(help), Qt::Unchecked);
    EXPECT_EQ(state(base), Qt::Checked);
}

TEST_F(TreeView, SummarizesACollapsedGroup)
{
    scope->size = 3LL << 29;
    probe->size = 3LL << 30;
    fill();
    EXPECT_EQ(index(tools).data(tree_summary_role).toString(), "3 of 3, 4.5 GB");
    EXPECT_EQ(index(tools).data(Qt::AccessibleDescriptionRole).toString(), "3 of 3, 4.5 GB");
    EXPECT_FALSE(index(base).data(tree_summary_role).isValid());
    click(editor);
    EXPECT_EQ(index(tools).data(tree_summary_role).toString(), "2 of 3, 4.5 GB");
    const QImage expanded = picture(tools, name_column).toImage();
    tree.collapse(index(tools));
    const QImage collapsed = picture(tools, name_column).toImage();
    const QRect end(collapsed.width() - 80, 0, 80, collapsed.height());
    EXPECT_TRUE(is_blank(QPixmap::fromImage(expanded.copy(end))));
    EXPECT_FALSE(is_blank(QPixmap::fromImage(collapsed.copy(end))));
    click(tools);
    click(tools);
    EXPECT_EQ(index(tools).data(tree_summary_role).toString(), "0 of 3");
}

TEST_F(TreeView, ShowsNoEmptyBarBeforeAJob)
{
    fill();
    tree.show_percentage(base, 0);
    EXPECT_TRUE(is_blank(picture(base, progress_column)));
    tree.set_editable(false);
    tree.show_percentage(base, 0);
    EXPECT_EQ(value(base, progress_column).toString(), "0%");
    EXPECT_FALSE(is_blank(picture(base, progress_column)));
}

TEST_F(TreeView, DrawsABarThatIsLowerThanItsRow)
{
    AFCQ_STYLE style;
    tree.setStyle(&style);
    fill();
    const QImage empty = picture(base, progress_column).toImage();
    tree.show_percentage(base, 100);
    const QImage full = picture(base, progress_column).toImage();
    const int middle = full.width() / 2;
    EXPECT_EQ(full.pixel(middle, 0), empty.pixel(middle, 0));
    EXPECT_EQ(full.pixel(middle, full.height() - 1), empty.pixel(middle, full.height() - 1));
    EXPECT_NE(full.pixel(middle, full.height() / 2), empty.pixel(middle, full.height() / 2));
    tree.setStyle(nullptr);
}

TEST_F(TreeView, ShowsTheLastFailureAsTheToolTipOfItsRow)
{
    fill();
    for (const VINST_TREE_COLUMN column : {progress_column, md5sum_column})
        EXPECT_FALSE(index(base, column).data(Qt::ToolTipRole).isValid());
    EXPECT_EQ(index(base, name_column).data(Qt::ToolTipRole).toString(), "The veltrin_base");
    base->last_failure = "The base (http://dl.test/base.run): HTTP status 503";
    EXPECT_EQ(index(base, name_column).data(Qt::ToolTipRole).toString(),
              "The veltrin_base\n" + base->last_failure);
    for (const VINST_TREE_COLUMN column : {progress_column, md5sum_column})
        EXPECT_EQ(index(base, column).data(Qt::ToolTipRole).toString().toStdString(),
                  base->last_failure.toStdString());
    EXPECT_FALSE(index(help, progress_column).data(Qt::ToolTipRole).isValid());
    base->last_failure = "<b>Not markup</b>";
    EXPECT_TRUE(
        index(base, progress_column).data(Qt::ToolTipRole).toString().contains("&lt;b&gt;Not"));
}

TEST_F(TreeView, ShowsEachIntegrityDifferently)
{
    fill();
    EXPECT_TRUE(is_blank(picture(base, integrity_column)));
    QList<QImage> pictures;
    for (const VINST_INTEGRITY_STATE shown :
         {VINST_INTEGRITY_STATE::passed, VINST_INTEGRITY_STATE::failed,
          VINST_INTEGRITY_STATE::checking})
    {
        tree.show_integrity(base, shown);
        EXPECT_EQ(value(base, integrity_column).toInt(), static_cast<int>(shown));
        const QImage image = picture(base, integrity_column).toImage();
        EXPECT_FALSE(is_blank(QPixmap::fromImage(image)));
        EXPECT_FALSE(pictures.contains(image));
        pictures.append(image);
    }
    tree.show_integrity(base, VINST_INTEGRITY_STATE::passed);
    EXPECT_EQ(index(base, integrity_column).data(Qt::ToolTipRole).toString(), "Passed");
    tree.show_integrity(base, VINST_INTEGRITY_STATE::none);
    EXPECT_TRUE(is_blank(picture(base, integrity_column)));
    EXPECT_EQ(index(base, integrity_column).data(Qt::AccessibleTextRole).toString(), "");
}

TEST_F(TreeView, ShowsThatACompleteFileIsNotCheckedYet)
{
    write_file(dir / "dl/veltrin_base.run", std::string(3000, 'x'));
    write_file(dir / "dl/help.run", std::string(10, 'x'));
    fill();
    EXPECT_EQ(value(base, integrity_column).toInt(), 1);
    EXPECT_EQ(value(help, integrity_column).toInt(), 0);
}

TEST_F(TreeView, AnimatesInStepWithTheClock)
{
    fill();
    tree.show_integrity(base, VINST_INTEGRITY_STATE::checking);
    tree.show_integrity(scope, VINST_INTEGRITY_STATE::checking);
    auto* const delegate = static_cast<VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE*>(
        tree.itemDelegateForColumn(integrity_column));
    qint64 now = 0;
    delegate->clock = [&now] { return now; };
    const QImage first = picture(base, integrity_column).toImage();
    now = 3 * delegate->frame_delay();
    const QImage fourth = picture(base, integrity_column).toImage();
    EXPECT_NE(first, fourth);
    now = 12 * 100 * 1000;
    EXPECT_EQ(picture(base, integrity_column).toImage(), first);
    EXPECT_EQ(picture(scope, integrity_column).toImage(), first);
}

TEST_F(TreeView, OffersToRunWhatIsVerified)
{
    verify(help);
    fill();
    tree.show_run_column(true);
    EXPECT_FALSE(tree.isColumnHidden(run_column));
    EXPECT_TRUE(value(help, run_column).toBool());
    EXPECT_FALSE(value(base, run_column).toBool());
    EXPECT_FALSE(is_blank(picture(help, run_column)));
    EXPECT_TRUE(is_blank(picture(base, run_column)));
    help->file.finish_check({});
    tree.refresh_run_flags();
    EXPECT_FALSE(value(help, run_column).toBool());
    base->standalone = true;
    verify(base);
    tree.show_integrity(base, VINST_INTEGRITY_STATE::passed);
    EXPECT_TRUE(value(base, run_column).toBool());
    tree.show_run_column(false);
    EXPECT_TRUE(tree.isColumnHidden(run_column));
}

TEST_F(TreeView, OffersNothingToRunForAnotherPlatform)
{
    verify(other);
    tree.set_release(release);
    tree.set_platform(other_platform());
    tree.populate();
    EXPECT_FALSE(value(other, run_column).toBool());
}

TEST_F(TreeView, RunsAnInstallerByItsButton)
{
    verify(help);
    base->selection = VINST_SELECTION::not_selected;
    fill();
    tree.show_run_column(true);
    click(help, run_column);
    EXPECT_TRUE(QTest::qWaitFor([this] { return std::filesystem::exists(dir / "ran"); },
                                static_cast<int>(long_enough.count())));
    EXPECT_NE(read_file(dir / "log")
                  .find("install cmd for help: " + (dir / "dl/help.run").string() +
                        " --installdir /opt/v"),
              std::string::npos);
}

TEST_F(TreeView, ReportsTheStartAndTheEndOfAnInstaller)
{
    verify(help, "#!/bin/sh\nexit 3\n");
    fill();
    tree.show_run_column(true);
    QStringList reports;
    QObject::connect(&tree, &VINST_DOWNLOADER_TREEVIEW::run_reported, &tree,
                     [&](const QString& text) { reports.append(text); });
    click(help, run_column);
    EXPECT_EQ(reports, QStringList("Started the installer of The help"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return reports.size() == 2; },
                                static_cast<int>(long_enough.count())));
    EXPECT_EQ(reports.last(), "The installer of The help has ended with exit code 3");
    EXPECT_TRUE(log_holds("The installer of The help has ended with exit code 3"));
}

TEST_F(TreeView, DoesNotStartAnInstallerThatIsStillRunning)
{
    const std::string go_on = (dir / "go_on").string();
    verify(help, "#!/bin/sh\necho x >> '" + (dir / "ran").string() + "'\nwhile [ ! -e '" + go_on +
                     "' ] && [ -d '" + dir.path().string() + "' ]; do sleep 0.01; done\n");
    fill();
    tree.show_run_column(true);
    const QImage enabled = picture(help, run_column).toImage();
    click(help, run_column);
    EXPECT_TRUE(index(help, run_column).data(tree_running_role).toBool());
    EXPECT_NE(picture(help, run_column).toImage(), enabled) << "it looks disabled";
    click(help, run_column);
    tree.setCurrentIndex(index(help));
    QTest::keyClick(&tree, Qt::Key_Return);
    write_file(go_on, "");
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return !index(help, run_column).data(tree_running_role).toBool(); },
                        static_cast<int>(long_enough.count())));
    EXPECT_EQ(dir.read("ran"), "x\n") << "it was started once";
    click(help, run_column);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dir.read("ran") == "x\nx\n"; },
                                static_cast<int>(long_enough.count())));
}

TEST_F(TreeView, ShowsItsButtonsAsDisabledDuringAJob)
{
    verify(help);
    fill();
    tree.show_run_column(true);
    const QImage enabled = picture(help, run_column).toImage();
    tree.set_editable(false);
    EXPECT_NE(picture(help, run_column).toImage(), enabled);
    tree.set_editable(true);
    EXPECT_EQ(picture(help, run_column).toImage(), enabled);
}

TEST_F(TreeView, RemovesTheBarOfARowThatIsNotSelected)
{
    fill();
    tree.show_percentage(base, 40);
    tree.show_percentage(editor, 50);
    click(base);
    tree.hide_bars_of_deselected();
    EXPECT_EQ(value(base, progress_column).toString(), "");
    EXPECT_EQ(value(editor, progress_column).toString(), "50%");
}

TEST_F(TreeView, RunsNothingWhenThePointerLeavesTheButton)
{
    verify(help);
    verify(editor);
    fill();
    tree.show_run_column(true);
    QSignalSpy clicks(static_cast<VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE*>(
                          tree.itemDelegateForColumn(run_column)),
                      &VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::clicked);
    const QPoint button = tree.visualRect(index(help, run_column)).center();
    const QPoint other_button = tree.visualRect(index(editor, run_column)).center();
    const QPoint outside = tree.visualRect(index(help, progress_column)).center();
    for (const QPoint& released : {other_button, outside})
    {
        QTest::mousePress(tree.viewport(), Qt::LeftButton, {}, button);
        QTest::mouseRelease(tree.viewport(), Qt::LeftButton, {}, released);
    }
    QTest::mousePress(tree.viewport(), Qt::LeftButton, {}, outside);
    QTest::mouseRelease(tree.viewport(), Qt::LeftButton, {}, button);
    QTest::mouseClick(tree.viewport(), Qt::RightButton, {}, button);
    EXPECT_EQ(clicks.count(), 0);
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, button);
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_TRUE(QTest::qWaitFor([this] { return std::filesystem::exists(dir / "ran"); },
                                static_cast<int>(long_enough.count())));
}

TEST_F(TreeView, RunsAnInstallerByTheReturnKey)
{
    verify(help);
    base->selection = VINST_SELECTION::not_selected;
    fill();
    tree.setCurrentIndex(index(help));
    QTest::keyClick(&tree, Qt::Key_Return);
    EXPECT_FALSE(log_holds("install cmd")) << "the buttons are not shown";
    tree.show_run_column(true);
    EXPECT_EQ(index(help, run_column).data(Qt::AccessibleTextRole).toString(), "Run");
    EXPECT_EQ(index(base, run_column).data(Qt::AccessibleTextRole).toString(), "");
    QTest::keyClick(&tree, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([this] { return std::filesystem::exists(dir / "ran"); },
                                static_cast<int>(long_enough.count())));
    tree.setCurrentIndex(index(base));
    QTest::keyClick(&tree, Qt::Key_Return);
    EXPECT_FALSE(log_holds("install cmd for veltrin_base"));
}

TEST_F(TreeView, RunsNoFileThatChangedSinceItWasVerified)
{
    verify(help);
    fill();
    tree.show_run_column(true);
    tree.show_integrity(help, VINST_INTEGRITY_STATE::passed);
    write_file(dir / "dl/help.run", "#!/bin/sh\ntouch '" + (dir / "ran").string() + "' #\n", 0755);
    MODAL_BOXES boxes({"OK"});
    click(help, run_column);
    ASSERT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(utf8(boxes.shown()[0].text),
              "The installer has changed since it was verified. Download it again: " +
                  (dir / "dl/help.run").string());
    EXPECT_EQ(boxes.shown()[0].icon, QMessageBox::Critical);
    EXPECT_FALSE(log_holds("install cmd"));
    EXPECT_FALSE(value(help, run_column).toBool());
    EXPECT_EQ(value(help, integrity_column).toInt(), 0) << "the tick is gone";
    EXPECT_FALSE(help->file.has_passed());
}

TEST_F(TreeView, ReportsAnInstallerThatCannotBeStarted)
{
    verify(help);
    write_file(dir / "dl/help.run", "\x01 no program", 0644);
    help->size = static_cast<qint64>(std::filesystem::file_size(dir / "dl/help.run"));
    help->file.measure();
    help->file.finish_check({true, FIO_FILE_SYSTEM::identity((dir / "dl/help.run").string())});
    base->selection = VINST_SELECTION::not_selected;
    fill();
    tree.show_run_column(true);
    MODAL_BOXES boxes({"OK"});
    click(help, run_column);
    ASSERT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(utf8(boxes.shown()[0].text),
              "The installer could not be started: " + (dir / "dl/help.run").string());
    EXPECT_TRUE(log_holds("[error] The installer could not be started: "));
}

TEST_F(TreeView, ForgetsTheStateOfAnotherDirectory)
{
    verify(help);
    fill();
    tree.show_percentage(help, 100);
    tree.show_integrity(help, VINST_INTEGRITY_STATE::passed);
    ASSERT_TRUE(value(help, run_column).toBool());
    EXPECT_EQ(index(help, progress_column).data(Qt::AccessibleTextRole).toString(), "100%");
    release.set_download_dir(QString::fromStdString((dir / "elsewhere").string()));
    tree.refresh_from_files();
    EXPECT_EQ(value(help, progress_column).toString(), "");
    EXPECT_EQ(value(help, integrity_column).toInt(), 0);
    EXPECT_FALSE(value(help, run_column).toBool());
}

TEST_F(TreeView, KeepsColumnsAndBranchesAsTheUserSetThem)
{
    fill();
    constexpr int nobodys_width = 555;
    tree.setColumnWidth(download_size_column, nobodys_width);
    ASSERT_TRUE(QTest::qWaitFor([this]
                                { return tree.columnWidth(download_size_column) != nobodys_width; },
                                static_cast<int>(long_enough.count())));
    tree.collapse(index(tools));
    tree.setColumnWidth(download_size_column, 200);
    tree.hide();
    tree.show();
    QTimer layout; // longer than the tree's own, and started after it
    QSignalSpy layout_done(&layout, &QTimer::timeout);
    layout.start(100);
    ASSERT_TRUE(layout_done.wait());
    EXPECT_FALSE(tree.isExpanded(index(tools)));
    EXPECT_EQ(tree.columnWidth(download_size_column), 200);
}

TEST_F(TreeView, ReportsClicksImmediatelyOnRequest)
{
    fill();
    QSignalSpy changes(&tree, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    tree.take_clicks();
    EXPECT_EQ(changes.count(), 0);
    click(base);
    tree.take_clicks();
    EXPECT_EQ(changes.count(), 1);
    tree.take_clicks();
    EXPECT_EQ(changes.count(), 1) << "no clicks are left to report";
}

TEST_F(TreeView, RunsNothingWhileItIsLocked)
{
    verify(help);
    fill();
    tree.show_run_column(true);
    tree.set_editable(false);
    click(help, run_column);
    EXPECT_EQ(read_file(dir / "log").find("install cmd"), std::string::npos);
}

TEST_F(TreeView, ReportsTheCurrentRow)
{
    base->desc = "Base";
    help->desc = "Help";
    fill();
    QSignalSpy told(&tree, &VINST_DOWNLOADER_TREEVIEW::current_component_changed);
    tree.setCurrentIndex(index(base));
    tree.setCurrentIndex(index(help));
    ASSERT_EQ(told.count(), 2);
    EXPECT_EQ(told[0][0].toString(), "Base");
    EXPECT_EQ(told[1][0].toString(), "Help");
}

TEST_F(TreeView, SurvivesAnEmptyRelease)
{
    VINST_RELEASE empty;
    tree.set_release(empty);
    tree.set_platform(this_platform());
    tree.populate();
    tree.restore_states();
    tree.save_states();
    EXPECT_EQ(tree.model()->rowCount(), 0);
    tree.show();
    QTest::keyClick(&tree, Qt::Key_Space);
}

TEST(TreeDelegates, PaintOtherColumnsByDefault)
{
    QStandardItemModel model(1, 10);
    model.setItem(0, 0, new QStandardItem("words"));
    VINST_DOWNLOADER_TREEVIEW_PROGRESS_BAR_DELEGATE progress;
    VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE integrity(nullptr);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 80, 20);
    for (const QStyledItemDelegate* delegate :
         std::initializer_list<const QStyledItemDelegate*>{&progress, &integrity})
    {
        QImage image(80, 20, QImage::Format_ARGB32);
        image.fill(Qt::white);
        const QImage before = image;
        QPainter painter(&image);
        delegate->paint(&painter, option, model.index(0, 0));
        painter.end();
        EXPECT_NE(image, before);
    }
}

TEST(TreeDelegates, ShowProgressInAWindowThatIsNotActive)
{
    QStandardItemModel model(1, 10);
    model.setItem(0, progress_column, new QStandardItem);
    model.item(0, progress_column)->setData("100", tree_cell_role);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, 80, 20);
    option.palette.setColor(QPalette::Active, QPalette::Highlight, Qt::blue);
    option.palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::white);
    option.palette.setCurrentColorGroup(QPalette::Inactive);
    QImage image(80, 20, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    VINST_DOWNLOADER_TREEVIEW_PROGRESS_BAR_DELEGATE().paint(&painter, option,
                                                            model.index(0, progress_column));
    painter.end();
    const QColor filled = image.pixelColor(10, 10);
    EXPECT_GT(filled.blue(), filled.red() + 100);
}

TEST(TreeDelegates, AcceptAnEditorsResultBeforeTheFirstPaint)
{
    QStandardItemModel model(1, 10);
    model.setItem(0, integrity_column, new QStandardItem);
    model.item(0, integrity_column)->setData(4, tree_cell_role);
    const VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE integrity(nullptr);
    QWidget editor;
    integrity.setModelData(&editor, &model, model.index(0, integrity_column));
    EXPECT_EQ(model.item(0, integrity_column)->data(tree_cell_role).toInt(), 4);
}

TEST(TreeDelegates, UseTheSizeOfTheAnimationWhileItIsShown)
{
    QStandardItemModel model(1, 10);
    VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE integrity(nullptr);
    const QModelIndex index = model.index(0, integrity_column);
    model.setItem(0, integrity_column, new QStandardItem);
    const QSize usual = integrity.sizeHint(QStyleOptionViewItem(), index);
    model.item(0, integrity_column)->setData(4, tree_cell_role);
    EXPECT_EQ(integrity.sizeHint(QStyleOptionViewItem(), index), QSize(16, 16));
    model.item(0, integrity_column)->setData(2, tree_cell_role);
    EXPECT_EQ(integrity.sizeHint(QStyleOptionViewItem(), index), usual);
}
