#include "install/vinst/gui/vinst_log_viewer_dlg.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/gui/vinst_log_highlighter.h"
#include "tests/gui/looks.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextLayout>
#include <QTimer>

#include <filesystem>

namespace
{

class LogViewer : public ::testing::Test
{
protected:
    LogViewer()
    {
        VINST_MESSAGES::instance().log_path = path().string();
        write("one\ntwo\n");
    }

    std::filesystem::path path() const { return dir / "run.log"; }
    void write(const std::string& text) const { write_file(path(), text); }
    QTextBrowser& browser() const { return *viewer.findChild<QTextBrowser*>("m_log_text_browser"); }
    QString text() const { return browser().toPlainText(); }

    std::string result() const
    {
        return viewer.findChild<QLabel*>("m_search_result_label")->text().toStdString();
    }
    /// The text of the current hit.
    std::string hit() const
    {
        const auto marked = browser().extraSelections();
        return marked.isEmpty() ? "" : marked[0].cursor.selectedText().toStdString();
    }
    QVector<QTextLayout::FormatRange> formats_of_line(int number) const
    {
        return browser().document()->findBlockByNumber(number).layout()->formats();
    }

    static std::string lines(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += "line " + std::to_string(i) + "\n";
        return text;
    }

    bool comes_to_show(const QString& expected) const
    {
        return QTest::qWaitFor([&] { return text() == expected; },
                               static_cast<int>(long_enough.count()));
    }

    static constexpr std::chrono::milliseconds refresh_interval{20};

    TEMP_DIR dir;
    VINST_LOG_VIEWER_DLG viewer{nullptr, refresh_interval};
};

}

TEST_F(LogViewer, ShowsTheLogAndItsPath)
{
    viewer.show();
    EXPECT_EQ(viewer.windowTitle(),
              QString("Orvane\u00ae Veltrin\u00ae Crest Installer - Log Viewer"));
    EXPECT_EQ(viewer.findChild<QLineEdit*>("m_log_file_lineedit")->text().toStdString(),
              path().string());
    EXPECT_EQ(text(), "one\ntwo\n");
    EXPECT_FALSE(viewer.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    EXPECT_TRUE(viewer.windowFlags().testFlag(Qt::WindowMinMaxButtonsHint));
    EXPECT_TRUE(viewer.isSizeGripEnabled());
    EXPECT_TRUE(browser().openExternalLinks());
}

TEST_F(LogViewer, FollowsTheLog)
{
    viewer.show();
    write("one\ntwo\nthree\n");
    EXPECT_TRUE(comes_to_show("one\ntwo\nthree\n"));
}

TEST_F(LogViewer, ReadsTheLogEveryFiveSeconds)
{
    const VINST_LOG_VIEWER_DLG usual;
    EXPECT_EQ(usual.refresh_interval(), std::chrono::milliseconds(5000));
}

TEST_F(LogViewer, ShowsPlainTextOnly)
{
    write("<b>bold</b> <a href=\"http://x\">link</a>\n");
    viewer.show();
    EXPECT_EQ(text(), "<b>bold</b> <a href=\"http://x\">link</a>\n");
}

TEST_F(LogViewer, ReportsAMissingLogUntilItReappears)
{
    viewer.show();
    std::filesystem::remove(path());
    viewer.refresh();
    EXPECT_EQ(text(), "Failed to open the log file.");
    write("one\ntwo\n");
    viewer.refresh();
    EXPECT_EQ(text(), "one\ntwo\n");
}

TEST_F(LogViewer, KeepsTheScrollPosition)
{
    const std::string long_line(2000, 'x');
    write(long_line + '\n' + lines(2000));
    viewer.show();
    browser().verticalScrollBar()->setValue(500);
    browser().horizontalScrollBar()->setValue(300);
    write(long_line + '\n' + lines(3000));
    viewer.refresh();
    EXPECT_TRUE(text().contains("line 2999"));
    EXPECT_EQ(browser().verticalScrollBar()->value(), 500);
    EXPECT_EQ(browser().horizontalScrollBar()->value(), 300);
}

TEST_F(LogViewer, FollowsTheEndWhileItIsInView)
{
    QScrollBar& bar = *browser().verticalScrollBar();
    write(lines(500));
    viewer.show();
    EXPECT_GT(bar.maximum(), 0);
    EXPECT_EQ(bar.value(), bar.maximum());
    write(lines(900));
    viewer.refresh();
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setValue(bar.maximum() - 100);
    const int chosen = bar.value();
    write(lines(1300));
    viewer.refresh();
    EXPECT_EQ(bar.value(), chosen);
    bar.setValue(bar.maximum());
    write(lines(1700));
    viewer.refresh();
    EXPECT_EQ(bar.value(), bar.maximum());
}

TEST_F(LogViewer, UsesAFontOfFixedWidth)
{
    viewer.show();
    const QFontMetrics metrics(browser().font());
    EXPECT_EQ(metrics.horizontalAdvance("iiii"), metrics.horizontalAdvance("mmmm"));
}

TEST_F(LogViewer, MarksErrorsReadably)
{
    write("[2026-11-22 10:00:00.000] [info] fine\n[2026-11-22 10:00:00.000] [error] disk full\n");
    viewer.show();
    for (const QPalette& palette : {light_palette(), dark_palette()})
    {
        viewer.setPalette(palette);
        EXPECT_TRUE(formats_of_line(0).isEmpty());
        ASSERT_EQ(formats_of_line(1).size(), 1);
        const QColor color = formats_of_line(1)[0].format.foreground().color();
        EXPECT_GE(contrast(color, palette.color(QPalette::Base)), 4.5);
    }
}

TEST_F(LogViewer, TellsErrorsFromOtherLines)
{
    EXPECT_TRUE(is_error_line("[2026-11-22 10:00:00.000] [error] x"));
    EXPECT_TRUE(is_error_line("[2026-11-22 10:00:00.000] [info] The installer failed."));
    EXPECT_TRUE(is_error_line("ERROR: no licence"));
    EXPECT_FALSE(is_error_line("[2026-11-22 10:00:00.000] [info] terrors.run"));
    EXPECT_FALSE(is_error_line("[2026-11-22 10:00:00.000] [info] Downloading"));
}

TEST_F(LogViewer, SearchesByKeyboard)
{
    write("one Part\ntwo\nthree part\n" + lines(300) + "last PART\n");
    viewer.show();
    QApplication::setActiveWindow(&viewer);
    auto& edit = *viewer.findChild<QLineEdit*>("m_search_edit");
    QTest::keyClick(&viewer, Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(viewer.focusWidget(), &edit);
    QTest::keyClicks(&edit, "part");
    EXPECT_EQ(result(), "1 of 3");
    EXPECT_EQ(hit(), "Part");
    EXPECT_LT(browser().verticalScrollBar()->value(), 20);
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(result(), "2 of 3");
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(hit(), "PART");
    EXPECT_GT(browser().verticalScrollBar()->value(), 0);
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(result(), "1 of 3") << "from the end to the start";
    QTest::keyClick(&edit, Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(result(), "3 of 3") << "and back";
    QTest::keyClick(&edit, Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(result(), "2 of 3");
    EXPECT_TRUE(viewer.isVisible()) << "Enter closes nothing";
    QTest::keyClicks(&edit, "x");
    EXPECT_EQ(result(), "Not found");
    EXPECT_EQ(hit(), "");
    QTest::keyClick(&edit, Qt::Key_Escape);
    EXPECT_EQ(result(), "");
    EXPECT_TRUE(viewer.isVisible());
}

TEST_F(LogViewer, KeepsTheHitWhenTheLogGrows)
{
    write("a part\nanother part\n");
    viewer.show();
    viewer.findChild<QLineEdit*>("m_search_edit")->setText("part");
    QTest::mouseClick(viewer.findChild<QPushButton*>("m_find_next_btn"), Qt::LeftButton);
    EXPECT_EQ(result(), "2 of 2");
    EXPECT_FALSE(browser().textCursor().hasSelection()) << "it would stop the updates";
    write("a part\nanother part\na third part\n");
    viewer.refresh();
    EXPECT_EQ(result(), "2 of 3");
    EXPECT_EQ(hit(), "part");
}

TEST_F(LogViewer, CopiesAll)
{
    viewer.show();
    QTest::mouseClick(viewer.findChild<QPushButton*>("m_copy_all_btn"), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text(), "one\ntwo\n");
}

TEST_F(LogViewer, KeepsTheSelection)
{
    viewer.show();
    browser().selectAll();
    write("one\ntwo\nthree\n");
    QTimer refreshes;
    QSignalSpy five_intervals(&refreshes, &QTimer::timeout);
    refreshes.start(5 * refresh_interval);
    ASSERT_TRUE(five_intervals.wait());
    EXPECT_EQ(text(), "one\ntwo\n");
    EXPECT_TRUE(browser().textCursor().hasSelection());
    QTextCursor cursor = browser().textCursor();
    cursor.clearSelection();
    browser().setTextCursor(cursor);
    EXPECT_TRUE(comes_to_show("one\ntwo\nthree\n"));
}

TEST_F(LogViewer, HidesByItsButton)
{
    viewer.show();
    QTest::mouseClick(viewer.findChild<QPushButton*>("m_close_btn"), Qt::LeftButton);
    EXPECT_FALSE(viewer.isVisible());
    EXPECT_EQ(viewer.result(), QDialog::Rejected);
    write("anew\n");
    viewer.show();
    EXPECT_EQ(text(), "anew\n");
}

TEST_F(LogViewer, DoesNothingWhileTheLogIsUnchanged)
{
    write(lines(200'000));
    viewer.show();
    const QSignalSpy changes(browser().document(), &QTextDocument::contentsChanged);
    for (int i = 0; i < 100; ++i)
        viewer.refresh();
    EXPECT_EQ(changes.count(), 0);
}
