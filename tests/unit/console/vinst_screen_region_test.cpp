#include "install/vinst/console/vinst_screen_region.h"

#include "tests/harness/screen_model.h"

#include <gtest/gtest.h>

namespace
{

using LINES = std::vector<std::string>;

/// A region on a terminal that shows the lines "above 1" to "above 4" before it.
class ScreenRegion : public ::testing::Test
{
protected:
    void start(int rows, int columns)
    {
        size = {rows, columns};
        screen = SCREEN_MODEL(static_cast<std::size_t>(rows), static_cast<std::size_t>(columns));
        screen.write("above 1\nabove 2\nabove 3\nabove 4\n");
    }

    void resize(int rows, int columns)
    {
        size = {rows, columns};
        screen.resize(static_cast<std::size_t>(rows), static_cast<std::size_t>(columns));
    }

    void draw(const QStringList& lines) { screen.write(region.redraw(lines, size)); }

    VINST_TERMINAL_SIZE size;
    SCREEN_MODEL screen;
    VINST_SCREEN_REGION region;
};

const LINES above{"above 1", "above 2", "above 3", "above 4"};

LINES with(LINES lines, const LINES& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

QStringList numbered(int count, const QString& text = "line ")
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines += text + QString::number(i);
    return lines;
}

}

TEST_F(ScreenRegion, IsRedrawnInPlace)
{
    start(24, 80);
    draw({"one", "two", "three"});
    draw({"1", "", "3", "4"});
    EXPECT_EQ(screen.lines(), with(above, {"1", "", "3", "4", ""}));
    draw({"last"});
    EXPECT_EQ(screen.lines(), with(above, {"last", ""}));
    draw({});
    EXPECT_EQ(screen.lines(), with(above, {""}));
}

TEST_F(ScreenRegion, MayFillTheScreen)
{
    start(5, 80);
    for (int i = 0; i < 3; ++i)
        draw(numbered(4, "drawing "));
    EXPECT_EQ(screen.scrollback(), above);
    EXPECT_EQ(screen.screen(), (LINES{"drawing 0", "drawing 1", "drawing 2", "drawing 3", ""}));
    draw({});
    EXPECT_EQ(screen.scrollback(), above);
    EXPECT_EQ(screen.screen(), LINES{""});
}

TEST_F(ScreenRegion, ContainsWhatOthersPrintedBelow)
{
    start(24, 20);
    draw({"one"});
    screen.write("a reported line that wraps\n");
    region.append({"a reported line that wraps"});
    draw({"two"});
    EXPECT_EQ(screen.lines(), with(above, {"two", ""}));
}

TEST_F(ScreenRegion, ErasesWhatTheUserTypes)
{
    start(24, 80);
    draw({"one"});
    screen.write("^C");
    draw({"two"});
    EXPECT_EQ(screen.lines(), with(above, {"two", ""}));
    region.release();
    screen.write("^C");
    draw({});
    EXPECT_EQ(screen.lines(), with(above, {"two", ""}));
}

TEST_F(ScreenRegion, StaysWhereItIsWhenReleased)
{
    start(24, 80);
    draw({"one"});
    region.release();
    draw({"two"});
    EXPECT_EQ(screen.lines(), with(above, {"one", "two", ""}));
}

TEST_F(ScreenRegion, IsFoundOnANarrowerTerminal)
{
    start(24, 80);
    const QString line(80, 'a');
    draw({"one", line, line, "four"});
    resize(24, 30);
    draw({"1", "2"});
    EXPECT_EQ(screen.lines(), with(above, {"1", "2", ""}));
}

TEST_F(ScreenRegion, IsFoundOnAWiderTerminal)
{
    start(24, 30);
    const QString line(75, 'a');
    draw({"one"});
    screen.write(line.toStdString() + "\n");
    region.append({line});
    resize(24, 80);
    draw({"1", "2"});
    EXPECT_EQ(screen.lines(), with(above, {"1", "2", ""}));
}

TEST_F(ScreenRegion, WrapsWideCharactersAsTheTerminalDoes)
{
    start(24, 80);
    draw({QStringLiteral("日本語日本語"), "two"});
    resize(24, 5);
    draw({"1"});
    EXPECT_EQ(screen.lines().size(), 10U); // each line above wraps
    EXPECT_EQ(screen.from("1"), LINES{"1"});
    EXPECT_EQ(screen.count("日"), 0U);
}

TEST_F(ScreenRegion, LeavesNoCopyWhenTheTerminalBecomesLowerAndHigherAgain)
{
    start(24, 80);
    draw(numbered(20));
    resize(10, 80);
    draw(numbered(6, "low "));
    draw(numbered(6, "lower "));
    resize(24, 80);
    draw(numbered(8, "high "));
    EXPECT_EQ(screen.lines(), with(above, {"high 0", "high 1", "high 2", "high 3", "high 4",
                                           "high 5", "high 6", "high 7", ""}));
}

TEST_F(ScreenRegion, DoesNotRepeatHeadingsThatLeftTheScreen)
{
    start(24, 80);
    draw(QStringList{"heading 1", "heading 2"} + numbered(8));
    resize(9, 80);
    for (int i = 0; i < 3; ++i)
        draw(QStringList{"heading 1", "heading 2"} + numbered(5, "low "));
    EXPECT_EQ(screen.lines(), with(above, {"heading 1", "heading 2", "", "", "", "low 0", "low 1",
                                           "low 2", "low 3", "low 4", ""}));
    resize(24, 80);
    draw({"heading 1", "heading 2", "high"});
    EXPECT_EQ(screen.lines(), with(above, {"heading 1", "heading 2", "high", ""}));
}

TEST_F(ScreenRegion, CoversTheRestOfALineThatWrapsIntoTheScreen)
{
    start(24, 80);
    draw(QStringList{QString(80, 'a')} + numbered(7));
    resize(9, 40); // 9 rows and the cursor's: the first half of the long line is out of reach
    draw({"1", "2"});
    EXPECT_EQ(screen.screen(), (LINES{"", "", "", "", "", "", "1", "2", ""}));
    EXPECT_EQ(screen.scrollback(), with(above, {std::string(40, 'a')}));
    resize(24, 80);
    draw({"1", "2"});
    EXPECT_EQ(screen.lines(), with(above, {"1", "2", ""}));
}

TEST_F(ScreenRegion, IsDrawnOnATerminalOfOneRow)
{
    start(1, 80);
    draw({});
    draw({});
    EXPECT_EQ(screen.lines(), with(above, {""}));
}
