#include "install/vinst/download/vinst_install_place.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

TEST(InstallLockPosix, RecognizesADirectoryBehindALink)
{
    const TEMP_DIR dir;
    dir.make_dir("real");
    std::filesystem::create_symlink(dir / "real", dir / "link");
    VINST_INSTALL_LOCK lock;
    VINST_INSTALL_LOCK other;
    ASSERT_EQ(lock.take(QString::fromStdString((dir / "real/inst").string())), "");
    EXPECT_NE(other.take(QString::fromStdString((dir / "link/inst").string())), "");
}

TEST(InstallLockPosix, ReportsWhatIsInItsWay)
{
    const TEMP_DIR dir;
    const QString inst = QString::fromStdString((dir / "inst").string());
    VINST_INSTALL_LOCK lock;
    ASSERT_EQ(lock.take(inst), "");
    const std::string lock_path = (dir / list_tree(dir.path()).front()).string();
    lock.release();
    ASSERT_EQ(::mkfifo(lock_path.c_str(), 0600), 0);
    EXPECT_EQ(utf8(lock.take(inst)), "Cannot install into " + (dir / "inst").string() +
                                         ": remove " + lock_path + ", which is in the way.");
}

TEST(InstallPlace, IsUnusableOnAFileSystemWithoutPrograms)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TEMP_DIR dir;
    const TMPFS_DIR disk(4096, TMPFS_DIR::PROGRAMS::forbidden);
    const std::string on_disk = (disk.path() / "new").string();
    VINST_RELEASE release;
    release.set_download_dir(dir.qstr());
    release.set_install_dir(dir.qstr());
    EXPECT_EQ(install_obstacle(release), "");
    release.set_install_dir(QString::fromStdString(on_disk));
    EXPECT_EQ(utf8(install_obstacle(release)),
              "Programs cannot be run in " + on_disk +
                  ", because its file system is mounted with \"noexec\". Choose another install "
                  "directory.");
    release.set_download_dir(QString::fromStdString(on_disk));
    EXPECT_EQ(utf8(install_obstacle(release)),
              "The installers cannot be run from " + on_disk +
                  ", because its file system is mounted with \"noexec\". Choose another download "
                  "directory.");
}

class OpenDownloadDir : public ::testing::Test
{
protected:
    OpenDownloadDir()
    {
        std::filesystem::create_directories(dir / "above" / "dl");
        release.set_download_dir(QString::fromStdString((dir / "above" / "dl").string()));
    }

    std::string warning() { return utf8(open_download_dir_warning(release)); }

    void set_mode(const std::string& name, mode_t mode)
    {
        ASSERT_EQ(::chmod((dir / name).c_str(), mode), 0);
    }

    void expect_warning_for_root()
    {
        if (::geteuid() != 0)
            EXPECT_EQ(warning(), "") << "users choose themselves whom they trust";
        else
            EXPECT_EQ(warning().find("Warning: other users can write the download directory " +
                                     (dir / "above" / "dl").string() +
                                     " or a directory above it, and could replace files"),
                      0U)
                << warning();
    }

    const TEMP_DIR dir;
    VINST_RELEASE release;
};

TEST_F(OpenDownloadDir, IsReportedToRoot)
{
    EXPECT_EQ(warning(), "");
    set_mode("above/dl", 0775);
    expect_warning_for_root();
}

TEST_F(OpenDownloadDir, IsAlsoOneThatOthersCanReplace)
{
    set_mode("above", 0777);
    expect_warning_for_root();
    set_mode("above", 01777);
    EXPECT_EQ(warning(), "") << "as in /tmp, only the owner can rename what is in it";
}

TEST_F(OpenDownloadDir, IsAlsoOneBelowAnotherUsersDirectory)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a directory away";
    constexpr uid_t other_user = 1234;
    ASSERT_EQ(::chown((dir / "above").c_str(), other_user, static_cast<gid_t>(-1)), 0);
    expect_warning_for_root();
}
