#include "install/vinst/base/vinst_platform.h"

#include <gtest/gtest.h>

#include <string>

TEST(Platform, IsTheBuildsTarget)
{
#if defined(_WIN32) // there is no other way to ask for the target
    EXPECT_EQ(host_platform(), "windows");
#else
    EXPECT_EQ(host_platform(), "linux");
#endif
    EXPECT_TRUE(is_platform("linux"));
    EXPECT_TRUE(is_platform("windows"));
    EXPECT_FALSE(is_platform(""));
    EXPECT_FALSE(is_platform("Linux"));
}

TEST(Platform, DecidesOnNamesAndLimits)
{
    EXPECT_EQ(install_path_limit("windows"), 65U);
    EXPECT_EQ(install_path_limit("linux"), 3091U);
    EXPECT_EQ(installer_suffix("windows"), ".exe");
    EXPECT_EQ(installer_suffix("linux"), ".run");
    EXPECT_EQ(installer_suffix(""), ".run");
    EXPECT_EQ(console_host_name("linux"), "vinst");
    EXPECT_EQ(console_host_name("windows"), "vinst_cli");
}

TEST(Platform, DecidesOnTheCommandThatOpensAPage)
{
    EXPECT_EQ(open_page_command("/opt/licenses/main.html", "linux"),
              "xdg-open /opt/licenses/main.html");
    EXPECT_EQ(open_page_command("C:/licenses/main.html", "windows"), "start C:/licenses/main.html");
    EXPECT_EQ(open_page_command("/a b/$(x)/it's", "linux"), "xdg-open '/a b/$(x)/it'\\''s'");
    EXPECT_EQ(open_page_command("C:\\Program Files\\v & w\\main.html", "windows"),
              "start \"\" \"C:\\Program Files\\v & w\\main.html\"");
}

TEST(Platform, NeedsNoSpecialRightsToInstallOnLinux)
{
    EXPECT_TRUE(has_admin_rights());
}

TEST(SafeFileName, IsANameThatEveryPlatformCanCreate)
{
    for (const char* good : {"a", "a.run", "veltrin 5.2 (pro).run", "ä.vdz", ".hidden", "-x",
                             "console", "com", "lpt10", "a..b", "con_x"})
        EXPECT_TRUE(is_safe_file_name(good)) << good;
    for (const char* bad :
         {"",    ".",    "..",      "a/b",  "/a",       "a\\b", "c:a",     "a:stream", "a?",
          "a*",  "a\"b", "a<b",     "a>b",  "a|b",      "a\nb", "a\x7f",   "a.",       "a ",
          "con", "CON",  "Nul.txt", "com1", "lpt9.x.y", "aux",  "prn.run", ".pieces",  ".Pieces"})
        EXPECT_FALSE(is_safe_file_name(bad)) << bad;
    EXPECT_TRUE(is_safe_file_name(QString(255, 'a')));
    EXPECT_FALSE(is_safe_file_name(QString(256, 'a')));
    EXPECT_FALSE(is_safe_file_name(QString("a") + QChar(0) + "b"));
}

TEST(SafeFileName, IsNotAWindowsDeviceInAnySpelling)
{
    for (const char* bad : {"conin$", "CONOUT$", "CONIN$.run", "com\xC2\xB9", "COM\xC2\xB2.run",
                            "lpt\xC2\xB3", "nul .txt", "aux..run"})
        EXPECT_FALSE(is_safe_file_name(bad)) << bad;
    for (const char* good : {"conin", "conout$x", "com\xC2\xB9x", "nul_.txt", "xnul"})
        EXPECT_TRUE(is_safe_file_name(good)) << good;
}

TEST(SafeFileName, ContainsNoC0OrC1ControlCharacter)
{
    for (ushort code = 0; code < 0x20; ++code)
        EXPECT_FALSE(is_safe_file_name(QString("a") + QChar(code) + "b")) << code;
    for (ushort code = 0x7f; code < 0xa0; ++code)
        EXPECT_FALSE(is_safe_file_name(QString("a") + QChar(code) + "b")) << code;
    EXPECT_FALSE(is_safe_file_name(QStringLiteral("a\u2028b")));
    EXPECT_FALSE(is_safe_file_name(QStringLiteral("a\u2029b")));
}

TEST(SafeFileName, IsMeasuredInBytes)
{
    EXPECT_TRUE(is_safe_file_name(QString(127, QChar(0xfc))));
    EXPECT_FALSE(is_safe_file_name(QString(128, QChar(0xfc))));
}
