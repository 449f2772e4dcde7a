#include "install/vinst/gui/vinst_log_viewer_dlg.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <QTextDocument>
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
