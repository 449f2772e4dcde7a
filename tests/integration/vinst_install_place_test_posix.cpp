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

TEST(InstallPlace, WarnsRootAboutADirectoryThatOthersCanWrite)
{
    const TEMP_DIR dir;
    VINST_RELEASE release;
    release.set_download_dir(dir.qstr());
    EXPECT_EQ(open_download_dir_warning(release), "");
    ASSERT_EQ(::chmod(dir.str().c_str(), 0775), 0);
    const std::string warning = utf8(open_download_dir_warning(release));
    if (::geteuid() != 0)
        EXPECT_EQ(warning, "") << "users choose themselves whom they trust";
    else
        EXPECT_EQ(warning.find("Warning: other users can write the download directory " +
                               dir.str() + " and could replace files"),
                  0U)
            << warning;
}
