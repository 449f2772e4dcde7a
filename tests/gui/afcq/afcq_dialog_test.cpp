#include "support/afcq/afcq_dialog.h"

#include "support/afcq/afcq_line_edit_browse_button.h"
#include "support/afcq/afcq_native_file_dlg.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

TEST(MovedOntoScreen, LeavesAWindowWhereItCanBeSeen)
{
    const std::vector<QRect> screens = {{0, 0, 1920, 1080}, {1920, 0, 1280, 1024}};
    EXPECT_EQ(afcq_moved_onto_screen({100, 100, 800, 600}, screens), QRect(100, 100, 800, 600));
    EXPECT_EQ(afcq_moved_onto_screen({2000, 50, 800, 600}, screens), QRect(2000, 50, 800, 600));
}

TEST(MovedOntoScreen, MovesAnOffScreenWindowBack)
{
    const std::vector<QRect> screens = {{0, 0, 1920, 1080}};
    EXPECT_EQ(afcq_moved_onto_screen({5000, 4000, 800, 600}, screens), QRect(1120, 480, 800, 600));
    EXPECT_EQ(afcq_moved_onto_screen({-900, -700, 800, 600}, screens), QRect(0, 0, 800, 600));
    EXPECT_EQ(afcq_moved_onto_screen({1500, 900, 800, 600}, screens), QRect(1120, 480, 800, 600));
}

TEST(MovedOntoScreen, ShrinksAWindowThatIsTooLarge)
{
    EXPECT_EQ(afcq_moved_onto_screen({0, 0, 4000, 3000}, {{10, 20, 1024, 700}}),
              QRect(10, 20, 1024, 700));
    EXPECT_EQ(afcq_moved_onto_screen({1, 2, 3, 4}, {}), QRect(1, 2, 3, 4));
}

TEST(AfcqDialog, RestoresItsPosition)
{
    AFCQ_DIALOG first;
    first.setGeometry(40, 30, 300, 200);
    AFCQ_DIALOG second;
    second.restore_geometry(first.saveGeometry());
    EXPECT_EQ(second.size(), QSize(300, 200));
    const QRect screen = QApplication::primaryScreen()->availableGeometry();
    first.setGeometry(screen.right() + 500, screen.bottom() + 500, 300, 200);
    second.restore_geometry(first.saveGeometry());
    EXPECT_TRUE(screen.contains(second.geometry()));
}

TEST(AfcqDialog, FitsTheScreenWhenItIsShown)
{
    const QRect screen = QApplication::primaryScreen()->availableGeometry();
    AFCQ_DIALOG dialog;
    dialog.resize(screen.size() + QSize(200, 300));
    dialog.show();
    EXPECT_TRUE(screen.contains(dialog.frameGeometry()));
    EXPECT_LT(dialog.height(), screen.height()) << "there is no room for the title bar";
}

TEST(AfcqDialog, FitsTheScreenWhenStoredOnALargerOne)
{
    const QRect screen = QApplication::primaryScreen()->availableGeometry();
    AFCQ_DIALOG first;
    first.setGeometry(QRect(screen.topLeft(), screen.size() * 2));
    const QByteArray stored = first.saveGeometry();
    AFCQ_DIALOG second;
    second.restore_geometry(stored);
    second.show();
    EXPECT_TRUE(screen.contains(second.frameGeometry()));
    EXPECT_LT(second.height(), screen.height()) << "there is no room for the title bar";
}

TEST(AfcqDialog, IgnoresInvalidGeometry)
{
    AFCQ_DIALOG dialog;
    dialog.resize(321, 123);
    dialog.restore_geometry("nonsense");
    dialog.restore_geometry({});
    EXPECT_EQ(dialog.size(), QSize(321, 123));
}

TEST(LineEditBrowseButton, RequestsBrowsingWhenClicked)
{
    AFCQ_LINE_EDIT_BROWSE_BUTTON edit;
    edit.setAccessibleName("Download directory");
    edit.show();
    QSignalSpy browses(&edit, &AFCQ_LINE_EDIT_BROWSE_BUTTON::browse_clicked_signal);
    QSignalSpy changes(&edit, &AFCQ_LINE_EDIT_BROWSE_BUTTON::text_changed);
    auto* const button = edit.findChild<QToolButton*>("m_browse_button");
    QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_EQ(browses.count(), 1);
    edit.set_text("/opt");
    QTest::keyClicks(edit.findChild<QLineEdit*>("m_line_edit"), "/x");
    EXPECT_EQ(edit.text(), "/opt/x");
    EXPECT_EQ(changes.count(), 3);
    EXPECT_EQ(edit.focusProxy(), edit.findChild<QLineEdit*>("m_line_edit"));
    EXPECT_EQ(button->accessibleName(), "Browse for the download directory");
}
