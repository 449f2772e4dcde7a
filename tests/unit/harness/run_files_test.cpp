#include "tests/harness/run_files.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

TEST(RunFiles, AreMeasured)
{
    const TEMP_DIR dir;
    write_file(dir / "file", "123");
    EXPECT_EQ(size_of_file(dir / "file"), 3U);
    EXPECT_EQ(size_of_file(dir / "none"), 0U);
}

TEST(RunFiles, AreSearchedInAllDirectories)
{
    const TEMP_DIR dir;
    write_file(dir / "a/b", "some text\n");
    EXPECT_TRUE(any_file_holds(dir.path(), "e t"));
    EXPECT_FALSE(any_file_holds(dir.path(), "other"));
}

TEST(RunFiles, AreFoundByTheirName)
{
    const TEMP_DIR dir;
    write_file(dir / "vinst_log", "");
    write_file(dir / "other", "");
    EXPECT_EQ(temporary_files_in(dir.path()), std::vector<std::string>{"vinst_log"});
}
