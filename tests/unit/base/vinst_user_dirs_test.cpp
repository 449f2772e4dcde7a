#include "install/vinst/base/vinst_user_dirs.h"

#include <gtest/gtest.h>

#include <QDir>

TEST(DownloadsDir, IsTheUsersWithoutBlanks)
{
    EXPECT_EQ(best_downloads_dir({"C:/Users/ann/Downloads", "C:/Users/ANN/Downloads",
                                  "C:/Users/Public/Downloads"}),
              "C:/Users/ann/Downloads");
}

TEST(DownloadsDir, IsTheShortNameOfAUserWithABlank)
{
    EXPECT_EQ(best_downloads_dir({"C:/Users/First Last/Downloads", "C:/Users/FIRST~1/Downloads",
                                  "C:/Users/Public/Downloads"}),
              "C:/Users/FIRST~1/Downloads");
}

TEST(DownloadsDir, IsThePublicOneWithoutShortNames)
{
    EXPECT_EQ(best_downloads_dir({"D:/Users/First Last/Downloads", "D:/Users/First Last/Downloads",
                                  "C:/Users/Public/Downloads"}),
              "C:/Users/Public/Downloads");
}

TEST(DownloadsDir, IsTheUsersIfNoneIsWithoutBlanks)
{
    EXPECT_EQ(best_downloads_dir({"/home/a b/Downloads"}), "/home/a b/Downloads");
    EXPECT_EQ(best_downloads_dir({}), "");
}

TEST(DownloadsDir, OfTheCurrentUserIsTheFirstCandidate)
{
    const QStringList dirs = downloads_dirs();
    ASSERT_FALSE(dirs.isEmpty());
    EXPECT_EQ(dirs.first(), QDir::homePath() + "/Downloads");
    for (const QString& dir : dirs)
        EXPECT_TRUE(QDir::isAbsolutePath(dir)) << dir.toStdString();
}
