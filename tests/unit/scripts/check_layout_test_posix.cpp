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

/// A source file and its second line, which breaks a rule.
struct PLANTED
{
    const char* name;
    const char* file;
    const char* line;
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

    void plant(const std::string& file, const std::string& lines)
    {
        std::filesystem::create_directories((dir / file).parent_path());
        dir.write(file, "\n" + lines + "\n");
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
    plant("install/vinst/gui/a.cpp", "#include \"install/vinst/download/b.h\"");
    plant("install/vinst/gui/c.cpp", "#include \"install/vinst/gui/d.h\"");
    plant("support/curl/e.cpp", "#include <curl/curl.h>");
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}

TEST_F(CheckLayout, AcceptsOutputInTheRoomsThatMayPrint)
{
    plant("install/vinst/console/a.cpp", R"(print_text("\x1b[2K");)");
    plant("install/vinst/console/b_posix.cpp", "::isatty(1);");
    plant("install/vinst/base/vinst_messages.cpp", "void print_text(const std::string& text)");
    plant("install/vinst/base/vinst_print_win32.cpp", "void print_text(const std::string& text)");
    plant("install/vinst/download/c.cpp", "const std::string footprint_text = sprint_plan();");
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}

TEST_F(CheckLayout, AcceptsPlatformBlocksWithAReason)
{
    plant("install/vinst/app/a.h", "// A declaration can't be split.\n#if defined(_WIN32)\n#endif");
    plant("support/fio/b.cpp", "#ifdef __linux__ // there is no other way\n#endif");
    plant("support/fio/c_win32.cpp", "#if defined(_MSC_VER)\n#endif");
    plant("support/fio/d_posix.cpp", "#ifndef __linux__\n#endif");
    plant("support/fio/e.cpp", "#if SOME_FEATURE\n#endif");
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 0) << result.errors;
}

TEST_P(CheckLayoutFinds, ALineThatBreaksARule)
{
    plant(GetParam().file, GetParam().line);
    const CHECK result = check();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.errors.find(std::string(GetParam().file) + ":2: "), std::string::npos)
        << result.errors;
}

INSTANTIATE_TEST_SUITE_P(
    Walls, CheckLayoutFinds,
    ::testing::Values(
        PLANTED{"Upwards", "install/vinst/base/a.cpp", "#include \"install/vinst/gui/b.h\""},
        PLANTED{"FromTheSameLayer", "install/vinst/console/a.h",
                "#include \"install/vinst/gui/b.h\""},
        PLANTED{"FromSupport", "support/fio/a.cpp", "#include \"install/vinst/base/b.h\""},
        PLANTED{"AcrossSupport", "support/fio/a.cpp", "#include \"support/curl/b.h\""},
        PLANTED{"FromTheScriptHelper", "install/pac/a.cpp", "#include \"support/fio/b.h\""},
        PLANTED{"FromTheAuthorsTool", "tools/vinst_release/a.cpp",
                "#include \"install/vinst/console/b.h\""},
        PLANTED{"FromAHost", "install/hosts/a.cpp", "#include \"install/vinst/base/b.h\""},
        PLANTED{"OfTheTransferLibrary", "install/vinst/download/a.cpp", "#include <curl/curl.h>"},
        PLANTED{"OfTheSettingsStore", "install/vinst/gui/a.cpp", "#include <QSettings>"},
        PLANTED{"OfTheTaskLibrary", "install/vinst/download/a.cpp", "#include <tbb/task_group.h>"},
        PLANTED{"OfTheOptionParser", "install/vinst/gui/a.cpp",
                "#include <boost/program_options.hpp>"},
        PLANTED{"OfTheScriptEngine", "install/vinst/download/a.cpp", "#include <QJSEngine>"},
        PLANTED{"OfTheStopFlags", "install/vinst/download/a.cpp",
                "#include \"install/vinst/base/vinst_stop_state.h\""},
        PLANTED{"OfTheProcessesStopFlag", "install/vinst/base/a.cpp",
                "#include \"support/thr/thr_stop_state.h\""},
        PLANTED{"OfAWindow", "install/vinst/download/a.cpp", "#include <QMessageBox>"},
        PLANTED{"PrintsInBase", "install/vinst/base/a.cpp", "    print_line(text);"},
        PLANTED{"PrintsInRelease", "install/vinst/release/a.cpp", "print_text(text);"},
        PLANTED{"PrintsInDownload", "install/vinst/download/a.h", "void print_all();"},
        PLANTED{"EscapesInBase", "install/vinst/base/a.cpp", R"(text += "\x1b[2K";)"},
        PLANTED{"EscapesInRelease", "install/vinst/release/a.h", R"(text += "\033[2K";)"},
        PLANTED{"EscapesInDownload", "install/vinst/download/a.cpp", R"(text += "\u001B[2K";)"},
        PLANTED{"AsksForTheTerminal", "install/vinst/base/a_posix.cpp", "if (::isatty(1) != 0)"},
        PLANTED{"PlatformBlock", "install/vinst/gui/a.cpp", "#ifdef _WIN32"},
        PLANTED{"PlatformBlockOfQt", "support/fio/a.cpp", "#if defined(Q_OS_WIN)"},
        PLANTED{"PlatformBlockOfACompiler", "tools/vinst_release/a.h", "# ifndef _MSC_VER"},
        PLANTED{"SecondPlatformBlock", "install/pac/a.cpp", "#elif defined(__linux__)"}),
    [](const auto& planted) { return planted.param.name; });
