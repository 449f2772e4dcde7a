#include "install/pac/pac_text.h"

#include "tests/harness/time_ratio.h"

#include <gtest/gtest.h>

namespace
{

std::string mended(const std::string& script)
{
    return without_padded_numbers(script).value_or("(unchanged)");
}

std::string found(const std::string& text)
{
    return directive_in_text(text).value_or("(none)");
}

}

TEST(PaddedNumbers, LoseTheirLeadingZeros)
{
    EXPECT_EQ(mended("timeRange(8, 30, 17, 00)"), "timeRange(8, 30, 17, 0)");
    EXPECT_EQ(mended("x=09;y=007+0010"), "x=9;y=7+10");
    EXPECT_EQ(mended("00"), "0");
}

TEST(PaddedNumbers, AreLeftUnchangedIfNotIntegers)
{
    for (const char* script : {"0", "10", "0.05", "1.05", "x09", "$01", "_00", "0x00", "0b01",
                               "1e05", "a.b0", "00.5", ""})
        EXPECT_EQ(mended(script), "(unchanged)") << script;
}

TEST(PaddedNumbers, AreLeftUnchangedInStrings)
{
    EXPECT_EQ(mended(R"(f("08", '09', `07`, 06))"), R"(f("08", '09', `07`, 6))");
    EXPECT_EQ(mended(R"(f("a\"08", 06))"), R"(f("a\"08", 6))");
    EXPECT_EQ(mended("x = \"open 08\ny = 08"), "x = \"open 08\ny = 8");
}

TEST(PaddedNumbers, AreLeftUnchangedInComments)
{
    EXPECT_EQ(mended("a(08) // 08\nb(09) /* 09\n07 */ c(07)"),
              "a(8) // 08\nb(9) /* 09\n07 */ c(7)");
    EXPECT_EQ(mended("a(08) /* open 07"), "a(8) /* open 07");
}

TEST(PaddedNumbers, AreLeftUnchangedInRegularExpressions)
{
    EXPECT_EQ(mended("x = /08[/\"]09/.test(h); y = 08"), "x = /08[/\"]09/.test(h); y = 8");
    EXPECT_EQ(mended("return /\\/08\"/.test(a, 08)"), "return /\\/08\"/.test(a, 8)");
    EXPECT_EQ(mended("f(/08/, 08)"), "f(/08/, 8)");
}

TEST(PaddedNumbers, LoseTheirLeadingZerosAfterADivision)
{
    EXPECT_EQ(mended("a / 08 / b"), "a / 8 / b");
    EXPECT_EQ(mended("(a) / 08 / 2"), "(a) / 8 / 2");
    EXPECT_EQ(mended("\"a\" / 08 / 2"), "\"a\" / 8 / 2");
}

TEST(DirectiveInText, IsTheFirstStringThatNamesAProxy)
{
    EXPECT_EQ(found("function x( { return 'none'; return \"PROXY a:1; DIRECT\"; 'PROXY b:2' }"),
              "PROXY a:1; DIRECT");
    EXPECT_EQ(found("x = \"DIRECT; proxy a.example:3128\""), "DIRECT; proxy a.example:3128");
    EXPECT_EQ(found("x = 'PROXY [::1]:80'"), "PROXY [::1]:80");
}

TEST(DirectiveInText, IsNotTakenFromComments)
{
    EXPECT_EQ(found("// \"PROXY old:1\"\n/* 'PROXY older:1' */ x = 'PROXY new:2'"), "PROXY new:2");
}

TEST(DirectiveInText, RequiresAHostAndAPort)
{
    for (const char* text : {"\"PROXY a\"", "\"PROXY :1\"", "\"PROXY a:\"", "\"MYPROXY a:1\"",
                             "\"SOCKS a:1\"", "\"PROXY \" + host + \":80\"", "", "DIRECT"})
        EXPECT_EQ(found(text), "(none)") << text;
}

TEST(DirectiveInText, MayBeALineOfAFileThatIsNotAScript)
{
    EXPECT_EQ(found("PROXY a:1; DIRECT"), "PROXY a:1; DIRECT");
    EXPECT_EQ(found("# proxies\r\n\r\n  direct ; Proxy a:1 ;\r\nPROXY b:2"),
              "  direct ; Proxy a:1 ;");
    EXPECT_EQ(found("SOCKS s:1; PROXY a:2"), "SOCKS s:1; PROXY a:2");
    EXPECT_EQ(found("one\rPROXY a:2\rtwo"), "PROXY a:2");
}

TEST(DirectiveInText, IsNotALineOfProse)
{
    EXPECT_EQ(found("Please use PROXY a:1 from now on"), "(none)");
    EXPECT_EQ(found("<p>PROXY a:1</p>"), "(none)");
    EXPECT_EQ(found("return PROXY a:1"), "(none)");
}

TEST(DirectiveInText, MayHaveEmptyEntriesAfterTheFirst)
{
    for (const char* text :
         {"PROXY a:1;", "PROXY a:1;; ;DIRECT;", "DIRECT;PROXY\ta:1", "socks5 b:1;\vPROXY [::1]:80"})
        EXPECT_EQ(found(text), text);
    for (const char* text : {";PROXY a:1", " ; PROXY a:1", "PROXY a:1 b", "PROXY a:1; PROXY b",
                             "PROXY a:1; b:2", "PROXY a:1; PROXY :2", "PROXY a:1; PROXY b:2x",
                             "PROXY a:1; X-Y b:2", "PROXY a:1; PROXY \"b:2", "PROXY a:1 DIRECT"})
        EXPECT_EQ(found(text), "(none)") << text;
}

TEST(DirectiveInText, HoldsOnlyHostsOfOrdinaryCharacters)
{
    for (const char* text :
         {"PROXY a-b_c.example:1", "PROXY 10.0.0.1:1", "PROXY [fe80::1]:1; SOCKS [::1]:2"})
        EXPECT_EQ(found(text), text);
    for (const char* host : {"ev\u202eil", "a\u009b31m", "a\x1b[31m", "a\x7f", "ada@b", "a/b",
                             "<a>", "[::1]x", "[a\u202e]", "[", "a[1]"})
        for (const char* quote : {"", "'"})
            EXPECT_EQ(found(quote + std::string("PROXY ") + host + ":1" + quote), "(none)") << host;
}

TEST(DirectiveInText, IsRecognizedInLinearTime)
{
    const auto search = [](int entries)
    {
        std::string line = "PROXY a:1";
        for (int i = 0; i < entries; ++i)
            line += ";  ";
        EXPECT_EQ(found(line + "x"), "(none)");
    };
    ASSERT_LT(time_ratio([&] { search(8); }, [&] { search(4); }), 8);
    search(1000);
}

TEST(DirectiveInText, IsNotAnOverlongText)
{
    EXPECT_EQ(found("\"PROXY a:1" + std::string(100'000, ' ') + "\""), "(none)");
    EXPECT_EQ(found(std::string(1'000'000, 'x')), "(none)");
}
