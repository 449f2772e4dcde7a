#include "support/fio/fio_flush.h"

#include "support/fio/fio_append_file.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

using OPENING = FIO_APPEND_FILE::OPENING;

TEST(FlushHandle, FlushesAFileByItsPath)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "abc").string();
    EXPECT_FALSE(FIO_FLUSH_HANDLE(path).flush());
    EXPECT_EQ(dir.read("a"), "abc");
}

TEST(FlushHandle, FlushesAFileThatIsReadOnly)
{
    const TEMP_DIR dir;
    const std::filesystem::path path = dir.write("a", "abc");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_FALSE(FIO_FLUSH_HANDLE(path.string()).flush());
}

TEST(FlushHandle, FailsForAMissingFile)
{
    const TEMP_DIR dir;
    const FIO_FLUSH_HANDLE handle((dir / "none").string());
    EXPECT_FALSE(handle.is_open());
    EXPECT_EQ(handle.flush(), std::errc::no_such_file_or_directory);
}

TEST(FlushHandle, FlushesADirectory)
{
    const TEMP_DIR dir;
    dir.write("a", "abc");
    EXPECT_FALSE(fio_flush_directory(dir.str()));
}

TEST(FlushHandle, KeepsTheLockOfItsFile)
{
    const TEMP_DIR dir;
    const std::string path = (dir / "a").string();
    FIO_APPEND_FILE first;
    EXPECT_EQ(first.flush_handle(), nullptr);
    ASSERT_TRUE(first.open(path, OPENING::create_if_missing));
    ASSERT_TRUE(first.append("abc", 3));
    auto handle = first.flush_handle();
    ASSERT_NE(handle, nullptr);
    EXPECT_FALSE(handle->flush());
    first.close();

    FIO_APPEND_FILE second;
    EXPECT_FALSE(second.open(path, OPENING::existing_only));
    EXPECT_EQ(second.error(), "Cannot write " + path + ": another process is writing it");
    EXPECT_FALSE(handle->flush());
    handle.reset();
    EXPECT_TRUE(second.open(path, OPENING::existing_only));
}
