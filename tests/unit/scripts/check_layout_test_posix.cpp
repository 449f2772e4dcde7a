#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace
{

/// A source file and an include in it that breaks a rule.
struct PLANTED
{
    const char* name;
    const char* file;
    const char* include;
};

void PrintTo(const PLANTED& planted, std::ostream* stream)
{
    *stream << planted.name;
}

struct CHECK
{
    int exit_code = -1;
    std::string errors;
};

CHECK check_layout(std::vector<std::string> arguments)
{
    CHILD_PROCESS script({VINST_TEST_SOURCE_DIR "/scripts/check_layout.sh", std::move(arguments)});
    const CHILD_RESULT result = script.wait(120s).value();
    return {result.exit_code, script.errors()};
}

class CheckLayout : public ::testing::Test
{
protected:
    CheckLayout()
    {
        for (const char* folder : {"install", "support", "tools"})
            std::filesystem::create_directory(dir / folder);
    }

    void plant(const std::string& file, const std::string& include)
    {
        std::filesystem::create_directories((dir / file).parent_path());
        dir.write(file, "#include " + include + "\n");
    }

    CHECK check() const { return check_layout({dir.str()}); }

    TEMP_DIR dir;
};

class CheckLayoutFinds : public CheckLayout, public ::testing::WithParamInterface<PLANTED>
{
};

}

TEST_F(CheckLayout, AcceptsThisProject)
{
    const CHECK result = check_layout({});
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}

TEST_F(CheckLayout, AcceptsIncludesFromLowerLayers)
{
    plant("install/vinst/gui/a.cpp", "\"install/vinst/download/b.h\"");
    plant("install/vinst/gui/c.cpp", "\"install/vinst/gui/d.h\"");
    plant("support/curl/e.cpp", "<curl/curl.h>");
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}

TEST_P(CheckLayoutFinds, AnIncludeThatBreaksARule)
{
    plant(GetParam().file, GetParam().include);
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.errors.find(std::string(GetParam().file) + ":1: "), std::string::npos)
        << result.errors;
}

INSTANTIATE_TEST_SUITE_P(
    Walls, CheckLayoutFinds,
    ::testing::Values(
        PLANTED{"Upwards", "install/vinst/base/a.cpp", "\"install/vinst/gui/b.h\""},
        PLANTED{"FromTheSameLayer", "install/vinst/console/a.h", "\"install/vinst/gui/b.h\""},
        PLANTED{"FromSupport", "support/fio/a.cpp", "\"install/vinst/base/b.h\""},
        PLANTED{"AcrossSupport", "support/fio/a.cpp", "\"support/curl/b.h\""},
        PLANTED{"FromTheScriptHelper", "install/pac/a.cpp", "\"support/fio/b.h\""},
        PLANTED{"FromTheAuthorsTool", "tools/vinst_release/a.cpp",
                "\"install/vinst/download/b.h\""},
        PLANTED{"FromAHost", "install/hosts/a.cpp", "\"install/vinst/base/b.h\""},
        PLANTED{"OfTheTransferLibrary", "install/vinst/download/a.cpp", "<curl/curl.h>"},
        PLANTED{"OfTheSettingsStore", "install/vinst/gui/a.cpp", "<QSettings>"},
        PLANTED{"OfTheTaskLibrary", "install/vinst/download/a.cpp", "<tbb/task_group.h>"},
        PLANTED{"OfTheOptionParser", "install/vinst/gui/a.cpp", "<boost/program_options.hpp>"},
        PLANTED{"OfTheScriptEngine", "install/vinst/download/a.cpp", "<QJSEngine>"},
        PLANTED{"OfTheStopFlags", "install/vinst/download/a.cpp",
                "\"install/vinst/base/vinst_stop_state.h\""},
        PLANTED{"OfTheProcessesStopFlag", "install/vinst/base/a.cpp",
                "\"support/thr/thr_stop_state.h\""},
        PLANTED{"OfAWindow", "install/vinst/download/a.cpp", "<QMessageBox>"}),
    [](const auto& planted) { return planted.param.name; });
