#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <string>

using namespace std::chrono_literals;

namespace
{

struct CHECK
{
    int exit_code = -1;
    std::string errors;
};

/// Documents about a project with one script, one option, one variable and one test.
class CheckDocs : public ::testing::Test
{
protected:
    CheckDocs()
    {
        for (const char* folder : {"docs", "scripts", "install"})
            dir.make_dir(folder);
        dir.write("scripts/tool.sh", "#!/bin/sh\necho 'Usage: scripts/tool.sh [--loud]' # --help\n",
                  0755);
        dir.write("install/tool.cpp", "const char* const variable = \"TOOL_HOME\";\n");
        dir.write("docs/guide.md", "# The guide\n\n## First steps\n");
    }

    CHECK check(const std::string& text)
    {
        dir.write("README.md", "# Tool\n" + text + "\n");
        CHILD_PROCESS script({VINST_TEST_SOURCE_DIR "/scripts/check_docs.sh", {dir.str()}});
        const CHILD_RESULT result = script.wait(300s).value();
        return {result.exit_code, script.errors()};
    }

    TEMP_DIR dir;
};

/// A true text, and the same text with a false statement.
struct CLAIM
{
    const char* name;
    const char* truth;
    const char* lie;
};

void PrintTo(const CLAIM& claim, std::ostream* stream)
{
    *stream << claim.name;
}

class CheckDocsFinds : public CheckDocs, public ::testing::WithParamInterface<CLAIM>
{
};

}

TEST_P(CheckDocsFinds, AFalseStatement)
{
    const CHECK truth = check(GetParam().truth);
    EXPECT_EQ(truth.exit_code, 0) << truth.errors;
    EXPECT_EQ(truth.errors, "");

    const CHECK lie = check(GetParam().lie);
    EXPECT_EQ(lie.exit_code, 1);
    EXPECT_EQ(lie.errors.find("README.md:"), 0U) << lie.errors;
}

INSTANTIATE_TEST_SUITE_P(
    Claims, CheckDocsFinds,
    ::testing::Values(
        CLAIM{"LinkToADocument", "[guide](docs/guide.md)", "[guide](docs/guides.md)"},
        CLAIM{"LinkToAHeading", "[guide](docs/guide.md#first-steps)",
              "[guide](docs/guide.md#second-steps)"},
        CLAIM{"Picture", "![guide](docs/guide.md)", "![guide](docs/guide.png)"},
        CLAIM{"Path", "`docs/guide.md`", "`docs/missing.md`"},
        CLAIM{"FileName", "`guide.md`", "`missing.md`"}, CLAIM{"Option", "`--loud`", "`--silent`"},
        CLAIM{"OptionOfAScript", "`scripts/tool.sh --loud`", "`scripts/tool.sh --silent`"},
        CLAIM{"OptionInABlock", "```sh\n# not run here: it is loud\nscripts/tool.sh --loud\n```",
              "```sh\n# not run here: it is loud\nscripts/tool.sh --silent\n```"},
        CLAIM{"Script", "`scripts/tool.sh`", "`scripts/missing.sh`"},
        CLAIM{"Variable", "`TOOL_HOME`", "`TOOL_HOUSE`"},
        CLAIM{"VariableWithAValue", "`TOOL_HOME=/opt`", "`TOOL_HOUSE=/opt`"},
        CLAIM{"Command", "```sh\ntest 1 = 1\n```", "```sh\ntest 1 = 2\n```"},
        CLAIM{"CommandOfSeveralLines", "```sh\ntest 1 = \\\n  1\n```",
              "```sh\ntest 1 = \\\n  2\n```"},
        CLAIM{"CommandAfterAnExemption",
              "```sh\n# not run here: it fails\nfalse\n\ntest 1 = 1\n```",
              "```sh\n# not run here: it fails\nfalse\n\ntest 1 = 2\n```"},
        CLAIM{"ExemptionWithoutAReason", "```sh\n# not run here: it fails\nfalse\n```",
              "```sh\n# not run here\nfalse\n```"},
        CLAIM{"BlockWithoutALanguage", "```text\nout\n```", "```\nout\n```"},
        CLAIM{"BlockWithoutAnEnd", "```text\nout\n```", "```text\nout\n"}),
    [](const auto& claim) { return claim.param.name; });

TEST_F(CheckDocs, ReportsThePlaceAndTheFault)
{
    EXPECT_EQ(check("\nSay `--silent`.").errors,
              "README.md:3: no program takes the option --silent\n");
}

TEST_F(CheckDocs, RunsCommandsInASeparateDirectory)
{
    const CHECK result = check("```sh\ntest -z \"$(ls -A)\"\necho made > here\ntest -e here\n```");
    EXPECT_EQ(result.exit_code, 0) << result.errors;
    EXPECT_FALSE(std::filesystem::exists(dir / "here"));
}

TEST_F(CheckDocs, LeavesTheCommandsForBuildFarmsToTheirScript)
{
    dir.write("docs/farm.md", "# Farms\n\n```sh\nfalse\nscripts/tool.sh --silent\n```\n");
    EXPECT_EQ(check("").errors, "docs/farm.md:5: no scripts/tool.sh takes the option --silent\n");
}

TEST_F(CheckDocs, IgnoresThirdPartyTexts)
{
    const CHECK result = check("`Download failed`, `/etc/hosts`, `~/dl`, `https://example.org/x`, "
                               "`NAME: Error: ...`, [out](https://example.org/none)");
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}
