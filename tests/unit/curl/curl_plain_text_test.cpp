#include "support/curl/curl_plain_text.h"

#include <gtest/gtest.h>

TEST(PlainText, LeavesOrdinaryTextUnchanged)
{
    for (const char* text : {"", "a\nb\tc\n", "gr\u00f6\u00dfe \u20ac \U0001F600", "\u00a0\u200d",
                             "\u05d0\u05d1", "\ufeff", "\ufffd"})
        EXPECT_EQ(curl_plain_text(text), text);
}

TEST(PlainText, ReplacesControlCharacters)
{
    EXPECT_EQ(curl_plain_text("a\x1b[2Jb"), "a\ufffd[2Jb");
    EXPECT_EQ(curl_plain_text(std::string_view("\0\a\b\v\f\r\x7f", 7)),
              "\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd");
    EXPECT_EQ(curl_plain_text("\u0080\u009b\u009f"), "\ufffd\ufffd\ufffd");
    EXPECT_EQ(curl_plain_text("\u2028\u2029"), "\ufffd\ufffd");
}

TEST(PlainText, ReplacesBidirectionalControls)
{
    for (const char* control : {"\u061c", "\u200e", "\u200f", "\u202a", "\u202b", "\u202c",
                                "\u202d", "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"})
        EXPECT_EQ(curl_plain_text(std::string("a") + control + "b"), "a\ufffdb");
}

TEST(PlainText, ReplacesBytesThatAreNotUtf8)
{
    EXPECT_EQ(curl_plain_text("a\x9b\xff\xc3"), "a\ufffd\ufffd\ufffd");
    EXPECT_EQ(curl_plain_text("\xc2"), "\ufffd");
    EXPECT_EQ(curl_plain_text("\xc1\x9b"), "\ufffd\ufffd");           // overlong
    EXPECT_EQ(curl_plain_text("\xe0\x82\x9b"), "\ufffd\ufffd\ufffd"); // overlong
    EXPECT_EQ(curl_plain_text("\xed\xa0\x80"), "\ufffd\ufffd\ufffd"); // a surrogate
    EXPECT_EQ(curl_plain_text("\xf4\x90\x80\x80").find('\xf4'), std::string::npos);
}

TEST(PlainText, EndsLinesInOneWay)
{
    EXPECT_EQ(curl_plain_text("a\r\nb\r\r\n"), "a\nb\ufffd\n");
}
