#include "support/fio/fio_append_file.h"

#include "support/fio/fio_file_system.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using OPENING = FIO_APPEND_FILE::OPENING;

TEST(AppendFile, RefusesAPipe)
{
    const TEMP_DIR dir;
    const std::string pipe = (dir / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(pipe, OPENING::create_if_missing));
    EXPECT_EQ(file.error().find("Cannot write " + pipe + ": "), 0U);
    dir.make_dir("d");
    EXPECT_FALSE(file.open((dir / "d").string(), OPENING::create_if_missing));
    EXPECT_NE(file.error(), "");
    EXPECT_FALSE(file.open((dir / "none/a").string(), OPENING::create_if_missing));
    EXPECT_EQ(file.error(),
              "Cannot write " + (dir / "none/a").string() + ": No such file or directory");
}

/// Files of other users. Only root can give a file to another user.
class FileOfAnotherUser : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (::chown(path.c_str(), other_user, static_cast<gid_t>(-1)) != 0)
            GTEST_SKIP() << "this process can't give files to other users";
    }

    static constexpr uid_t other_user = 65534;
    TEMP_DIR dir;
    const std::string path = dir.write("a", "planted").string();
};

TEST_F(FileOfAnotherUser, IsReplacedInsteadOfAppendedTo)
{
    const int held_by_the_other = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(path, OPENING::existing_only));
    EXPECT_EQ(file.error(), "");
    ASSERT_TRUE(file.open(path, OPENING::create_if_missing)) << file.error();
    ASSERT_TRUE(file.append("good", 4));
    EXPECT_EQ(::pwrite(held_by_the_other, "evil", 4, 0), 4);
    ::close(held_by_the_other);
    EXPECT_EQ(dir.read("a"), "good");
}

TEST_F(FileOfAnotherUser, HasNoIdentityThatCouldBeTrusted)
{
    EXPECT_FALSE(FIO_FILE_SYSTEM::identity(path));
    ASSERT_EQ(::chown(path.c_str(), ::geteuid(), static_cast<gid_t>(-1)), 0);
    EXPECT_TRUE(FIO_FILE_SYSTEM::identity(path));
}

TEST_F(FileOfAnotherUser, IsNotTrustedEvenIfItIsALinkToOneOfThisUser)
{
    const std::string link = (dir / "link").string();
    std::filesystem::create_symlink(dir.write("mine", "good"), link);
    EXPECT_TRUE(FIO_FILE_SYSTEM::identity(link));
    ASSERT_EQ(::lchown(link.c_str(), other_user, static_cast<gid_t>(-1)), 0);
    EXPECT_FALSE(FIO_FILE_SYSTEM::identity(link));
}

TEST_F(FileOfAnotherUser, IsReportedIfItCannotBeReplaced)
{
    ASSERT_EQ(::chmod(dir.str().c_str(), 01777), 0);
    // Another unprivileged user can't remove it from a directory with the sticky bit.
    const pid_t child = ::fork();
    if (child == 0)
    {
        FIO_APPEND_FILE file;
        const bool refused = ::setuid(other_user - 1) == 0 &&
                             !file.open(path, OPENING::create_if_missing) &&
                             file.error() == "Cannot replace " + path +
                                                 ", which belongs to another user (number 65534): "
                                                 "Operation not permitted";
        ::_exit(refused ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
