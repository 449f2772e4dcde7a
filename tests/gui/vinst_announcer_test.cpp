#include "install/vinst/gui/vinst_announcer.h"

#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QTest>

using namespace std::chrono_literals;

TEST(StatusKind, IgnoresNumbersAndDurations)
{
    EXPECT_EQ(status_kind("Download failed. Retrying #1 after 1 min 5 secs"),
              status_kind("Download failed. Retrying #1 after 59 secs"));
    EXPECT_NE(status_kind("Download failed. Retrying #1 after 5 secs"),
              status_kind("Download failed"));
    EXPECT_EQ(status_kind(""), "");
}

TEST(Announcer, AnnouncesEachKindOfStatusOnce)
{
    QStringList announced;
    QLabel label;
    VINST_ANNOUNCER announcer(
        label, [&](QLabel& each) { announced.append(each.text()); }, 0ms);
    for (const char* text : {"Downloading", "Downloading", "Retrying after 5 secs",
                             "Retrying after 4 secs", "", "Retrying after 3 secs"})
    {
        label.setText(text);
        announcer.follow();
        QTest::qWait(1); // ends the pause
    }
    EXPECT_EQ(announced,
              QStringList({"Downloading", "Retrying after 5 secs", "Retrying after 3 secs"}));
}

TEST(Announcer, LeavesAPauseAndThenAnnouncesTheLastStatus)
{
    QStringList announced;
    QLabel label;
    VINST_ANNOUNCER announcer(
        label, [&](QLabel& each) { announced.append(each.text()); }, 300ms);
    for (const char* text : {"one", "two", "three"})
    {
        label.setText(text);
        announcer.follow();
    }
    EXPECT_EQ(announced, QStringList("one"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return announced.size() > 1; },
                                static_cast<int>(long_enough.count())));
    EXPECT_EQ(announced, QStringList({"one", "three"}));
}
