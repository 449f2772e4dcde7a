#include "install/vinst/base/vinst_text.h"

#include <gtest/gtest.h>

#include <limits>

TEST(FormatDuration, JoinsThePartsThatExist)
{
    EXPECT_EQ(format_duration(3725), "1 hour 2 mins 5 secs");
    EXPECT_EQ(format_duration(60), "1 min");
    EXPECT_EQ(format_duration(7200), "2 hours");
    EXPECT_EQ(format_duration(1), "1 sec");
    EXPECT_EQ(format_duration(59), "59 secs");
    EXPECT_EQ(format_duration(3601), "1 hour 1 sec");
    EXPECT_EQ(format_duration(0), "N/A");
    EXPECT_EQ(format_duration(-3725), "N/A");
    EXPECT_EQ(format_duration(std::numeric_limits<int>::max()), "596523 hours 14 mins 7 secs");
}

TEST(FormatElapsed, DescribesShortTimesInWords)
{
    EXPECT_EQ(format_elapsed(0.4), "less than 1 sec");
    EXPECT_EQ(format_elapsed(-1), "less than 1 sec");
    EXPECT_EQ(format_elapsed(1.0), "1 sec");
    EXPECT_EQ(format_elapsed(61.9), "1 min 1 sec");
    EXPECT_EQ(format_elapsed(1e300), "596523 hours 14 mins 7 secs");
}

TEST(ReadableSize, DividesBy1024UpToTerabytes)
{
    EXPECT_EQ(readable_size(0), "0.00 B");
    EXPECT_EQ(readable_size(1023), "1023.00 B");
    EXPECT_EQ(readable_size(1024), "1.00 KB");
    EXPECT_EQ(readable_size(1536 * 1024), "1.50 MB");
    EXPECT_EQ(readable_size(5368709120), "5.00 GB");
    EXPECT_EQ(readable_size(1125899906842624), "1024.00 TB");
}

TEST(WithoutControlCharacters, ReplacesCharactersThatMoveATerminalsCursor)
{
    EXPECT_EQ(
        without_control_characters(QString("a\x1b[2J\n\r\t\x7f") + QChar(0x9b) + QChar(0x2028)),
        QString("a\uFFFD[2J\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"));
    EXPECT_EQ(without_control_characters("Größe ©"), "Größe ©");
    EXPECT_EQ(without_control_characters(QString("a\u202eb\u2067\u200f")), "a\uFFFDb\uFFFD\uFFFD");
}

TEST(IsUtf8, AcceptsOnlyValidSequences)
{
    for (const char* text : {"", "/opt/x", "gr\u00f6\u00dfe", "\U0001F600", "a\u202eb", "\ufeffx"})
        EXPECT_TRUE(is_utf8(text)) << text;
    EXPECT_TRUE(is_utf8(std::string_view("a\0b", 3)));
    for (const char* bytes : {"\xff", "a\x80", "\xc3", "\xc0\xaf", "\xed\xa0\x80",
                              "\xf5\x80\x80\x80", "\xef\xbb\xbf\xff"})
        EXPECT_FALSE(is_utf8(bytes)) << bytes;
}

TEST(Utf8Piece, CutsBetweenCharacters)
{
    EXPECT_EQ(utf8_piece("", 4), "");
    EXPECT_EQ(utf8_piece("abc", 4), "abc");
    EXPECT_EQ(utf8_piece("abcd", 4), "abcd");
    EXPECT_EQ(utf8_piece("abcde", 4), "abcd");
    EXPECT_EQ(utf8_piece("abc\u20ac", 4), "abc");
    EXPECT_EQ(utf8_piece("ab\u20ac", 4), "ab");
    EXPECT_EQ(utf8_piece("a\u20acb", 4), "a\u20ac");
    EXPECT_EQ(utf8_piece("a\U0001F600", 4), "a");
    EXPECT_EQ(utf8_piece("\U0001F600b", 4), "\U0001F600");
}

TEST(Utf8Piece, CutsBytesThatAreNotUtf8Anywhere)
{
    EXPECT_EQ(utf8_piece("\x80\x80\x80\x80\x80\x80", 4), "\x80\x80\x80\x80");
}
