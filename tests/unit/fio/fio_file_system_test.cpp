#include "support/fio/fio_file_system.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using std::filesystem::perms;

perms mode_of(const std::filesystem::path& path)
{
    return std::filesystem::status(path).permissions();
}

}

TEST(TmpPath, IsNewAndInsideItsDirectory)
{
    const TEMP_DIR dir;
    const std::string first = FIO_FILE_SYSTEM::get_tmp_path(dir.str());
    const std::string second = FIO_FILE_SYSTEM::get_tmp_path(dir.str());
    EXPECT_NE(first, second);
    EXPECT_EQ(std::filesystem::path(first).parent_path(), dir.path());
    EXPECT_FALSE(FIO_FILE_SYSTEM::exists(first));
}

TEST(PrivateFile, IsCreatedOnceForItsOwnerOnly)
{
    const TEMP_DIR dir;
    const std::string path = (dir / "log").string();
    EXPECT_TRUE(FIO_FILE_SYSTEM::create_private_file(path));
    EXPECT_EQ(mode_of(path), perms::owner_read | perms::owner_write);
    EXPECT_FALSE(FIO_FILE_SYSTEM::create_private_file(path));
    std::filesystem::create_symlink(dir / "elsewhere", dir / "link");
    EXPECT_FALSE(FIO_FILE_SYSTEM::create_private_file((dir / "link").string()));
    EXPECT_TRUE(FIO_FILE_SYSTEM::create_private_directory((dir / "d").string()));
    EXPECT_EQ(mode_of(dir / "d"), perms::owner_all);
}

TEST(Move, ReplacesOnlyOnRequest)
{
    const TEMP_DIR dir;
    const std::string from = dir.write("from", "new").string();
    const std::string to = dir.write("to", "old").string();
    EXPECT_FALSE(FIO_FILE_SYSTEM::move(from, to, false));
    EXPECT_EQ(dir.read("to"), "old");
    EXPECT_TRUE(FIO_FILE_SYSTEM::move(from, to, true));
    EXPECT_EQ(dir.read("to"), "new");
    EXPECT_FALSE(FIO_FILE_SYSTEM::exists(from));
}

TEST(Move, KeepsAFileThatCannotBeMoved)
{
    const TEMP_DIR dir;
    const std::string from = dir.write("from", "x").string();
    EXPECT_FALSE(FIO_FILE_SYSTEM::move(from, (dir / "none/to").string(), true));
    EXPECT_EQ(dir.read("from"), "x");
    EXPECT_FALSE(FIO_FILE_SYSTEM::move((dir / "missing").string(), (dir / "to").string(), true));
}

TEST(Move, WorksAcrossFileSystems)
{
    ASSERT_TRUE(std::filesystem::is_directory("/dev/shm"));
    const TEMP_DIR dir;
    const std::string from = FIO_FILE_SYSTEM::get_tmp_path("/dev/shm");
    ASSERT_TRUE(FIO_FILE_SYSTEM::create_private_file(from));
    std::ofstream(from) << "content";
    ASSERT_NE(FIO_FILE_SYSTEM::identity(from)->device,
              FIO_FILE_SYSTEM::identity(dir.write("x", "").string())->device);
    const std::string to = dir.write("to", "old").string();
    EXPECT_TRUE(FIO_FILE_SYSTEM::move(from, to, true));
    EXPECT_EQ(dir.read("to"), "content");
    EXPECT_EQ(mode_of(to), perms::owner_read | perms::owner_write);
    EXPECT_FALSE(FIO_FILE_SYSTEM::exists(from));
    EXPECT_EQ(dir.tree(), (std::vector<std::string>{"to", "x"}));
}

TEST(RemoveIfExists, IgnoresAMissingFile)
{
    const TEMP_DIR dir;
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists((dir / "none").string()));
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists(dir.write("a", "x").string()));
    EXPECT_EQ(dir.tree(), std::vector<std::string>{});
    dir.write("d/inside", "x");
    EXPECT_FALSE(FIO_FILE_SYSTEM::remove_if_exists((dir / "d").string()));
}

TEST(Chmod, SetsTheMode)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a.run", "x").string();
    EXPECT_TRUE(FIO_FILE_SYSTEM::chmod(path, 448));
    EXPECT_EQ(mode_of(path), perms::owner_all);
    EXPECT_FALSE(FIO_FILE_SYSTEM::chmod((dir / "none").string(), 448));
}

TEST(Identity, ChangesWithContentAndLocation)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "x").string();
    const auto first = FIO_FILE_SYSTEM::identity(path);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->size, 1U);
    EXPECT_EQ(first, FIO_FILE_SYSTEM::identity(path));
    dir.write("b", "x");
    EXPECT_FALSE(first == FIO_FILE_SYSTEM::identity((dir / "b").string()));
    dir.write("a", "xy");
    EXPECT_FALSE(first == FIO_FILE_SYSTEM::identity(path));
    EXPECT_FALSE(FIO_FILE_SYSTEM::identity((dir / "none").string()));
    EXPECT_FALSE(FIO_FILE_SYSTEM::identity(dir.str()));
}

TEST(Move, RefusesADirectoryAndReplacesNone)
{
    const TEMP_DIR dir;
    dir.write("d/inside", "x");
    EXPECT_FALSE(FIO_FILE_SYSTEM::move((dir / "d").string(), (dir / "e").string(), true));
    const std::string file = dir.write("file", "y").string();
    EXPECT_FALSE(FIO_FILE_SYSTEM::move(file, (dir / "d").string(), true));
    EXPECT_EQ(dir.tree(), (std::vector<std::string>{"d/", "d/inside", "file"}));
}

TEST(Move, LetsOneOfSeveralTakeANewName)
{
    const TEMP_DIR dir;
    const std::string to = (dir / "to").string();
    constexpr int movers = 8;
    for (int round = 0; round < 50; ++round)
    {
        std::filesystem::remove(to);
        std::atomic<int> moved{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < movers; ++i)
            threads.emplace_back([&, from = dir.write("from" + std::to_string(i), "x").string()]
                                 { moved += FIO_FILE_SYSTEM::move(from, to, false) ? 1 : 0; });
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_EQ(moved, 1);
        ASSERT_EQ(dir.tree().size(), static_cast<std::size_t>(movers));
    }
}

TEST(Move, LeavesNothingBehindIfTheOtherFileSystemIsFull)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TEMP_DIR dir;
    const TMPFS_DIR disk(64 * 1024);
    write_file(disk.path() / "log", "old");
    const std::string from = dir.write("from", std::string(256 * 1024, 'x')).string();
    EXPECT_FALSE(FIO_FILE_SYSTEM::move(from, (disk.path() / "log").string(), true));
    EXPECT_EQ(read_file(disk.path() / "log"), "old");
    EXPECT_EQ(list_tree(disk.path()), std::vector<std::string>{"log"});
    EXPECT_EQ(dir.read("from").size(), 256U * 1024);
}

TEST(FileNames, AreUtf8)
{
    const TEMP_DIR dir;
    const std::string path = dir.str() + "/\xC3\xBC \xE6\xBC\xA2";
    EXPECT_TRUE(FIO_FILE_SYSTEM::create_private_file(path));
    EXPECT_TRUE(FIO_FILE_SYSTEM::exists(path));
    EXPECT_TRUE(FIO_FILE_SYSTEM::move(path, path + "2", false));
    EXPECT_EQ(dir.tree(), std::vector<std::string>{"\xC3\xBC \xE6\xBC\xA2"
                                                   "2"});
}

TEST(RemoveIfExists, RemovesALinkAndNotItsTarget)
{
    const TEMP_DIR dir;
    dir.write("real", "x");
    std::filesystem::create_symlink(dir / "real", dir / "link");
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists((dir / "link").string()));
    EXPECT_EQ(dir.tree(), std::vector<std::string>{"real"});
}
