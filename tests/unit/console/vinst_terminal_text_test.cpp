#include "install/vinst/console/vinst_terminal_text.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace
{

const QString wide = QStringLiteral("日本語");        // 6 cells
const QString combining = QStringLiteral("e\u0301x"); // 2 cells

}

TEST(RowCount, IsTheNumberOfRowsAfterWrapping)
{
    EXPECT_EQ(row_count(QString(), 10), 1);
    EXPECT_EQ(row_count(QString(10, 'a'), 10), 1);
    EXPECT_EQ(row_count(QString(11, 'a'), 10), 2);
    EXPECT_EQ(row_count(QString(31, 'a'), 10), 4);
    EXPECT_EQ(row_count(QStringList{"a", "", QString(11, 'a')}, 10), 4);
}

TEST(RowCount, CountsCellsAndNotCharacters)
{
    EXPECT_EQ(row_count(wide, 6), 1);
    EXPECT_EQ(row_count(wide, 5), 2);
    EXPECT_EQ(row_count(combining, 2), 1);
    // The second wide character doesn't fit in the third column.
    EXPECT_EQ(row_count(wide, 3), 3);
}

TEST(FirstRows, AreTheBeginningOfAWrappedLine)
{
    EXPECT_EQ(first_rows("0123456789", 4, 1), "0123");
    EXPECT_EQ(first_rows("0123456789", 4, 2), "01234567");
    EXPECT_EQ(first_rows("0123456789", 4, 3), "0123456789");
    EXPECT_EQ(first_rows(wide, 3, 1), QStringLiteral("日"));
}

TEST(Elided, KeepsALineThatFits)
{
    EXPECT_EQ(elided("", 10), "");
    EXPECT_EQ(elided("0123456789", 10), "0123456789");
    EXPECT_EQ(elided(wide, 6), wide);
    EXPECT_EQ(elided(combining, 2), combining);
}

TEST(Elided, EndsALongerLineWithAnEllipsis)
{
    EXPECT_EQ(elided("0123456789a", 10), QStringLiteral("012345678…"));
    EXPECT_EQ(elided("ab", 1), QStringLiteral("…"));
    EXPECT_EQ(elided("ab", 0), "");
}

TEST(Elided, CutsBetweenCharactersOnly)
{
    EXPECT_EQ(elided(wide, 5), QStringLiteral("日本…"));
    EXPECT_EQ(elided(wide, 4), QStringLiteral("日…"));
    EXPECT_EQ(elided(QStringLiteral("ae\u0301xy"), 3), QStringLiteral("ae\u0301…"));
    const QString pictographs = QStringLiteral("\U0001F600\U0001F600"); // 2 cells each
    EXPECT_EQ(elided(pictographs, 3), QStringLiteral("\U0001F600…"));
}
