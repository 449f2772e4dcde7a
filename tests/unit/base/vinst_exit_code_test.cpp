#include "install/vinst/base/vinst_exit_code.h"

#include <gtest/gtest.h>

namespace
{

std::string cause_on(const QString& platform, int code)
{
    return meaning_of_exit_code(code, platform).cause.toStdString();
}

}

TEST(ExitCode, OfZeroIsSuccessEverywhere)
{
    for (const char* platform : {"linux", "windows"})
    {
        const VINST_EXIT_MEANING meaning = meaning_of_exit_code(0, platform);
        EXPECT_TRUE(meaning.succeeded);
        EXPECT_FALSE(meaning.needs_restart);
        EXPECT_EQ(meaning.cause, "");
    }
}

TEST(ExitCode, ThatAsksForARestartIsSuccessOnWindows)
{
    for (const int code : {3010, 1641})
    {
        EXPECT_TRUE(meaning_of_exit_code(code, "windows").succeeded) << code;
        EXPECT_TRUE(meaning_of_exit_code(code, "windows").needs_restart) << code;
        EXPECT_EQ(cause_on("windows", code), "") << code;
        EXPECT_FALSE(meaning_of_exit_code(code, "linux").succeeded) << code;
        EXPECT_FALSE(meaning_of_exit_code(code, "linux").needs_restart) << code;
    }
}

TEST(ExitCode, OfTheWindowsInstallerIsExplained)
{
    EXPECT_EQ(cause_on("windows", 740),
              "It exited with code 740: it requires administrator rights");
    EXPECT_EQ(cause_on("windows", 1602), "It exited with code 1602: the user cancelled it");
    EXPECT_EQ(cause_on("windows", 1603),
              "It exited with code 1603: it met a fatal error, which its own log may explain");
    EXPECT_EQ(cause_on("windows", 1618), "It exited with code 1618: another installation is "
                                         "running; try again when it has ended");
    EXPECT_EQ(cause_on("windows", 5), "It exited with code 5");
    EXPECT_EQ(cause_on("linux", 1602), "It exited with code 1602");
    EXPECT_FALSE(meaning_of_exit_code(1602, "windows").succeeded);
}
