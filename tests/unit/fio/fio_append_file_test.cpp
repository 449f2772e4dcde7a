#include "support/fio/fio_append_file.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

using OPENING = FIO_APPEND_FILE::OPENING;

}

TEST(AppendFile, GrowsAtItsEnd)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "12345").string();
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(path, OPENING::existing_only));
    EXPECT_EQ(file.size(), 5U);
    EXPECT_TRUE(file.append("67", 2));
    EXPECT_EQ(file.size(), 7U);
    EXPECT_EQ(dir.read("a"), "1234567");
}

TEST(AppendFile, IsCreatedOnlyOnRequest)
{
    const TEMP_DIR dir;
    const std::string path = (dir / "a").string();
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(path, OPENING::existing_only));
    EXPECT_EQ(file.error(), "");
    EXPECT_TRUE(dir.tree().empty());
    EXPECT_TRUE(file.open(path, OPENING::create_if_missing));
    EXPECT_EQ(file.size(), 0U);
}

TEST(AppendFile, AllowsOnlyOneWriter)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "x").string();
    FIO_APPEND_FILE first;
    ASSERT_TRUE(first.open(path, OPENING::existing_only));
    FIO_APPEND_FILE second;
    EXPECT_FALSE(second.open(path, OPENING::create_if_missing));
    EXPECT_EQ(second.error(), "Cannot write " + path + ": another process is writing it");
    first.close();
    EXPECT_TRUE(second.open(path, OPENING::create_if_missing));
}

TEST(AppendFile, FollowsNoLink)
{
    const TEMP_DIR dir;
    dir.write("real", "x");
    std::filesystem::create_symlink(dir / "real", dir / "link");
    const std::string path = (dir / "link").string();
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(path, OPENING::create_if_missing));
    EXPECT_EQ(file.error(), "Cannot write " + path + ": it is a link. Remove it and try again");
    std::filesystem::remove(dir / "real");
    EXPECT_FALSE(file.open(path, OPENING::create_if_missing));
    EXPECT_FALSE(std::filesystem::exists(dir / "real"));
}

TEST(AppendFile, KeepsWhatFitsOnAFullDisk)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(256 * 1024);
    FIO_APPEND_FILE file;
    const std::string path = (disk.path() / "a").string();
    ASSERT_TRUE(file.open(path, OPENING::create_if_missing));
    const std::string block(1024 * 1024, 'x');
    EXPECT_FALSE(file.append(block.data(), block.size()));
    EXPECT_EQ(file.error(), "Cannot write " + path + ": No space left on device");
    EXPECT_EQ(file.size(), std::filesystem::file_size(path));
    EXPECT_GT(file.size(), 0U);
}

TEST(AppendFile, CanBeReopenedByItsWriter)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "123").string();
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(path, OPENING::existing_only));
    ASSERT_TRUE(file.open(path, OPENING::existing_only)) << "opening again closes the first file";
    EXPECT_TRUE(file.append("4", 1));
    file.close();
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(dir.read("a"), "1234");
}

TEST(AppendFile, ShortensTheFileAndAppendsToTheNewEnd)
{
    const TEMP_DIR dir;
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(dir.write("a", "123").string(), OPENING::existing_only));
    ASSERT_TRUE(file.append("456789", 6));
    EXPECT_TRUE(file.shorten(4));
    EXPECT_EQ(file.size(), 4U);
    EXPECT_EQ(dir.read("a"), "1234");
    EXPECT_TRUE(file.append("ab", 2));
    EXPECT_EQ(file.size(), 6U);
    EXPECT_EQ(dir.read("a"), "1234ab");
    EXPECT_TRUE(file.shorten(100)) << "there is nothing to remove";
    EXPECT_EQ(dir.read("a"), "1234ab");
}

TEST(AppendFile, TreatsAnEmptyAppendAsSuccess)
{
    const TEMP_DIR dir;
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(dir.write("a", "x").string(), OPENING::existing_only));
    EXPECT_TRUE(file.append("", 0));
    EXPECT_EQ(file.size(), 1U);
    EXPECT_EQ(file.error(), "");
}

TEST(AppendFile, RefusesADirectoryAndAMissingParent)
{
    const TEMP_DIR dir;
    dir.make_dir("d");
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open((dir / "d").string(), OPENING::create_if_missing));
    EXPECT_EQ(file.error().find("Cannot write " + (dir / "d").string() + ": "), 0U);
    EXPECT_FALSE(file.open((dir / "none/a").string(), OPENING::create_if_missing));
    EXPECT_EQ(file.error().find("Cannot write " + (dir / "none/a").string() + ": "), 0U);
}

TEST(AppendFile, ReplacesAFileThatHasASecondName)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "old").string();
    std::filesystem::create_hard_link(path, dir / "other");
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(path, OPENING::existing_only));
    EXPECT_EQ(file.error(), "");
    ASSERT_TRUE(file.open(path, OPENING::create_if_missing)) << file.error();
    EXPECT_EQ(file.size(), 0U);
    ASSERT_TRUE(file.append("new", 3));
    file.close();
    EXPECT_EQ(dir.read("a"), "new");
    EXPECT_EQ(dir.read("other"), "old");
}

TEST(AppendFile, AppendsAPartOfAnotherFile)
{
    const TEMP_DIR dir;
    const std::string other = dir.write("b", "0123456789").string();
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(dir.write("a", "abc").string(), OPENING::existing_only));
    EXPECT_TRUE(file.append_from(other, 2, 3)) << file.error();
    EXPECT_EQ(file.size(), 6U);
    EXPECT_TRUE(file.append("x", 1));
    EXPECT_TRUE(file.append_from(other, 8, 100));
    EXPECT_EQ(file.size(), 9U);
    EXPECT_EQ(dir.read("a"), "abc234x89");
    EXPECT_EQ(dir.read("b"), "0123456789");
}

TEST(AppendFile, AppendsAPartOfAFileThatIsBeingWritten)
{
    const TEMP_DIR dir;
    FIO_APPEND_FILE other;
    ASSERT_TRUE(other.open((dir / "b").string(), OPENING::create_if_missing));
    ASSERT_TRUE(other.append("123", 3));
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open((dir / "a").string(), OPENING::create_if_missing));
    EXPECT_TRUE(file.append_from(other.path(), 1, 2)) << file.error();
    EXPECT_EQ(dir.read("a"), "23");
}

TEST(AppendFile, ReportsWhatItCannotAppendFrom)
{
    const TEMP_DIR dir;
    const std::string other = dir.write("b", "123").string();
    const std::string missing = (dir / "c").string();
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(dir.write("a", "abc").string(), OPENING::existing_only));
    EXPECT_FALSE(file.append_from(other, 3, 1));
    EXPECT_EQ(file.error(), "Cannot read " + other + ": it is too short");
    EXPECT_FALSE(file.append_from(missing, 0, 1));
    EXPECT_EQ(file.error().find("Cannot read " + missing + ": "), 0U);
    EXPECT_EQ(dir.read("a"), "abc");
}

TEST(AppendFile, ExchangesOpenFiles)
{
    const TEMP_DIR dir;
    FIO_APPEND_FILE a;
    FIO_APPEND_FILE b;
    ASSERT_TRUE(a.open(dir.write("a", "1").string(), OPENING::existing_only));
    a.swap(b);
    EXPECT_FALSE(a.is_open());
    EXPECT_EQ(b.path(), (dir / "a").string());
    EXPECT_TRUE(b.append("2", 1));
    EXPECT_EQ(b.size(), 2U);
    EXPECT_FALSE(a.open(b.path(), OPENING::existing_only)) << "the lock went with the file";
}
