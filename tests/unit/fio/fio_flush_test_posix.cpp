#include "support/fio/fio_flush.h"

#include "tests/harness/ext4_disk.h"
#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint64_t mebibyte = 1024 * 1024;

}

TEST(FlushHandle, TreatsUnflushableFilesAsFlushed)
{
    EXPECT_FALSE(FIO_FLUSH_HANDLE("/dev/null").flush()); // EINVAL
    EXPECT_FALSE(FIO_FLUSH_HANDLE("/proc/self/status").flush());
}

TEST(FlushHandle, FailsForAMissingDirectory)
{
    const TEMP_DIR dir;
    EXPECT_EQ(fio_flush_directory((dir / "none").string()), std::errc::no_such_file_or_directory);
}

TEST(FlushHandle, KeepsAFileAndItsNameThroughAPowerCut)
{
    if (const std::string obstacle = EXT4_DISK::obstacle(); !obstacle.empty())
        GTEST_SKIP() << obstacle;
    const EXT4_DISK disk(32 * mebibyte);
    const std::string content = pattern(mebibyte);
    std::filesystem::create_directory(disk.path() / "dl");
    write_file(disk.path() / "dl/flushed", content);
    EXPECT_FALSE(FIO_FLUSH_HANDLE((disk.path() / "dl/flushed").string()).flush());
    EXPECT_FALSE(fio_flush_directory((disk.path() / "dl").string()));
    write_file(disk.path() / "dl/not_flushed", content);
    disk.cut_power();
    disk.mount_again();
    EXPECT_TRUE(read_file(disk.path() / "dl/flushed") == content);
    EXPECT_FALSE(std::filesystem::exists(disk.path() / "dl/not_flushed"));
}

TEST(FlushHandle, ReportsAFailedWriteAndShowsTheDisksContent)
{
    if (const std::string obstacle = EXT4_DISK::obstacle(); !obstacle.empty())
        GTEST_SKIP() << obstacle;
    const EXT4_DISK disk(64 * mebibyte, 16 * mebibyte);
    const std::filesystem::path path = disk.path() / "a";
    const std::string content = pattern(32 * mebibyte);
    write_file(path, content);
    ASSERT_TRUE(read_file(path) == content);
    EXPECT_TRUE(FIO_FLUSH_HANDLE(path.string()).flush());
    std::string shown;
    try
    {
        shown = read_file(path);
    }
    catch (const std::runtime_error&)
    {
        // The disk may fail to read what it couldn't write.
    }
    EXPECT_FALSE(shown == content);
}
