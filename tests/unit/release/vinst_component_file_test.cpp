#include "install/vinst/release/vinst_component_file.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace
{

class ComponentFile : public ::testing::Test
{
protected:
    ComponentFile()
    {
        component.filename = "one.run";
        component.size = 10;
        release.set_download_dir(dir.qstr());
    }

    void write(const std::string& content) { dir.write("one.run", content); }

    /// Acts like an integrity check of the file in its current state.
    void check(bool passed)
    {
        file.begin_check();
        file.finish_check({passed, FIO_FILE_SYSTEM::identity(utf8(file.path()))});
    }

    void verify()
    {
        write("0123456789");
        file.measure();
        check(true);
    }

    TEMP_DIR dir;
    VINST_RELEASE release;
    VINST_COMPONENT& component = *release.add_component();
    VINST_COMPONENT_FILE& file = component.file;
};

}

TEST_F(ComponentFile, IsInitiallyUnknown)
{
    EXPECT_FALSE(file.exists());
    EXPECT_EQ(file.bytes_on_disk(), 0U);
    EXPECT_FALSE(file.is_complete());
    EXPECT_FALSE(file.is_checked());
    EXPECT_FALSE(file.has_passed());
    EXPECT_FALSE(file.is_corrupted());
    EXPECT_FALSE(file.is_verified());
}

TEST_F(ComponentFile, IsCompleteOnceItHasItsSize)
{
    write("012345678");
    file.measure();
    EXPECT_TRUE(file.exists());
    EXPECT_EQ(file.bytes_on_disk(), 9U);
    EXPECT_FALSE(file.is_complete());
    file.count(10);
    EXPECT_TRUE(file.is_complete());
    EXPECT_EQ(file.bytes_on_disk(), 9U) << "only measuring updates the size on disk";
    write("0123456789x");
    file.measure();
    EXPECT_TRUE(file.is_complete());
}

TEST_F(ComponentFile, IsNeverCompleteWithoutASize)
{
    component.size = 0;
    write("0123456789");
    file.measure();
    EXPECT_FALSE(file.is_complete());
}

TEST_F(ComponentFile, IsVerifiedOnceItsCheckHasPassed)
{
    write("0123456789");
    file.measure();
    file.begin_check();
    EXPECT_TRUE(file.is_being_checked());
    EXPECT_FALSE(file.is_checked());
    file.finish_check({true, FIO_FILE_SYSTEM::identity(utf8(file.path()))});
    EXPECT_FALSE(file.is_being_checked());
    EXPECT_TRUE(file.has_passed());
    EXPECT_TRUE(file.is_verified());
    EXPECT_FALSE(file.is_corrupted());
}

TEST_F(ComponentFile, IsCorruptedWhenItIsCompleteAndItsCheckHasFailed)
{
    write("0123456789");
    file.measure();
    check(false);
    EXPECT_TRUE(file.is_checked());
    EXPECT_TRUE(file.is_corrupted());
    EXPECT_FALSE(file.is_verified());
}

TEST_F(ComponentFile, IsNoLongerVerifiedWhenItHasChangedOnDisk)
{
    verify();
    write("0123456789 and more");
    EXPECT_FALSE(file.is_verified());
    EXPECT_TRUE(file.has_passed()) << "it has not been measured yet";
    file.measure();
    EXPECT_FALSE(file.is_checked());
}

TEST_F(ComponentFile, IsNoLongerVerifiedWhenItsTimeWasSetBack)
{
    verify();
    const auto time = std::filesystem::last_write_time(dir / "one.run");
    std::fstream(dir / "one.run") << "9876543210";
    std::filesystem::last_write_time(dir / "one.run", time);
    EXPECT_FALSE(file.is_verified());
}

TEST_F(ComponentFile, StaysVerifiedWhenItIsMadeExecutable)
{
    verify();
    file.make_installer_executable();
    EXPECT_TRUE(file.is_verified());
    file.measure();
    EXPECT_TRUE(file.is_checked());
}

TEST_F(ComponentFile, IsNoLongerVerifiedWhenItIsRemoved)
{
    verify();
    std::filesystem::remove(dir / "one.run");
    EXPECT_FALSE(file.is_verified());
    file.measure();
    EXPECT_FALSE(file.is_checked());
    EXPECT_FALSE(file.is_complete());
}

TEST_F(ComponentFile, LosesItsCheckResultWhenItBecomesShorter)
{
    verify();
    file.count(9);
    EXPECT_FALSE(file.is_checked());
}

TEST_F(ComponentFile, IsCheckedForOneDirectoryOnly)
{
    verify();
    release.set_download_dir(dir.qstr() + "/other");
    EXPECT_FALSE(file.is_checked());
    EXPECT_FALSE(file.is_verified());
    release.set_download_dir(dir.qstr());
    EXPECT_TRUE(file.is_verified());
}

TEST_F(ComponentFile, DropsTheResultOfACheckStartedInAnotherDirectory)
{
    write("0123456789");
    file.measure();
    file.begin_check();
    release.set_download_dir(dir.qstr() + "/other");
    file.finish_check({true, FIO_FILE_SYSTEM::identity((dir / "one.run").string())});
    EXPECT_FALSE(file.is_checked());
    release.set_download_dir(dir.qstr());
    EXPECT_FALSE(file.is_checked());
}

TEST_F(ComponentFile, IsNoLongerCorruptedWhenItHasBeenReplaced)
{
    write("0123456789");
    file.measure();
    check(false);
    dir.write("other", "9876543210");
    std::filesystem::rename(dir / "other", dir / "one.run");
    file.measure();
    EXPECT_FALSE(file.is_corrupted());
    EXPECT_FALSE(file.is_checked());
}

TEST_F(ComponentFile, IsCorruptedOnceItIsRejected)
{
    verify();
    write("0123456789 and more");
    file.reject();
    EXPECT_TRUE(file.is_corrupted());
    file.measure();
    EXPECT_TRUE(file.is_corrupted());
}

TEST_F(ComponentFile, ForgetsACancelledCheck)
{
    write("0123456789");
    file.measure();
    file.begin_check();
    file.forget_check();
    EXPECT_FALSE(file.is_being_checked());
    EXPECT_FALSE(file.is_checked());
}
