#include "install/vinst/download/vinst_browser_preferences.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

VINST_BROWSER_PREFERENCES read_lines(const QStringList& lines)
{
    VINST_BROWSER_PREFERENCES preferences;
    VINST_PREFERENCE_READER reader(preferences);
    for (const QString& line : lines)
        reader.take_line(line);
    return preferences;
}

QString take(const QString& line)
{
    VINST_BROWSER_PREFERENCES preferences;
    return VINST_PREFERENCE_READER(preferences).take_line(line);
}

QString pref(const QString& key, const QString& value)
{
    return "user_pref(\"network.proxy." + key + "\", " + value + ");";
}

std::string manual(const QStringList& lines)
{
    return read_lines(QStringList{pref("type", "1")} + lines).proxy().address();
}

}

TEST(PreferenceLine, SetsEachKeyOfProxies)
{
    const VINST_BROWSER_PREFERENCES read =
        read_lines({pref("http_port", "3128"), pref("http", "\"h\""), pref("socks_port", "1080"),
                    pref("socks_version", "4"), pref("socks", "\"s\""),
                    pref("autoconfig_url", "\"http://a/p.pac\""), pref("type", "2")});
    EXPECT_EQ(read.http_port, "3128");
    EXPECT_EQ(read.http_host, "h");
    EXPECT_EQ(read.socks_port, "1080");
    EXPECT_EQ(read.socks_version, "4");
    EXPECT_EQ(read.socks_host, "s");
    EXPECT_EQ(read.autoconfig_url, "http://a/p.pac");
    EXPECT_EQ(read.type, "2");
}

TEST(PreferenceLine, ReturnsWhatItFound)
{
    EXPECT_EQ(take(pref("http_port", "3128")), "network.proxy.http_port: 3128");
    EXPECT_EQ(take("user_pref(\"browser.startup.homepage\", \"x\");"), "");
    EXPECT_EQ(take(""), "");
}

TEST(PreferenceLine, OfThePortDoesNotSetTheHost)
{
    EXPECT_EQ(read_lines({pref("http_port", "3128")}).http_host, "");
    EXPECT_EQ(read_lines({pref("socks_port", "1")}).socks_host, "");
}

TEST(PreferenceLine, IsReadOnlyWithTheFullKey)
{
    const VINST_BROWSER_PREFERENCES read =
        read_lines({pref("socks_remote_dns", "true"), pref("autoconfig_url.include_path", "true"),
                    pref("httpx", "\"no\""), pref("type2", "1"),
                    "user_pref(\"my.network.proxy.http\", \"no\");",
                    "user_pref(\"x\", \"network.proxy.http\");"});
    EXPECT_EQ(read.socks_host, "");
    EXPECT_EQ(read.autoconfig_url, "");
    EXPECT_EQ(read.http_host, "");
    EXPECT_EQ(read.type, "");
    EXPECT_EQ(read.socks_version, "5");
}

TEST(PreferenceLine, MayContainAnySpacing)
{
    EXPECT_EQ(take("user_pref(\"network.proxy.http\",\"h\");"), "network.proxy.http: h");
    EXPECT_EQ(take("\t user_pref ( \"network.proxy.http\" ,\t \"h\" ) ;  \r"),
              "network.proxy.http: h");
    EXPECT_EQ(take("user_pref('network.proxy.http', 'h');"), "network.proxy.http: h");
    EXPECT_EQ(take("user_pref( \"network.proxy.type\",   1  );"), "network.proxy.type: 1");
}

TEST(PreferenceLine, MayContainEscapes)
{
    EXPECT_EQ(take(R"(user_pref("network.proxy.http", "a\"b\\c\x2dd\u0065");)"),
              "network.proxy.http: a\"b\\c-de");
    EXPECT_EQ(take(R"(user_pref("network.proxy.autoconfig_url", "http://a/\/p");)"),
              "network.proxy.autoconfig_url: http://a//p");
    EXPECT_EQ(take(R"(user_pref("network.proxy.http", "a\u12");)"), "network.proxy.http: au12");
}

TEST(PreferenceLine, WithSlashesInItsTextIsNotAComment)
{
    EXPECT_EQ(take(pref("autoconfig_url", "\"http://a/*/p.pac#x\"")),
              "network.proxy.autoconfig_url: http://a/*/p.pac#x");
}

TEST(PreferenceLine, IsIgnoredInAComment)
{
    EXPECT_EQ(take("// " + pref("http", "\"h\"")), "");
    EXPECT_EQ(take("# " + pref("http", "\"h\"")), "");
    EXPECT_EQ(take("/* " + pref("http", "\"h\"") + " */"), "");
    EXPECT_EQ(take("/* x */ " + pref("http", "\"h\"") + " // y"), "network.proxy.http: h");
    const VINST_BROWSER_PREFERENCES read = read_lines(
        {"/*", pref("http", "\"no\""), " */ " + pref("type", "1"), "", pref("http_port", "1")});
    EXPECT_EQ(read.http_host, "");
    EXPECT_EQ(read.type, "1");
    EXPECT_EQ(read.http_port, "1");
}

TEST(PreferenceLine, IsSkippedWhenItIsBroken)
{
    for (const char* line :
         {"user_pref(\"network.proxy.http\", \"h)", "user_pref(network.proxy.http, h);",
          "user_pref(\"network.proxy.http\");", "user_pref(",
          "xuser_pref(\"network.proxy.http\", \"h\");"})
        EXPECT_EQ(take(line), "") << line;
}

TEST(PreferenceLine, OverridesEarlierLines)
{
    EXPECT_EQ(read_lines({pref("http", "\"a\""), pref("http", "\"b\"")}).http_host, "b");
    EXPECT_EQ(read_lines({pref("http", "\"a\""), pref("http", "\"\"")}).http_host, "");
}

TEST(BrowserPreferences, UseTheHttpProxyOfAManualConfiguration)
{
    EXPECT_EQ(manual({pref("http", "\"h\""), pref("http_port", "3128"), pref("socks", "\"s\""),
                      pref("socks_port", "1080")}),
              "h:3128");
}

TEST(BrowserPreferences, UseTheSocksProxyWithoutAnHttpHost)
{
    EXPECT_EQ(manual({pref("socks", "\"s\""), pref("socks_port", "1080")}), "socks5://s:1080");
    EXPECT_EQ(
        manual({pref("socks", "\"s\""), pref("socks_port", "1080"), pref("socks_version", "5")}),
        "socks5://s:1080");
    EXPECT_EQ(manual({pref("http", "\"\""), pref("socks", "\"https://s.example\""),
                      pref("socks_port", "1080"), pref("socks_version", "4")}),
              "socks4://s.example:1080");
    EXPECT_EQ(manual({pref("socks", "\"http://s\""), pref("socks_port", "\"9\"")}), "socks5://s:9");
}

TEST(BrowserPreferences, YieldNothingWithoutAValidPort)
{
    EXPECT_EQ(manual({pref("http", "\"h\"")}), "");
    EXPECT_EQ(manual({pref("http", "\"h\""), pref("http_port", "0")}), "");
    EXPECT_EQ(manual({pref("http", "\"h\""), pref("http_port", "x"), pref("socks", "\"s\""),
                      pref("socks_port", "1080")}),
              "");
    EXPECT_EQ(manual({pref("socks", "\"s\"")}), "");
    EXPECT_EQ(manual({pref("socks", "\"s\""), pref("socks_port", "65536")}), "");
    EXPECT_EQ(manual({}), "");
}

TEST(BrowserPreferences, ReturnTheAutomaticConfigurationIfChosen)
{
    const QString url = pref("autoconfig_url", "\"http://a/p.pac\"");
    const VINST_BROWSER_PREFERENCES chosen =
        read_lines({url, pref("type", "2"), pref("http", "\"h\""), pref("http_port", "1")});
    EXPECT_EQ(chosen.chosen_autoconfig_url(), "http://a/p.pac");
    EXPECT_FALSE(chosen.proxy().has_host());
    EXPECT_EQ(read_lines({url, pref("type", "1")}).chosen_autoconfig_url(), "");
}

TEST(BrowserPreferences, OfEveryOtherTypeYieldNothing)
{
    for (const char* type : {"0", "3", "4", "5", "\"\"", "x", "-1"})
    {
        const VINST_BROWSER_PREFERENCES read =
            read_lines({pref("type", type), pref("http", "\"h\""), pref("http_port", "1"),
                        pref("autoconfig_url", "\"http://a\"")});
        EXPECT_FALSE(read.proxy().has_host()) << type;
        EXPECT_EQ(read.chosen_autoconfig_url(), "") << type;
    }
}

namespace
{

class PreferenceFilesTest : public ::testing::Test
{
protected:
    void add(const std::string& folder)
    {
        std::filesystem::create_directories(dir / folder);
        write_file(dir / (folder + "/prefs.js"), "x");
    }

    QStringList found(const std::function<bool()>& keep_looking = [] { return true; })
    {
        const QString root = QString::fromStdString(dir.path().string()) + "/";
        QStringList names;
        for (const QString& path : preference_files(root, keep_looking))
            names.append(path.mid(root.size()));
        return names;
    }

    TEMP_DIR dir;
};

}

TEST_F(PreferenceFilesTest, AreFoundInEveryProfileInAlphabeticalOrder)
{
    add("b.default");
    add("a.work");
    add(".hidden/deeper");
    write_file(dir / "a.work/user.js", "x");
    EXPECT_EQ(found(),
              QStringList({".hidden/deeper/prefs.js", "a.work/prefs.js", "b.default/prefs.js"}));
}

TEST_F(PreferenceFilesTest, AreSearchedForSixDirectoriesDeep)
{
    add("1/2/3/4/5/6");
    add("x/2/3/4/5/6/7");
    EXPECT_EQ(found(), QStringList({"1/2/3/4/5/6/prefs.js"}));
}

TEST_F(PreferenceFilesTest, AreLimitedToTwoHundred)
{
    for (int i = 0; i < 205; ++i)
        add(std::to_string(i));
    EXPECT_EQ(found().size(), 200);
}

TEST_F(PreferenceFilesTest, AreNotFoundThroughLinks)
{
    add("real");
    std::filesystem::create_directory_symlink(dir / "real", dir / "linked");
    std::filesystem::create_directory(dir / "other");
    std::filesystem::create_symlink(dir / "real/prefs.js", dir / "other/prefs.js");
    std::filesystem::create_directory(dir / "odd");
    std::filesystem::create_directory(dir / "odd/prefs.js");
    EXPECT_EQ(found(), QStringList({"real/prefs.js"}));
}

TEST_F(PreferenceFilesTest, AreNotSearchedForAfterAStop)
{
    add("one");
    EXPECT_EQ(found([] { return false; }), QStringList());
}

TEST_F(PreferenceFilesTest, AreNotFoundWithoutABrowser)
{
    EXPECT_EQ(preference_files("/nonexistent/firefox", [] { return true; }), QStringList());
}
