#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace
{

/// The script with a changed page, in a copy of the directories that it reads.
class CheckFarm : public ::testing::Test
{
protected:
    CheckFarm()
    {
        for (const char* file : {"scripts/check_farm.sh", "demo/installer.sh.in", "docs/farm.md"})
            dir.write(file, read_file(std::filesystem::path(VINST_TEST_SOURCE_DIR) / file));
    }

    /// Replaces the first occurrence of a text of the page.
    void change(const std::string& from, const std::string& to) const
    {
        std::string page = dir.read("docs/farm.md");
        const std::size_t at = page.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        dir.write("docs/farm.md", page.replace(at, from.size(), to));
    }

    void check(int expected_code, const std::string& expected_errors) const
    {
        CHILD_PROCESS script(
            {"/bin/bash",
             {(dir / "scripts/check_farm.sh").string(), "--build-dir", VINST_TEST_BINARY_DIR}});
        const auto result = script.wait(2 * long_enough);
        ASSERT_TRUE(result);
        EXPECT_TRUE(result->exited_with(expected_code)) << script.errors();
        EXPECT_THAT(script.errors(), HasSubstr(expected_errors));
    }

    TEMP_DIR dir;
};

}

TEST_F(CheckFarm, FindsCommandsThatFail)
{
    change("--offline ", "");
    check(1, "check_farm.sh: the output has no line \"Installation completed successfully\"\n");
}

TEST_F(CheckFarm, FindsExamplesThatInstallNothing)
{
    change("--url \"$release\" ", "");
    check(1, "check_farm.sh: install_veltrin.sh: exit code 1\n");
}

TEST_F(CheckFarm, FindsBlocksThatAreNotRun)
{
    change("## Slurm", "```sh\ntrue\n```\n\n## Slurm");
    check(1, "this block is not run\n");
}
