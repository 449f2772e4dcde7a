#include "support/fio/fio_append_file.h"

#include "support/fio/fio_file_system.h"
#include "tests/harness/scanner_win32.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>

using OPENING = FIO_APPEND_FILE::OPENING;
using namespace std::chrono_literals;

TEST(AppendFile, CanBeReadWhileItIsWritten)
{
    const TEMP_DIR dir;
    const std::string path = (dir / "a").string();
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(path, OPENING::create_if_missing));
    ASSERT_TRUE(file.append("abc", 3));
    EXPECT_EQ(dir.read("a"), "abc");
    EXPECT_EQ(::DeleteFileW((dir / "a").c_str()), FALSE);
}

TEST(FileSystem, WaitsForAScannerBeforeRemoving)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    EXPECT_TRUE(while_scanned(path, 700ms,
                              [&] { return FIO_FILE_SYSTEM::remove_if_exists(path.string()); }));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(FileSystem, WaitsForAScannerBeforeMoving)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    EXPECT_TRUE(while_scanned(
        path, 700ms,
        [&] { return FIO_FILE_SYSTEM::move(path.string(), (dir / "b").string(), false); }));
    EXPECT_EQ(dir.read("b"), "x");
}

TEST(FileSystem, GivesUpOnAFileThatStaysLocked)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    const SCANNER scanner(path);
    const STOPWATCH watch;
    EXPECT_FALSE(FIO_FILE_SYSTEM::remove_if_exists(path.string()));
    const MEASURED_TIME taken = watch.elapsed();
    EXPECT_GT(taken.wall, 9s);
    EXPECT_TRUE(taken.within(12s));
}

TEST(FileSystem, MovesNothingIfTheTargetStaysLocked)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    const auto target = dir.write("b", "y");
    {
        const SCANNER scanner(target);
        const STOPWATCH watch;
        EXPECT_FALSE(FIO_FILE_SYSTEM::move(path.string(), target.string(), true));
        EXPECT_TRUE(watch.within(12s));
    }
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>({"a", "b"}));
    EXPECT_EQ(dir.read("b"), "y");
}

TEST(FileSystem, EndsItsWaitOnRequest)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    const SCANNER scanner(path);
    int asked = 0;
    const auto third_time = [&asked] { return ++asked == 3; };
    const STOPWATCH watch;
    EXPECT_FALSE(FIO_FILE_SYSTEM::remove_if_exists(path.string(), third_time));
    EXPECT_EQ(asked, 3);
    EXPECT_TRUE(watch.within(2s));
}

TEST(FileSystem, DoesNotRetryALockedFileIfWaitingIsDisabled)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    {
        const SCANNER scanner(path);
        const STOPWATCH watch;
        EXPECT_FALSE(FIO_FILE_SYSTEM::remove_unless_held(path.string()));
        EXPECT_TRUE(watch.within(1s));
    }
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_unless_held(path.string()));
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_unless_held(path.string()));
}

TEST(FileSystem, RemovesAFileThatIsWriteProtected)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    ASSERT_NE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), FALSE);
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists(path.string()));
}

TEST(FileSystem, AcceptsPathsLongerThan260Characters)
{
    const TEMP_DIR dir;
    std::string path = dir.str();
    for (int level = 0; level < 6; ++level)
    {
        path += "\\" + std::string(60, 'x');
        ASSERT_TRUE(FIO_FILE_SYSTEM::create_private_directory(path)) << path.size();
    }
    const std::string file_path = path + "\\" + std::string(60, 'f');
    FIO_APPEND_FILE file;
    ASSERT_TRUE(file.open(file_path, OPENING::create_if_missing)) << file.error();
    ASSERT_TRUE(file.append("abc", 3));
    file.close();
    EXPECT_TRUE(FIO_FILE_SYSTEM::exists(file_path));
    EXPECT_EQ(FIO_FILE_SYSTEM::identity(file_path)->size, 3U);
    EXPECT_TRUE(FIO_FILE_SYSTEM::move(file_path, path + "\\g", false));
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists(path + "\\g"));
    for (; path.size() > dir.str().size(); path.resize(path.size() - 61))
        EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists(path)) << path.size();
}
