#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_utils.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/mount.h>

TEST(PathsOnDisks, ReportAReadOnlyVolume)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TEMP_DIR dir;
    const TMPFS_DIR disk(8 * 1048576);
    ASSERT_EQ(::mount(nullptr, disk.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    VINST_MESSAGES::instance().log_path = (dir / "log").string();
    VINST_MESSAGES::instance().open_log();
    EXPECT_EQ(free_disk_space(disk.path().string()), 8U * 1048576);
    const std::vector<std::string> lines = read_lines(dir / "log");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(lines[1].find("[info] isReadOnly"), std::string::npos);
    EXPECT_NE(lines[2].find("[info] Total disk space: 0.01 GB"), std::string::npos);
    EXPECT_NE(lines[3].find("[info] Free disk space: 0.01 GB"), std::string::npos);
    std::string refusal;
    EXPECT_FALSE(validate_path(QString::fromStdString(disk.path().string()), refusal));
    EXPECT_FALSE(validate_path(QString::fromStdString(disk.path().string()) + "/new", refusal));
}
