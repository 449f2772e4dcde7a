#include "tests/integration/host_fixture.h"

#include <gmock/gmock.h>

#include <regex>

namespace
{

/// Runs without a manifest: none is published, and there is none next to the built program.
using HostVersion = HostTest;

const std::string version_pattern = "vinst " VINST_VERSION "\n"
                                    "Qt 5\\.15\\.\\d+\n"
                                    "libcurl \\d+\\.\\d+\\.\\d+\\S* \\(\\S+\\)\n"
                                    "oneTBB \\d+\\.\\d+(\\.\\d+)?\n";

}

TEST_F(HostVersion, IsPrintedWithThoseOfTheLibrariesWithoutAManifest)
{
    run({"--version"});
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(std::regex_match(output, std::regex(version_pattern))) << output;
    EXPECT_EQ(errors, "");
    expect_nothing_left_behind();
}

TEST_F(HostVersion, IsPrintedForAnAbbreviationAndAmongOtherOptions)
{
    for (const ARGUMENTS& arguments :
         std::vector<ARGUMENTS>{{"--ve"}, {"--debug", "--version"}, {"--version", "--gui"}})
    {
        run(arguments);
        EXPECT_TRUE(result.exited_with(0));
        EXPECT_TRUE(std::regex_match(output, std::regex(version_pattern))) << output;
    }
}

TEST_F(HostVersion, IsPrintedByTheGraphicalHostWithoutADisplay)
{
    if (tested_platform() == "windows")
        GTEST_SKIP() << "the graphical host has no standard output";
    environment["QT_QPA_PLATFORM"] = "";
    run({"--version"}, "vinst_gui");
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(std::regex_match(output, std::regex(version_pattern))) << output;
}

TEST_F(HostVersion, IsNotAnsweredToAnAmbiguousAbbreviation)
{
    publish();
    run({"--v"});
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_THAT(errors, ::testing::HasSubstr("option '--v' is ambiguous"));
}
