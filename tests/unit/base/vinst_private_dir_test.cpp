#include "install/vinst/base/vinst_private_dir.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace
{

class PrivateDir : public ::testing::Test
{
protected:
    PrivateDir()
    {
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
    }
    ~PrivateDir() override { VINST_MESSAGES::destroy(); }

    QString parent(const std::string& name) const
    {
        return QString::fromStdString((dir / name).string());
    }

    TEMP_DIR dir;
};

}

TEST_F(PrivateDir, ExistsUntilItIsDestroyed)
{
    std::filesystem::create_directory(dir / "tmp");
    std::optional<VINST_PRIVATE_DIR> made(std::in_place, parent("tmp"));
    EXPECT_TRUE(made->was_created());
    write_file(made->path_of("file"), "content");
    made.reset();
    EXPECT_EQ(list_tree(dir / "tmp"), std::vector<std::string>{});
}

TEST_F(PrivateDir, ReportsThatItCannotBeCreated)
{
    write_file(dir / "file", "kept");
    {
        const VINST_PRIVATE_DIR made(parent("file"));
        EXPECT_FALSE(made.was_created());
    }
    EXPECT_EQ(read_file(dir / "file"), "kept");
    EXPECT_THAT(read_file(dir / "log"),
                ::testing::HasSubstr("[info] Cannot create the directory "));
}
