#include "install/vinst/base/vinst_utils.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace
{

class Paths : public ::testing::Test
{
protected:
    Paths() { VINST_MESSAGES::instance().echo_to_console = true; }
    ~Paths() override { qunsetenv("TMPDIR"); }

    QString path(const std::string& relative) const
    {
        return QString::fromStdString((dir / relative).string());
    }

    /// A path of that many bytes below the directory; no part of it exists.
    QString path_of_length(int bytes) const
    {
        QString result = dir.qstr();
        while (result.size() < bytes)
            result += result.size() % 50 == 49 && result.size() + 1 < bytes ? '/' : 'x';
        return result;
    }

    bool is_valid(const QString& text)
    {
        return run([&] { return validate_path(text, error); });
    }
    bool is_valid_install_dir(const QString& text, const QString& platform)
    {
        return run([&] { return validate_install_path(text, error, platform); });
    }

    template <typename CHECK>
    bool run(const CHECK& check)
    {
        error.clear();
        ::testing::internal::CaptureStdout();
        const bool valid = check();
        printed = ::testing::internal::GetCapturedStdout();
        return valid;
    }

    const TEMP_DIR dir;
    std::string error;
    std::string printed;
};

}

TEST_F(Paths, MustNotBeEmptyOrContainBlanks)
{
    EXPECT_FALSE(is_valid(""));
    EXPECT_EQ(error, "Download or installation path is empty.");
    EXPECT_EQ(printed, error + "\n");
    EXPECT_FALSE(is_valid(path("My Files/dl")));
    EXPECT_EQ(error, "Download or installation path cannot include spaces.");
    EXPECT_FALSE(is_valid("C:\\My Files\\dl"));
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, MayBeCreatedAndDoNotExistAfterTheCheck)
{
    EXPECT_TRUE(is_valid(path("a/b/c")));
    EXPECT_EQ(error, "");
    EXPECT_EQ(printed, "");
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, KeepEmptyParentsThatWereThereBefore)
{
    dir.make_dir("a/b");
    EXPECT_TRUE(is_valid(path("a/b/c/d")));
    EXPECT_EQ(list_tree(dir.path()), (std::vector<std::string>{"a/", "a/b/"}));
    EXPECT_TRUE(is_valid(path("a/b")));
    EXPECT_EQ(list_tree(dir.path()), (std::vector<std::string>{"a/", "a/b/"}));
}

TEST_F(Paths, StayWhenAnotherProcessCreatesThemDuringTheCheck)
{
    constexpr int rounds = 300;
    for (int round = 0; round < rounds; ++round)
    {
        const QString wanted = path("new" + std::to_string(round) + "/dl");
        std::atomic<int> ready{0};
        const auto check_and_create = [&]
        {
            std::string refusal;
            ++ready;
            while (ready < 4)
                std::this_thread::yield();
            EXPECT_TRUE(validate_path(wanted, refusal)) << refusal;
            QDir().mkpath(wanted);
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(check_and_create);
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_TRUE(QFileInfo(wanted).isDir()) << round;
    }
    EXPECT_EQ(list_tree(dir.path()).size(), 2U * rounds); // and no traces of the checks
}

TEST_F(Paths, AreRefusedBelowALinkToNothing)
{
    std::filesystem::create_directory_symlink(dir / "none", dir / "link");
    EXPECT_FALSE(is_valid(path("link")));
    EXPECT_FALSE(is_valid(path("link/below")));
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{"link"});
}

TEST_F(Paths, AreRefusedIfANameIsTooLong)
{
    EXPECT_FALSE(is_valid(path("a/" + std::string(256, 'n') + "/b")));
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, AreRefusedIfAFileIsInTheWay)
{
    dir.write("file", "x");
    EXPECT_FALSE(is_valid(path("file")));
    EXPECT_EQ(error, "Failed to create " + path("file").toStdString() +
                         " directory. Check if you have the write permission.");
    EXPECT_FALSE(is_valid(path("file/below")));
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{"file"});
}

TEST_F(Paths, AreRefusedIfNotWritable)
{
    // Not even root can write there.
    EXPECT_FALSE(is_valid("/proc/none"));
    EXPECT_FALSE(is_valid("/proc"));
    EXPECT_EQ(error, "Failed to create /proc directory. Check if you have the write permission.");
}

TEST_F(Paths, OfInstallationsHaveALimitOnWindows)
{
    ASSERT_LT(dir.qstr().size(), 60);
    EXPECT_TRUE(is_valid_install_dir(path_of_length(65), "windows"));
    EXPECT_FALSE(is_valid_install_dir(path_of_length(66), "windows"));
    EXPECT_EQ(error,
              "The path string exceeds the supported path length limit. Specify a shorter path.");
    EXPECT_EQ(printed, error + "\n");
    EXPECT_TRUE(run([&] { return validate_download_path(path_of_length(66), error); }));
    EXPECT_TRUE(is_valid_install_dir(path_of_length(66), "linux"));
}

TEST_F(Paths, OfInstallationsHaveALongerLimitOnLinux)
{
    EXPECT_TRUE(is_valid_install_dir(path_of_length(3091), "linux"));
    EXPECT_FALSE(is_valid_install_dir(path_of_length(3092), "linux"));
    EXPECT_TRUE(run([&] { return validate_download_path(path_of_length(3092), error); }));
}

TEST_F(Paths, OfInstallationsAreNoLinksOnWindows)
{
    dir.make_dir("real");
    std::filesystem::create_symlink(dir / "real", dir / "link");
    EXPECT_FALSE(is_valid_install_dir(path("link"), "windows"));
    EXPECT_EQ(error, "Symlink or Junction point is not allowed in installation path on Windows.");
    EXPECT_TRUE(is_valid_install_dir(path("link"), "linux"));
    EXPECT_TRUE(run([&] { return validate_download_path(path("link"), error); }));
}

TEST_F(Paths, ResolveToTheNearestExistingDirectory)
{
    dir.make_dir("a");
    dir.write("a/file", "x");
    EXPECT_EQ(nearest_existing_dir(path("a")), path("a"));
    EXPECT_EQ(nearest_existing_dir(path("a/b/c")), path("a"));
    EXPECT_EQ(nearest_existing_dir(path("a/file/c")), path("a"));
    EXPECT_EQ(nearest_existing_dir("/none_such/x"), "/");
    EXPECT_EQ(nearest_existing_dir("none_such"), QDir::currentPath());
}

TEST_F(Paths, AreWritableIfADirectoryCanBeCreatedInside)
{
    EXPECT_TRUE(is_writable_dir(dir.qstr()));
    EXPECT_FALSE(is_writable_dir(path("none")));
    EXPECT_FALSE(is_writable_dir(""));
    EXPECT_FALSE(is_writable_dir("/proc"));
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, OfTemporaryFilesEndWithASeparator)
{
    qputenv("TMPDIR", dir.qstr().toUtf8());
    EXPECT_EQ(temp_dir(), dir.qstr() + "/");
}

TEST_F(Paths, OfTemporaryFilesAreReportedIfUnusable)
{
    qputenv("TMPDIR", "/proc");
    run([] { return temp_dir().isEmpty(); });
    EXPECT_EQ(printed, "Error: /proc/ is not writable\n");
}

TEST_F(Paths, LogTheFreeSpaceOfTheirVolume)
{
    VINST_MESSAGES::instance().log_path = (dir / "log").string();
    VINST_MESSAGES::instance().open_log();
    EXPECT_GT(free_disk_space((dir / "a/b").string()), 0U);
    const std::vector<std::string> lines = read_lines(dir / "log");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_NE(lines[0].find("[info] Path: " + (dir / "a/b").string()), std::string::npos);
    EXPECT_NE(lines[1].find("[info] Total disk space: "), std::string::npos);
    EXPECT_NE(lines[2].find("[info] Free disk space: "), std::string::npos);
    EXPECT_EQ(lines[2].substr(lines[2].size() - 3), " GB");
}

TEST(Gigabytes, CountFullMebibytes)
{
    EXPECT_EQ(gigabytes(1048575), 0.0);
    EXPECT_EQ(gigabytes(1048576), 1.0 / 1024);
    EXPECT_EQ(gigabytes(1073741824), 1.0);
    EXPECT_EQ(gigabytes(1073741824 - 1), 1023.0 / 1024);
}

TEST(ProxyPort, IsAnIntegerUpTo65535)
{
    for (const char* good : {"1", "65535", "8080"})
        EXPECT_TRUE(is_valid_proxy_port(good)) << good;
    for (const char* bad : {"0", "65536", "80a", "", "-1", "1.5", "99999999999999999999", "a"})
        EXPECT_FALSE(is_valid_proxy_port(bad)) << bad;
}

TEST(ProxyServer, AcceptsWhatATolerantUrlParserAccepts)
{
    for (const char* good : {"gate", "gate.example", "http://gate", "socks5://10.0.0.1"})
        EXPECT_TRUE(is_valid_proxy_server(good)) << good;
    EXPECT_FALSE(is_valid_proxy_server(""));
}

TEST_F(Paths, OfInstallationsAreMeasuredInBytes)
{
    // Two bytes per character.
    QString path = dir.qstr() + '/';
    while (path.toUtf8().size() < 64)
        path += QStringLiteral("\u00fc");
    ASSERT_LT(path.size(), 65);
    path = path.left(path.size() - 1);
    while (path.toUtf8().size() < 65)
        path += 'x';
    EXPECT_TRUE(is_valid_install_dir(path, "windows"));
    path.chop(1);
    path += QStringLiteral("\u00fc");
    ASSERT_EQ(path.toUtf8().size(), 66);
    EXPECT_FALSE(is_valid_install_dir(path, "windows"));
    EXPECT_EQ(error,
              "The path string exceeds the supported path length limit. Specify a shorter path.");
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, MayContainCharactersThatOtherPlatformsForbid)
{
    EXPECT_TRUE(is_valid(path("a*?<>b")));
    EXPECT_EQ(error, "");
}

TEST_F(Paths, ReportOnlyTheirFirstFault)
{
    const QString both = path("a b") + QString(100, 'x');
    EXPECT_FALSE(is_valid_install_dir(both, "windows"));
    EXPECT_EQ(error, "Download or installation path cannot include spaces.");
    EXPECT_EQ(printed, error + "\n");
    EXPECT_FALSE(is_valid_install_dir("", "windows"));
    EXPECT_EQ(error, "Download or installation path is empty.");
    dir.write("file", "x");
    EXPECT_FALSE(is_valid_install_dir(path("file"), "linux"));
    EXPECT_EQ(error, "Failed to create " + path("file").toStdString() +
                         " directory. Check if you have the write permission.");
}

TEST_F(Paths, AreLoggedAsInformation)
{
    VINST_MESSAGES::instance().log_path = (dir / "log").string();
    VINST_MESSAGES::instance().open_log();
    is_valid("");
    const std::vector<std::string> lines = read_lines(dir / "log");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("] [info] Download or installation path is empty."), std::string::npos);
}

TEST_F(Paths, OfTemporaryFilesAreEmptyWithoutThatDirectory)
{
    qputenv("TMPDIR", path("none").toUtf8());
    QString found = "something";
    run(
        [&found]
        {
            found = temp_dir();
            return true;
        });
    EXPECT_EQ(found, "");
    EXPECT_EQ(printed, "Error: can't locate TEMP directory on your machine\n");
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{});
}

TEST_F(Paths, ResolveToTheRootAndThroughLinks)
{
    EXPECT_EQ(nearest_existing_dir("/"), "/");
    EXPECT_EQ(nearest_existing_dir("/none_such"), "/");
    dir.make_dir("real");
    std::filesystem::create_symlink(dir / "real", dir / "link");
    EXPECT_EQ(nearest_existing_dir(path("link/below")), path("link"));
    EXPECT_EQ(nearest_existing_dir(path("real/none/../x")), path("real"));
}

TEST(ProxyServer, RefusesWhatNoUrlParserAccepts)
{
    for (const char* bad : {"http://[::1", "http://gate:port", "http://gate:99999", "http://a b"})
        EXPECT_FALSE(is_valid_proxy_server(bad)) << bad;
}

TEST(ProxyPort, IsNotTruncatedAtANul)
{
    EXPECT_FALSE(is_valid_proxy_port(std::string("80\0", 3)));
    EXPECT_FALSE(is_valid_proxy_port(" "));
    EXPECT_FALSE(is_valid_proxy_port("0x50"));
}

namespace
{

/// Replaces the browser.
class BROWSER final : public QObject
{
    Q_OBJECT

public:
    BROWSER() { QDesktopServices::setUrlHandler("https", this, "open"); }
    ~BROWSER() override { QDesktopServices::unsetUrlHandler("https"); }

    Q_INVOKABLE void open(const QUrl& url) { opened.append(url); }

    QList<QUrl> opened;
};

}

TEST(OpenUrl, LogsTheEncodedAddressAndPassesItToTheBrowser)
{
    const TEMP_DIR dir;
    VINST_MESSAGES::instance().log_path = (dir / "log").string();
    VINST_MESSAGES::instance().open_log();
    const BROWSER browser;
    const QUrl url(QString::fromUtf8("https://docs.orvane.example/a b?q=\u00fc"));
    open_url(url);
    EXPECT_EQ(browser.opened, QList<QUrl>{url});
    const std::vector<std::string> lines = read_lines(dir / "log");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("] [info] Open URL: https://docs.orvane.example/a%20b?q=%C3%BC"),
              std::string::npos);
}

#include "vinst_utils_test.moc"
