#include "support/curl/curl_logger.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <thread>
#include <vector>

namespace
{

using LINES = std::vector<std::string>;

LINES lines_of(const TEMP_DIR& dir)
{
    LINES lines;
    for (const std::string& line : read_lines(dir / "log"))
        lines.push_back(line.substr(line.find("] ") + 2));
    return lines;
}

}

TEST(Logger, CreatesItsFileForItsOwnerOnly)
{
    const TEMP_DIR dir;
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    EXPECT_EQ(std::filesystem::status(dir / "log").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    CURL_LOGGER second((dir / "log").string(), CURL_LOGGER::info_level);
    EXPECT_FALSE(second.open());
    second.info("goes nowhere");
    EXPECT_EQ(lines_of(dir), LINES{});
}

TEST(Logger, TimestampsEachLineAndWritesItImmediately)
{
    const TEMP_DIR dir;
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    logger.info("size %d of %s, %.2f GB\n", 5, std::string("x"), 1.5);
    const std::regex stamped(
        R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[info\] size 5 of x, 1\.50 GB\n)");
    EXPECT_TRUE(std::regex_match(dir.read("log"), stamped)) << dir.read("log");
    logger.error("bad");
    logger.debug("hidden");
    logger.set_log_level(CURL_LOGGER::debug_level);
    logger.debug("shown");
    EXPECT_EQ(lines_of(dir),
              (LINES{"[info] size 5 of x, 1.50 GB", "[error] bad", "[debug] shown"}));
}

TEST(Logger, KeepsALineWhoseFormatFails)
{
    EXPECT_EQ(CURL_LOGGER::formatted("100% %n %s"), "100% %n %s");
    EXPECT_EQ(CURL_LOGGER::formatted("%d items", std::string("no")), "%d items no");
    EXPECT_EQ(CURL_LOGGER::formatted("%s and %s", 1), "%s and %s 1");
    EXPECT_EQ(CURL_LOGGER::formatted("%", 1), "% 1");
    EXPECT_EQ(CURL_LOGGER::formatted("%u", std::uint64_t{18446744073709551615U}),
              "18446744073709551615");
    EXPECT_EQ(CURL_LOGGER::formatted("%s", std::string("50% %n")), "50% %n");
}

TEST(Logger, AppendsAFileOfAnyLengthInBoundedLines)
{
    const TEMP_DIR dir;
    std::string content;
    for (int i = 0; content.size() < 300000; ++i)
        content += "line " + std::to_string(i) + " 100%\n";
    const std::string path = dir.write("content", content).string();
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    logger.info_with_file("Output: ", path);
    logger.info_with_file("None: ", (dir / "none").string());
    std::string text =
        std::regex_replace(dir.read("log"), std::regex(R"(\[[^\]]*\] \[info\] )"), "");
    EXPECT_EQ(text, "Output: " + content + "None: \n");
}

TEST(Logger, DoesNotMixLinesOfSeveralThreads)
{
    const TEMP_DIR dir;
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&logger]
            {
                for (int i = 0; i < 200; ++i)
                    logger.info("%s", std::string(200, 'x'));
            });
    for (std::thread& thread : threads)
        thread.join();
    const LINES lines = lines_of(dir);
    EXPECT_EQ(lines.size(), 800U);
    for (const std::string& line : lines)
        ASSERT_EQ(line, "[info] " + std::string(200, 'x'));
}

TEST(Logger, SurvivesNullTexts)
{
    const char* const none = nullptr;
    EXPECT_EQ(CURL_LOGGER::formatted("%s", none), "(null)");
    EXPECT_EQ(CURL_LOGGER::formatted("%", none, 1), "% (an argument can't be shown)");
}

TEST(Logger, DoesNotInterpretArgumentsAsFormats)
{
    EXPECT_EQ(CURL_LOGGER::formatted("%s|%s", std::string("%d %s {}"), "{0} %n"),
              "%d %s {}|{0} %n");
    EXPECT_EQ(CURL_LOGGER::formatted("100%% of %s", "x"), "100% of x");
    EXPECT_EQ(CURL_LOGGER::formatted("%d and %lld", -1, 9007199254740993LL),
              "-1 and 9007199254740993");
    EXPECT_EQ(CURL_LOGGER::formatted("%.2f%%", 12.345), "12.35%");
}

TEST(Logger, DoesNothingWithoutAFile)
{
    const TEMP_DIR dir;
    for (const std::string& path : {std::string(), (dir / "none/log").string(), dir.str()})
    {
        CURL_LOGGER logger(path, CURL_LOGGER::info_level);
        EXPECT_FALSE(logger.open()) << path;
        logger.info("x");
        logger.error("%s", "x");
        logger.info_with_file("x", path);
        logger.close();
    }
    EXPECT_EQ(dir.tree(), std::vector<std::string>{});
}

TEST(Logger, FollowsNoLink)
{
    const TEMP_DIR dir;
    dir.write("victim", "keep");
    std::filesystem::create_symlink(dir / "victim", dir / "log");
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    EXPECT_FALSE(logger.open());
    logger.info("x");
    EXPECT_EQ(dir.read("victim"), "keep");
}

TEST(Logger, WritesNothingAfterItIsClosed)
{
    const TEMP_DIR dir;
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    logger.info("one");
    logger.close();
    logger.info("two");
    EXPECT_EQ(lines_of(dir), LINES{"[info] one"});
}

TEST(Logger, SurvivesAFullDisk)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(64 * 1024);
    CURL_LOGGER logger((disk.path() / "log").string(), CURL_LOGGER::info_level);
    ASSERT_TRUE(logger.open());
    logger.info("first");
    for (int i = 0; i < 300; ++i)
        logger.info("%s", std::string(1000, 'x'));
    logger.close();
    EXPECT_NE(read_lines(disk.path() / "log").at(0).find("[info] first"), std::string::npos);
}

TEST(Logger, ReplacesControlCharactersOfTexts)
{
    const TEMP_DIR dir;
    CURL_LOGGER logger((dir / "log").string(), CURL_LOGGER::debug_level);
    ASSERT_TRUE(logger.open());
    logger.info("%s", "\x1b[2J\u009b");
    logger.error("\u202eevil");
    logger.debug("< %s", "Server: x\r\n");
    const std::string path = dir.write("content", "\x1b[1mbytes\xff\n").string();
    logger.info_with_file("\x1b: ", path);
    EXPECT_EQ(lines_of(dir), (LINES{"[info] \ufffd[2J\ufffd", "[error] \ufffdevil",
                                    "[debug] < Server: x", "[info] \ufffd: \x1b[1mbytes\xff"}));
}
