#include "install/vinst/download/vinst_install_place.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/harness/temp_dir.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

class InstallLock : public ::testing::Test
{
protected:
    QString path(const std::string& relative) const
    {
        return QString::fromStdString((dir / relative).string());
    }

    TEMP_DIR dir;
    VINST_INSTALL_LOCK lock;
    VINST_INSTALL_LOCK other;
};

}

TEST_F(InstallLock, ReservesADirectoryForOneRun)
{
    ASSERT_EQ(lock.take(path("inst")), "");
    EXPECT_EQ(other.take(path("other")), "");
    const std::string refusal = utf8(other.take(path("inst")));
    EXPECT_EQ(refusal.find("Cannot install into " + (dir / "inst").string() +
                           ": another run (process " +
                           std::to_string(QCoreApplication::applicationPid()) + " on "),
              0U)
        << refusal;
    EXPECT_NE(refusal.find(") is installing into it. If that run has ended, remove "),
              std::string::npos)
        << refusal;
    lock.release();
    EXPECT_EQ(other.take(path("inst")), "");
}

TEST_F(InstallLock, RecognizesOtherNamesOfTheDirectory)
{
    dir.make_dir("real/sub");
    ASSERT_EQ(lock.take(path("real/inst")), "");
    EXPECT_NE(other.take(path("real/sub/../inst/")), "");
}

TEST_F(InstallLock, LeavesNothingBehind)
{
    dir.make_dir("inst");
    ASSERT_EQ(lock.take(path("inst")), "");
    EXPECT_EQ(list_tree(dir / "inst"), std::vector<std::string>());
    EXPECT_EQ(list_tree(dir.path()).size(), 2U) << "the directory and the lock beside it";
    lock.release();
    EXPECT_EQ(list_tree(dir.path()), std::vector<std::string>{"inst/"});
}

TEST_F(InstallLock, LeavesNoEmptyParentsBehind)
{
    ASSERT_EQ(lock.take(path("a/b/inst")), "");
    EXPECT_NE(other.take(path("a/b/inst")), "");
    other.release();
    lock.release();
    EXPECT_FALSE(std::filesystem::exists(dir / "a"));
}

TEST_F(InstallLock, HoldsWhileTheParentsOfTheDirectoryAreCreated)
{
    ASSERT_EQ(lock.take(path("a/b/inst")), "");
    dir.make_dir("a/b/downloads");
    EXPECT_NE(other.take(path("a/b/inst")), "");
    other.release();
    lock.release();
    EXPECT_TRUE(std::filesystem::exists(dir / "a/b/downloads"));
}
