#include "install/vinst/base/vinst_messages.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace
{

const std::vector<std::pair<const char*, const char*>>& all_texts()
{
    static const std::vector<std::pair<const char*, const char*>> texts = {
        {"ERROR_TEST_DOWNLOAD", "Internet connection cannot be established."},
        {"ERROR_TEST_DOWNLOAD_WITHOUT_PROXY",
         "Internet connection cannot be established. If you are behind a firewall, enter the proxy "
         "settings and try again."},
        {"ERROR_TEST_DOWNLOAD_WITH_PROXY",
         "Internet connection cannot be established. Verify your proxy settings."},
        {"DEFAULT_DIRECTORY_USED", "<ARG2> set as the default <ARG1> directory"},
        {"DOWNLOAD_DIR_NOT_SPECIFIED", "Download directory is not specified. Use --download-dir to "
                                       "specify the download directory."},
        {"INSTALL_DIR_NOT_SPECIFIED",
         "Install directory is not specified. Use --install-dir to specify the install directory."},
        {"DIR_SPECIFIED_PATH", "<ARG1> directory is set to: <ARG2>"},
        {"ERROR_CREATE_DIRECTORY",
         "Failed to create <ARG1> directory. Check if you have the write permission."},
        {"ERROR_DIRECTORY_NOT_WRITABLE", "Directory <ARG1> is not writable. <ARG2> aborted."},
        {"ERROR_INSTALLDIR_IS_NOT_EMPTY",
         "The installation directory is not empty. This application does not support updating an "
         "existing installation. \nTurn off the 'auto install after download' option and run the "
         "installer manually after download."},
        {"ERROR_AGREE_EULA_CLI", "You must agree to the Orvane License Agreement to install the "
                                 "software. Use --accept-eula to accept the agreement."},
        {"ERROR_AGREE_EULA_GUI", "Do you agree to the Orvane License Agreement?"},
        {"ERROR_PATH_IS_EMPTY", "Download or installation path is empty."},
        {"ERROR_SPACE_IN_PATH", "Download or installation path cannot include spaces."},
        {"ERROR_ILLEGAL_CHARACTERS_IN_PATH",
         "A file or directory name cannot contain any of the following characters: *?<>"},
        {"ERROR_WINDOWS_SYMLINK_PATH",
         "Symlink or Junction point is not allowed in installation path on Windows."},
        {"ERROR_PATH_LENGTH_OVER_LIMIT",
         "The path string exceeds the supported path length limit. Specify a shorter path."},
        {"ERROR_NOT_ENOUGH_DISKSPACE",
         "Disk space insufficient in <ARG1> to install this software. Either free up some disk "
         "space or install to a different location."},
        {"MSG_VIEW_EULA", "You can view the Orvane License Agreement in <ARG1>."},
        {"ERROR_INVALID_PARALLEL_DOWNLOADS_NUM",
         "Enter a number between 1-6 for parallel downloads!"},
        {"ERROR_INVALID_RETRY_TIME",
         "Enter a number between 0-10000 in minutes for retry duration!"},
        {"ERROR_INVALID_PLATFORM", "Please enter \"Windows\" or \"Linux\" platform."},
        {"ERROR_INVALID_PROXY_SERVER_INFO",
         "Ensure the server URL is valid and the port number is separated by a colon."},
        {"ERROR_INVALID_PROXY_USER_INFO", "Enter valid proxy credentials separated by a colon."},
        {"TOOLTIP_PLATFORM_INCOMPATIBILITY",
         "Auto-install is disabled because the files are unsupported on this platform."},
        {"TOOLTIP_AUTOINSTALL_EXISTING_INSTALL",
         "Auto-install is not supported for updating an existing installation."},
        {"TOOLTIP_AUTOINSTALL_NO_ADMIN",
         "Auto-install is disabled as you do not have admin privilege."},
        {"ERROR_ADMIN_PRIV",
         "You must run this command with administrator privileges to install the software."},
        {"ERROR_CORRUPTED_FILE", "This application cannot download <ARG1>. Download the files "
                                 "directly from the Orvane FPGA Download Center."},
        {"MSG_INSTALL_ADD_DEVICE",
         "Install the device through \"Add device\" option from the Veltrin Tools menu."},
        {"ERROR_DOWNLOAD_IN_PROGRESS",
         "Download is currently in progress. Stop the download before exiting the application."},
        {"ERROR_CHECK_INTEGRITY_IN_PROGRESS",
         "Please wait while a background task is being processed."},
        {"MSG_TEST_DOWNLOAD_SUCCESSFUL", "Internet connection tested successfully!"},
        {"FAILED_TO_CREATE_INSTALLATION_DIRECTORY",
         "Unable to create the specified installation directory. Auto-install aborted."},
        {"ERROR_NOT_ADMIN_CANT_INSTALL", "You do not have admin privilege to install. Do you want "
                                         "to continue downloading the files?"},
        {"TESTING_INTERNET_CONNECTION", "Testing Internet connection, please wait ... "},
        {"TEST_DOWNLOAD_RESULTS", "Test download -> <ARG1>"},
        {"WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE",
         "Disk space insufficient for installation. Do you want to proceed?"},
        {"WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE",
         "Disk space insufficient for download. Do you want to proceed?"},
        {"WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE_CLI",
         "Disk space insufficient for installation. Use --bypass to avoid the space check."},
        {"WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE_CLI",
         "Disk space insufficient for download. Use --bypass to avoid the space check."},
        {"ERROR_TEMP_NOT_WRITABLE",
         "Your temp directory is not writable, cannot perform test download."},
        {"ERROR_CURL_WRITE_ERROR",
         "Failed to write data to the destination. Ensure you have sufficient disk space."},
        {"ERROR_CURL_404_ERROR", "Error 404: File not found."},
    };
    return texts;
}

/// The catalogue with a log in a separate directory.
class Messages : public ::testing::Test
{
protected:
    Messages()
    {
        messages().log_path = (dir / "run.log").string();
        messages().echo_to_console = false;
    }
    ~Messages() override { VINST_MESSAGES::destroy(); }

    static VINST_MESSAGES& messages() { return VINST_MESSAGES::instance(); }

    std::string printed_by_report(const std::string& text, bool is_error)
    {
        ::testing::internal::CaptureStdout();
        messages().report(text, is_error);
        return ::testing::internal::GetCapturedStdout();
    }

    std::vector<std::string> log_lines() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : read_lines(dir / "run.log"))
            lines.push_back(line.substr(line.find("] ") + 2));
        return lines;
    }

    const TEMP_DIR dir;
};

using LINES = std::vector<std::string>;

}

TEST_F(Messages, HaveTheirExactTexts)
{
    EXPECT_EQ(all_texts().size(), 44U);
    for (const auto& [id, text] : all_texts())
        EXPECT_EQ(message(id), text) << id;
}

TEST_F(Messages, InsertArgumentsByNumber)
{
    EXPECT_EQ(message("DIR_SPECIFIED_PATH", "Download", "C:\\dl"),
              "Download directory is set to: C:\\dl");
    EXPECT_EQ(message("DEFAULT_DIRECTORY_USED", "install", "/opt/x"),
              "/opt/x set as the default install directory");
}

TEST_F(Messages, KeepThePlaceholderOfAnEmptyArgument)
{
    EXPECT_EQ(message("ERROR_CREATE_DIRECTORY"),
              "Failed to create <ARG1> directory. Check if you have the write permission.");
    EXPECT_EQ(messages().message("ERROR_DIRECTORY_NOT_WRITABLE", "", "Download"),
              "Directory <ARG1> is not writable. Download aborted.");
}

TEST_F(Messages, ExpandReplacementPatternsInArguments)
{
    EXPECT_EQ(message("ERROR_CORRUPTED_FILE", "$&"), message("ERROR_CORRUPTED_FILE"));
    EXPECT_EQ(message("TEST_DOWNLOAD_RESULTS", "a$$b"), "Test download -> a$b");
}

TEST_F(Messages, HaveNoTextForAnUnknownId)
{
    EXPECT_EQ(message("NO_SUCH_ID", "x"), "");
}

TEST_F(Messages, EchoReportsOnlyOnRequest)
{
    EXPECT_EQ(printed_by_report("quiet", false), "");
    messages().echo_to_console = true;
    EXPECT_EQ(printed_by_report("loud", true), "loud\n");
}

TEST_F(Messages, PrintReportsWithoutControlCharacters)
{
    messages().echo_to_console = true;
    EXPECT_EQ(printed_by_report("a\x1b[2J\u009b\u202eb\nc\td", false),
              "a\ufffd[2J\ufffd\ufffdb\nc\td\n");
    ::testing::internal::CaptureStdout();
    report_early("\x1b]0;x", true, false);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "\ufffd]0;x\n");
}

TEST_F(Messages, LogReportsByTheirSeverity)
{
    printed_by_report("before the log is open", false);
    messages().open_log();
    printed_by_report("good", false);
    printed_by_report("bad", true);
    EXPECT_EQ(log_lines(), (LINES{"[info] good", "[error] bad"}));
}

TEST_F(Messages, KeepLinesWithPercentSigns)
{
    messages().open_log();
    printed_by_report("50% of %s and %n %", false);
    EXPECT_EQ(log_lines(), (LINES{"[info] 50% of %s and %n %"}));
}

TEST_F(Messages, WriteDebugLinesOnlyIfEnabled)
{
    messages().open_log();
    run_log().debug("hidden");
    messages().set_debug();
    run_log().debug("seen %d", 1);
    EXPECT_EQ(log_lines(), (LINES{"[debug] seen 1"}));
}

TEST_F(Messages, WriteNothingAfterTheLogIsClosed)
{
    messages().open_log();
    run_log().info("one");
    messages().close_log();
    run_log().info("two");
    printed_by_report("three", true);
    EXPECT_EQ(log_lines(), (LINES{"[info] one"}));
}

TEST_F(Messages, ShowEarlyTextsInABoxOnlyInTheGraphicalHost)
{
    std::vector<std::pair<std::string, bool>> boxes;
    set_message_box([&boxes](const std::string& text, bool is_error)
                    { boxes.emplace_back(text, is_error); });
    ::testing::internal::CaptureStdout();
    report_early("on the console", true, false);
    report_early("in a box", true, true);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "on the console\n");
    EXPECT_EQ(boxes, (std::vector<std::pair<std::string, bool>>{{"in a box", true}}));
    set_message_box({});
}

TEST_F(Messages, InsertArgumentsOneAfterTheOther)
{
    EXPECT_EQ(message("DIR_SPECIFIED_PATH", "<ARG2>", "x"), "x directory is set to: x");
    EXPECT_EQ(message("DIR_SPECIFIED_PATH", "x", "<ARG1>"), "x directory is set to: <ARG1>");
    EXPECT_EQ(message("DIR_SPECIFIED_PATH", "a", "$1 and $`"),
              "a directory is set to:  and a directory is set to: ");
    EXPECT_EQ(messages().message("ERROR_DIRECTORY_NOT_WRITABLE", "a", "b", "c", "d"),
              "Directory a is not writable. b aborted.");
}

TEST_F(Messages, AcceptArgumentsOfAnyLength)
{
    const std::string path(1000000, 'x');
    EXPECT_EQ(message("MSG_VIEW_EULA", path),
              "You can view the Orvane License Agreement in " + path + ".");
}

TEST_F(Messages, StayEmptyForARepeatedUnknownId)
{
    EXPECT_EQ(message("NO_SUCH_ID"), "");
    EXPECT_EQ(message("NO_SUCH_ID", "a", "b"), "");
    EXPECT_EQ(message(""), "");
}

TEST_F(Messages, StartWithDefaultsAfterDestruction)
{
    messages().echo_to_console = true;
    messages().open_log();
    VINST_MESSAGES::destroy();
    EXPECT_FALSE(messages().echo_to_console);
    EXPECT_EQ(messages().log_path, "");
    EXPECT_EQ(printed_by_report("nobody hears this", true), "");
    EXPECT_EQ(log_lines(), LINES{});
}

TEST_F(Messages, CreateANewLogForItsOwnerOnly)
{
    messages().open_log();
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(dir / "run.log").permissions(),
              perms::owner_read | perms::owner_write);
    dir.write("other", "keep");
    std::filesystem::create_symlink(dir / "other", dir / "link");
    for (const char* name : {"other", "link"})
    {
        messages().log_path = (dir / name).string();
        messages().open_log();
        printed_by_report("goes nowhere", false);
        EXPECT_EQ(dir.read("other"), "keep") << name;
    }
}

TEST_F(Messages, EchoAndLogAReport)
{
    messages().echo_to_console = true;
    messages().open_log();
    EXPECT_EQ(printed_by_report("50% of\nthat", false), "50% of\nthat\n");
    messages().set_debug();
    EXPECT_EQ(printed_by_report("more", false), "more\n");
    EXPECT_EQ(dir.read("run.log").find("50% of\nthat\n") != std::string::npos, true);
}

TEST_F(Messages, PrintEarlyTextsOnTheConsoleWithoutABox)
{
    set_message_box({});
    messages().open_log();
    ::testing::internal::CaptureStdout();
    report_early("100% early", false, true);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "100% early\n");
    EXPECT_EQ(log_lines(), LINES{});
}
