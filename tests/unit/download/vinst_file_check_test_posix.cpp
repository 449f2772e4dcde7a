#include "install/vinst/download/vinst_file_check.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace
{

class FileCheck : public ::testing::Test
{
protected:
    VINST_FILE_CHECK check(const VINST_READ_CALLBACK& on_read)
    {
        VINST_FILE_DIGEST digest(qpath());
        return check_file(digest, calc_md5sum(qpath()), {}, on_read);
    }
    QString qpath() const { return QString::fromStdString(path.string()); }

    TEMP_DIR dir;
    const std::filesystem::path path = dir.write("a.run", "content");
};

}

TEST_F(FileCheck, PassesAFileThatAnotherRunMakesExecutableMeanwhile)
{
    int reads = 0;
    const VINST_FILE_CHECK result = check(
        [&](quint64)
        {
            if (++reads == 1)
                FIO_FILE_SYSTEM::chmod(path.string(), 0700);
        });
    EXPECT_TRUE(result.passed) << result.problem.toStdString();
    EXPECT_EQ(reads, 2) << "its content could have changed as well";
    EXPECT_EQ(result.file, FIO_FILE_SYSTEM::identity(path.string()));
}

TEST_F(FileCheck, LooksAgainIfOnlyTheModificationTimeIsAsBefore)
{
    const auto time = std::filesystem::last_write_time(path);
    const VINST_FILE_CHECK result = check(
        [&](quint64)
        {
            std::fstream(path) << "CONTENT";
            std::filesystem::last_write_time(path, time);
        });
    EXPECT_FALSE(result.passed);
    EXPECT_NE(result.md5, calc_md5sum(QString::fromStdString(dir.write("b", "content").string())));
}

TEST_F(FileCheck, EndsForAFileThatKeepsChanging)
{
    unsigned mode = 0700;
    const VINST_FILE_CHECK result =
        check([&](quint64) { FIO_FILE_SYSTEM::chmod(path.string(), mode ^= 0200U); });
    EXPECT_FALSE(result.passed);
    EXPECT_EQ(result.problem, "it has changed while it was being verified");
}

TEST(Chmod, ChangesNothingIfTheModeIsRight)
{
    const TEMP_DIR dir;
    const std::string path = dir.write("a", "x", 0700).string();
    const auto before = FIO_FILE_SYSTEM::identity(path);
    EXPECT_TRUE(FIO_FILE_SYSTEM::chmod(path, 0700));
    EXPECT_EQ(before, FIO_FILE_SYSTEM::identity(path));
}

TEST_F(FileCheck, ReadsEverythingAgainBeforeItFailsAFileThatWasHashedWhileItGrew)
{
    VINST_FILE_DIGEST digest(qpath());
    std::ofstream(path) << "something";
    ASSERT_TRUE(digest.read_to_end());
    std::ofstream(path) << "something else";
    std::fstream(path) << "SOMETHING";
    const QString md5 = calc_md5sum(qpath());
    EXPECT_TRUE(check_file(digest, md5, {}).passed);
    EXPECT_FALSE(check_file(digest, QStringLiteral("900150983cd24fb0d6963f7d28e17f72"), {}).passed);
}
