#include "tools/vinst_release/release_progress.h"
#include "tools/vinst_release/release_text.h"

#include <gtest/gtest.h>

TEST(ReleaseText, SuggestsTheIntendedWord)
{
    const QStringList known = {"platform", "parent", "dependency", "desc"};
    EXPECT_EQ(nearest_word("platfrom", known), "platform");
    EXPECT_EQ(nearest_word("Parent", known), "parent");
    EXPECT_EQ(nearest_word("dependencies", known), "dependency");
}

TEST(ReleaseText, SuggestsNoWordThatIsNotSimilar)
{
    EXPECT_EQ(nearest_word("colour", {"platform", "parent"}), "");
    EXPECT_EQ(nearest_word(QString(100000, 'x'), {"platform"}), "");
}

TEST(ReleaseText, QuotesWithoutControlCharacters)
{
    EXPECT_EQ(quoted(QString("a\x1b[2Jb")), QString("'a\uFFFD[2Jb'"));
}

TEST(ReleaseText, CountsInSingularAndPlural)
{
    EXPECT_EQ(counted(0, "fault"), "0 faults");
    EXPECT_EQ(counted(1, "fault"), "1 fault");
    EXPECT_EQ(counted(2, "fault"), "2 faults");
}

TEST(ReleaseProgress, ReportsFilesBytesAndPercent)
{
    RELEASE_FILE_PROGRESS progress;
    progress.files_done = 3;
    progress.files = 9;
    progress.bytes_done = 512ULL << 20;
    progress.bytes = 2ULL << 30;
    EXPECT_EQ(progress_text("Measuring", progress),
              "Measuring: 3 of 9 files, 512.00 MB of 2.00 GB (25%)");
}

TEST(ReleaseProgress, NeverExceedsTheTotal)
{
    RELEASE_FILE_PROGRESS progress;
    progress.files = progress.files_done = 1;
    progress.bytes_done = 300;
    progress.bytes = 200;
    EXPECT_EQ(progress_text("Checking", progress),
              "Checking: 1 of 1 file, 200.00 B of 200.00 B (100%)");
    EXPECT_EQ(progress_text("Checking", {}), "Checking: 0 of 0 files, 0.00 B of 0.00 B (100%)");
}
