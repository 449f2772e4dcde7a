#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace
{

using RESULT = VINST_INSTALL_OUTCOME::RESULT;

constexpr quint64 gib = 1024ULL * 1024 * 1024;

VINST_SPACE_AVAILABLE on_volumes(const QString& download_root, const QString& install_root)
{
    return {{download_root, static_cast<qint64>(3 * gib)},
            {install_root, static_cast<qint64>(5 * gib)}};
}

}

TEST(AutoInstall, IsEnabledForAnAdministratorOnTheRunningPlatform)
{
    const auto found = auto_install_availability("linux", "linux", true);
    EXPECT_TRUE(found.is_available);
    EXPECT_EQ(found.title, "Auto install after download");
    EXPECT_EQ(found.tooltip, "");
}

TEST(AutoInstall, IsDisabledForAnotherPlatform)
{
    for (const bool is_admin : {true, false})
    {
        const auto found = auto_install_availability("linux", "windows", is_admin);
        EXPECT_FALSE(found.is_available);
        EXPECT_EQ(found.title, "Auto install after download (Disabled: Unable to install due to "
                               "different platform)");
        EXPECT_EQ(found.tooltip,
                  "Auto install is disabled as the platform selected does not match the platform "
                  "that the application is running on.");
    }
}

TEST(AutoInstall, IsDisabledWithoutRights)
{
    const auto found = auto_install_availability("windows", "windows", false);
    EXPECT_FALSE(found.is_available);
    EXPECT_EQ(found.title, "Auto install after download (Disabled: No admin privilege)");
    EXPECT_EQ(found.tooltip, "Auto-install is disabled as you do not have admin privilege.");
}

TEST(ManualRun, IsOfferedWithoutAutomaticInstallation)
{
    const auto available = auto_install_availability("linux", "linux", true);
    EXPECT_TRUE(offers_manual_run(available, false));
    EXPECT_FALSE(offers_manual_run(available, true));
    EXPECT_FALSE(offers_manual_run(auto_install_availability("linux", "linux", false), false));
    EXPECT_FALSE(offers_manual_run(auto_install_availability("linux", "windows", true), false));
}

TEST(StatusStyle, IsRedForErrors)
{
    for (const char* text : {"Download failed", "FAILURE", "an Error here", "no errors",
                             "Nothing was installed: no component is selected."})
        EXPECT_EQ(status_style(text), "QLabel { color : red; }") << text;
    for (const char* text : {"", "Download successful", "Checking file integrity, please wait..."})
        EXPECT_EQ(status_style(text), "QLabel { color : blue; }") << text;
}

TEST(LicenceLink, ShowsWhetherItIsActive)
{
    EXPECT_EQ(licence_link("/opt/licenses/main.html", true),
              "<html><head/><body><p><a href=/opt/licenses/main.html><span style=\" "
              "text-decoration: underline; color:#0000ff;\">Orvane License "
              "Agreement</span></a></p></body></html>");
    EXPECT_EQ(licence_link("/opt/licenses/main.html", false),
              "<html><head/><body><p><a href=><span style=\" text-decoration: underline; "
              "color:#cccccc;\">Orvane License Agreement</span></a></p></body></html>");
}

TEST(ProgressLabels, HaveNoEmptyBrackets)
{
    EXPECT_EQ(speed_label("3.00 MB/sec"), "(3.00 MB/sec)");
    EXPECT_EQ(speed_label(""), "");
    EXPECT_EQ(downloaded_label("1.00 MB / 2.00 MB", 50), "Downloaded: 1.00 MB / 2.00 MB -- 50%");
    EXPECT_EQ(downloaded_label("", 0), "");
}

TEST(SpaceLabels, ShowASharedVolumeOnce)
{
    const VINST_SPACE_FIGURES figures{6 * gib, 2 * gib, 4 * gib, 8 * gib};
    const VINST_SPACE_LABELS labels = space_labels(figures, on_volumes("/", "/"), true);
    EXPECT_EQ(labels.download_size, "Download size: 4.00 GB");
    EXPECT_EQ(labels.install_size, "Installation size: 8.00 GB");
    EXPECT_EQ(labels.required, "Disk space required: 12.00 GB");
    EXPECT_EQ(labels.available, "Disk space available: 3.00 GB");
    EXPECT_EQ(labels.download_available, "");
    EXPECT_EQ(labels.install_available, "");
}

TEST(SpaceLabels, ShowTwoVolumesSeparately)
{
    const VINST_SPACE_FIGURES figures{6 * gib, 2 * gib, 4 * gib, 8 * gib};
    const VINST_SPACE_LABELS labels = space_labels(figures, on_volumes("/", "/opt"), true);
    EXPECT_EQ(labels.available, "");
    EXPECT_EQ(labels.download_available, "Download disk space available: 3.00 GB");
    EXPECT_EQ(labels.install_available, "Installation disk space available: 5.00 GB");
}

TEST(SpaceLabels, IgnoreInstallationSpaceWithoutInstalling)
{
    const VINST_SPACE_FIGURES figures{6 * gib, 2 * gib, 4 * gib, 8 * gib};
    const VINST_SPACE_LABELS labels = space_labels(figures, on_volumes("/", "/opt"), false);
    EXPECT_EQ(labels.install_size, "Installation size: N/A");
    EXPECT_EQ(labels.required, "Disk space required: 4.00 GB");
    EXPECT_EQ(labels.available, "Disk space available: 3.00 GB");
    EXPECT_EQ(labels.install_available, "");
}

TEST(SpaceLabels, ShowUnknownSpace)
{
    const VINST_SPACE_LABELS labels = space_labels({}, {{"/", -1}, {"/opt", -1}}, true);
    EXPECT_EQ(labels.download_available, "Download disk space available: N/A");
    EXPECT_EQ(labels.install_available, "Installation disk space available: N/A");
    EXPECT_EQ(labels.required, "Disk space required: 0.00 GB");
}

TEST(Reports, DescribeTheResultOfARun)
{
    EXPECT_EQ(download_report(3), "<h2><font color=green>Download Complete</font></h2>3 "
                                  "component(s) have been successfully downloaded.");
    EXPECT_EQ(install_report({RESULT::installed, {}, {}}),
              "<h2><font color=green>Installation Complete</font></h2>The "
              "software was successfully installed.");
    EXPECT_EQ(install_status({RESULT::installed, {}, {}}, 62.4),
              "Installation completed successfully.  Total install time: 1 min 2 secs");
    for (const RESULT result : {RESULT::failed, RESULT::stopped})
    {
        EXPECT_EQ(install_report({result, {"A was not installed: why."}, {}}),
                  "<h2><font color=red>Installation Incomplete</font></h2>"
                  "Please check the log for more information.");
        EXPECT_EQ(install_status({result, {}, {}}, 0.2),
                  "Installation cancelled or finished with error.  Total "
                  "install time: less than 1 sec");
    }
}

TEST(Reports, ShowWhatFailed)
{
    EXPECT_TRUE(install_report({RESULT::installed, {}, {}, true})
                    .endsWith("successfully installed.\n\nRestart the computer to complete the "
                              "installation."));
    EXPECT_EQ(install_report({RESULT::failed, {}, "It failed. Its output:\n  <a> & b"}),
              "<h2><font color=red>Installation Incomplete</font></h2>Please check the log for "
              "more information.\n\nIt failed. Its output:\n  &lt;a&gt; &amp; b");
}

TEST(Reports, NameWhatWasNotInstalled)
{
    const QStringList lines{"<b>A</b> & co was not installed: why.", "B was not installed: why."};
    EXPECT_EQ(install_report({RESULT::installed, lines, {}}),
              "<h2><font color=green>Installation Complete</font></h2>The software was "
              "successfully installed.\n\n&lt;b&gt;A&lt;/b&gt; &amp; co was not installed: "
              "why.\nB was not installed: why.");
    const VINST_INSTALL_OUTCOME nothing{RESULT::nothing_to_install, lines, "no reason"};
    EXPECT_EQ(install_report(nothing),
              "<h2><font color=red>Nothing was installed</font></h2>No reason.\n\n"
              "&lt;b&gt;A&lt;/b&gt; &amp; co was not installed: why.\nB was not installed: why.");
    EXPECT_EQ(install_status(nothing, 62.4), "Nothing was installed: no reason.");
}

TEST(Reports, CountTheRetryDown)
{
    EXPECT_EQ(retry_status(1, 5s), "Download failed. Retrying #1 after 5 secs");
    EXPECT_EQ(retry_status(3, 1s), "Download failed. Retrying #3 after 1 sec");
    EXPECT_EQ(retry_status(20, 100s), "Download failed. Retrying #20 after 1 min 40 secs");
}

TEST(Reports, NameWhatFailed)
{
    EXPECT_EQ(failed_components_text({"One", "Two & more"}, "One: Error: no, Httpcode: 500"),
              "This application cannot download 2 component(s). Download the files directly from "
              "the Orvane FPGA Download Center.\n\nFailed component(s):\n - One\n - Two & more\n"
              "\n\nDetails:\nOne: Error: no, Httpcode: 500");
    EXPECT_EQ(failed_components_text({"One"}, ""),
              "This application cannot download 1 component(s). Download the files directly from "
              "the Orvane FPGA Download Center.\n\nFailed component(s):\n - One\n");
}

TEST(DirectoryProblem, IsTheFirstThatDownloadWouldReport)
{
    VINST_DIRECTORY_FACTS facts;
    EXPECT_EQ(directory_problem(facts), "Choose a directory.");
    facts.path = "/a b";
    EXPECT_EQ(directory_problem(facts), "The path must not contain blanks.");
    facts.path = "/a";
    EXPECT_EQ(directory_problem(facts), "");
    facts.needed = 3ULL << 30;
    EXPECT_EQ(directory_problem(facts), "") << "the available space is unknown";
    facts.available = 1LL << 30;
    EXPECT_EQ(directory_problem(facts),
              "There is too little space: 3.00 GB needed, 1.00 GB available.");
    facts.needed = 5ULL << 20;
    facts.available = 300 << 10;
    EXPECT_EQ(directory_problem(facts),
              "There is too little space: 5.00 MB needed, 300.00 KB available.");
    facts.is_occupied = true;
    EXPECT_EQ(directory_problem(facts),
              "This directory is not empty. Choose an empty or a new one.");
    facts.is_writable = false;
    EXPECT_EQ(directory_problem(facts), "You have no permission to write to this directory.");
    facts.is_other_file = true;
    EXPECT_EQ(directory_problem(facts), "A part of this path is a file, not a directory.");
}
