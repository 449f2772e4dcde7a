#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <algorithm>

namespace
{

class HostInstall : public HostTest
{
protected:
    void install(const ARGUMENTS& more = {})
    {
        ARGUMENTS arguments = run_arguments({"--install-dir", installed(), "--accept-eula"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        run(arguments);
    }

    /// Whether that text is followed by nothing but the path of the log.
    bool failure_ends_with(const std::string& text) const
    {
        return output_ends_with(text + host_path(log_path()) + "\n");
    }

    bool output_ends_with(const std::string& text) const
    {
        return output.size() >= text.size() &&
               output.compare(output.size() - text.size(), text.size(), text) == 0;
    }

    void expect_no_command() const
    {
        EXPECT_FALSE(output_holds("completed successfully")) << output;
        EXPECT_EQ(log().find("Run command: "), std::string::npos) << log();
        EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
    }

    std::string device_installer() const
    {
        return host_path(dir / "inst/devices/dev_install" /
                         ("dev_install" + tested_installer_suffix()));
    }
};

}

TEST_F(HostInstall, ReportsThatARestartIsNeeded)
{
    if (tested_platform() != "windows")
        GTEST_SKIP() << "no exit code means this on Linux";
    constexpr int restart_required = 3010;
    builder.component("one").standalone().content(install_script(restart_required));
    builder.component("two").standalone().content(install_script());
    publish();
    install({"--json", host_path(dir / "outcome.json")});
    EXPECT_TRUE(output_ends_with("Do install ...\nRestart the computer to complete the "
                                 "installation.\nInstallation completed successfully\n"))
        << output;
    EXPECT_EQ(dir.read("inst/install_order"), "one.run\ntwo.run\n");
    const std::string outcome = dir.read("outcome.json");
    EXPECT_NE(outcome.find("\"restart_required\": true"), std::string::npos) << outcome;
    EXPECT_NE(outcome.find("\"result\": \"complete\""), std::string::npos) << outcome;
}

TEST_F(HostInstall, GoesFromAManifestToAnInstalledRelease)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("part").content(install_script());
    builder.component("flexlm").standalone().content(install_script());
    publish();
    install();
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(
        output_holds("Auto install: on\nInstall dir: " + installed() + "\nAccept EULA: yes\n"));
    EXPECT_TRUE(output_holds(
        "\nDownload successful\nDo install ...\nInstallation completed successfully\n"));
    EXPECT_EQ(dir.read("inst/install_order"), "veltrin_base.run\nflexlm.run\n");
    EXPECT_NE(log().find("Run command: " + download("veltrin_base.run") +
                         " --mode unattended --unattendedmodeui minimal --accept_eula 1  " +
                         (tested_platform() == "windows" ? "--skip_checksum 1  " : "") +
                         "--installdir " + installed() +
                         " --enable-components part --disable-components flexlm\n"),
              std::string::npos)
        << log();
    EXPECT_NE(log().find("returned 0: installed "), std::string::npos);
}

TEST_F(HostInstall, InstallsNothingWhenTheMainProductIsNotStandalone)
{
    builder.component("veltrin_base").content(main_product_script());
    builder.component("part").content(install_script());
    builder.component("act").data_type("install").no_file().cmd_exe("act");
    publish();
    install();
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(failure_ends_with(
        "\nDownload successful\nDo install ...\n"
        "The veltrin_base part was not installed: the manifest does not mark the main product as "
        "standalone.\n"
        "The part part was not installed: it is installed by the main product's installer, which "
        "was not run.\n"
        "Nothing was installed: none of the components has an installer to run.\n"))
        << output;
    expect_no_command();
}

TEST_F(HostInstall, InstallsNoDeviceWithoutItsDeviceInstaller)
{
    builder.component("devinfo").no_file();
    builder.component("orion").parent("devinfo").filename("orion.vdz");
    builder.component("loose").filename("loose.vdz");
    publish();
    install();
    EXPECT_TRUE(failure_ends_with(
        "\nDo install ...\n"
        "The orion part was not installed: its device installer was not in the install directory "
        "(" +
        device_installer() +
        ").\n"
        "The loose part was not installed: it has no separate installer, because it is a device "
        "archive outside the device group.\n"
        "Nothing was installed: none of the components has an installer to run.\n"))
        << output;
    expect_no_command();
}

TEST_F(HostInstall, InstallsNothingWhenNoComponentIsSelected)
{
    builder.component("a").selected(false);
    builder.component("act").data_type("install").no_file().cmd_exe("act");
    publish();
    install();
    EXPECT_TRUE(
        failure_ends_with("\nDo install ...\nNothing was installed: no component is selected.\n"))
        << output;
    expect_no_command();
}

TEST_F(HostInstall, InstallsNothingWhenOnlyAGroupIsSelected)
{
    builder.component("devinfo").no_file();
    publish();
    install({"--components", "devinfo"});
    EXPECT_TRUE(failure_ends_with("\nDo install ...\nNothing was installed: no selected component "
                                  "has a file to install.\n"))
        << output;
    expect_no_command();
}

TEST_F(HostInstall, NamesWhatWasLeftOutOfASuccessfulInstallation)
{
    builder.component("flexlm").standalone().content(install_script());
    builder.component("devinfo").no_file();
    builder.component("orion").title("Orion 100%s").parent("devinfo").filename("orion.vdz");
    publish();
    install();
    EXPECT_TRUE(output_ends_with("\nDo install ...\nOrion 100%s was not installed: its device "
                                 "installer was not in the install directory (" +
                                 device_installer() + ").\nInstallation completed successfully\n"))
        << output;
    EXPECT_EQ(dir.read("inst/install_order"), "flexlm.run\n");
    EXPECT_NE(log().find("Orion 100%s was not installed: "), std::string::npos);
}

TEST_F(HostInstall, DoesNotNameASimulatorWhoseEditionWasInstalled)
{
    builder.component("morlan").content(install_script());
    builder.component("morlan_fe").parent("morlan").standalone().content(install_script());
    publish();
    install({"--components", "morlan_fe"});
    EXPECT_TRUE(output_ends_with("\nDo install ...\nInstallation completed successfully\n"))
        << output;
    EXPECT_EQ(dir.read("inst/install_order"), "morlan_fe.run\n");
    std::filesystem::remove_all(dir / "inst");

    install({"--components", "morlan"});
    EXPECT_TRUE(failure_ends_with(
        "\nDo install ...\nThe morlan part was not installed: it is installed with a simulator "
        "edition, and none was installed.\nNothing was installed: none of the components has an "
        "installer to run.\n"))
        << output;
}

TEST_F(HostInstall, StopsAtAFailingInstaller)
{
    builder.component("a").content(install_script());
    builder.component("b").content(install_script(4));
    builder.component("c").content(install_script());
    publish();
    install();
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds("Do install ...\nThe installer of The b part failed. It exited with "
                             "code 4. The last lines of its output:\n  installed b.run\n"
                             "Installation cancelled or finished with error\n"))
        << output;
    EXPECT_EQ(dir.read("inst/install_order"), "a.run\nb.run\n");
    EXPECT_NE(log().find(" returned 4: "), std::string::npos);
}

TEST_F(HostInstall, StopsAtAnInstallerThatCrashesOrCannotBeStarted)
{
    for (const auto& [script, reason] : std::vector<std::pair<std::string, std::string>>{
             {crashing_script(9), tested_platform() == "windows"
                                      ? "It was ended with status 0xc0000005"
                                      : "It was ended by signal 9"},
             {"#!/none/sh\n", "It could not be started: "}})
    {
        std::filesystem::remove_all(dir / "dl");
        builder.component("a").content(script);
        builder.component("b").content(install_script());
        publish();
        install();
        EXPECT_TRUE(result.exited_with(0));
        EXPECT_TRUE(output_holds("Do install ...\nThe installer of The a part failed. " + reason))
            << output;
        EXPECT_TRUE(output_holds("\nInstallation cancelled or finished with error\n")) << output;
        EXPECT_NE(log().find(reason), std::string::npos) << log();
        EXPECT_FALSE(std::filesystem::exists(dir / "inst/install_order"));
    }
}

TEST_F(HostInstall, ShowsTheLastLinesOfAFailedInstaller)
{
    builder.component("a").content(talking_script(20'000, 1));
    publish();
    install();
    EXPECT_FALSE(output_holds("line 19994 of 100%s")) << output;
    for (int line = 19'995; line < 20'000; ++line)
        EXPECT_TRUE(output_holds("  line " + std::to_string(line) + " of 100%s\n")) << line;
}

TEST_F(HostInstall, GivesInstallersNoTerminalToAskOn)
{
    builder.component("a").content(
        "#!/bin/sh\necho 'Continue?' >/dev/tty && read answer </dev/tty\n"
        "mkdir -p '" +
        installed() + "' && echo done > '" + installed() + "/end'\n");
    publish();
    CHILD_SETUP on_terminal = setup(run_arguments({"--install-dir", installed(), "--accept-eula"}));
    on_terminal.terminal = CHILD_TERMINAL{};
    CHILD_PROCESS child(on_terminal);
    const auto ended = child.wait(300s);
    ASSERT_TRUE(ended) << child.output();
    EXPECT_TRUE(ended->exited_with(0));
    EXPECT_EQ(child.output().find("Continue?"), std::string::npos) << child.output();
    EXPECT_EQ(dir.read("inst/end"), "done\n");
}

TEST_F(HostInstall, LogsTheOutputOfInstallers)
{
    builder.component("a").content(talking_script(20'000));
    publish();
    install();
    EXPECT_TRUE(output_holds("\nInstallation completed successfully\n")) << output;
    EXPECT_FALSE(output_holds("line 0 of 100%s"));
    const std::string text = log();
    for (const char* line : {"line 0 of 100%s\n", "line 19999 of 100%s\n"})
    {
        const std::size_t first = text.find(line);
        ASSERT_NE(first, std::string::npos) << line;
        EXPECT_NE(text.find(line, first + 1), std::string::npos) << "on both outputs: " << line;
    }
}

TEST_F(HostInstall, DoesNotWaitForAChildThatAnInstallerLeavesRunning)
{
    builder.component("a").content(script_with_lasting_child(60));
    publish();
    const STOPWATCH watch;
    install();
    EXPECT_LT(watch.elapsed().wall, 60s);
    EXPECT_TRUE(output_holds("\nInstallation completed successfully\n")) << output;
}

TEST_F(HostInstall, RunsNothingThatChangedSinceItWasVerified)
{
    const std::string other = download("b.run");
    builder.component("a").content("#!/bin/sh\necho 'touch " + installed() + "/evil' >> " + other +
                                   "\n");
    builder.component("b").content(install_script());
    publish();
    install();
    EXPECT_TRUE(output_holds("The file " + other +
                             " has changed since it was verified. Nothing is run.\nInstallation "
                             "cancelled or finished with error\n"))
        << output;
    EXPECT_FALSE(std::filesystem::exists(dir / "inst/evil"));
    EXPECT_EQ(log().find("Run command: " + other), std::string::npos);
}

TEST_F(HostInstall, RunsAFileAgainThatOnlyLooksChanged)
{
    builder.component("a").content("#!/bin/sh\ntouch " + downloads() + "/b.run\n");
    builder.component("b").content(install_script());
    publish();
    install();
    EXPECT_TRUE(output_holds("\nInstallation completed successfully\n")) << output;
    EXPECT_EQ(dir.read("inst/install_order"), "b.run\n");
}

TEST_F(HostInstall, IsSkippedUnlessRequested)
{
    builder.component("a").content("#!/bin/sh\n: > '" + (dir / "ran").string() + "'\n");
    publish();
    dir.write("inst/.hidden", "x"); // doesn't affect a download
    run(run_arguments({"--accept-eula"}));
    EXPECT_TRUE(output_holds("\nAuto install: off\nNumber of parallel downloads: 4\n")) << output;
    EXPECT_FALSE(output_holds("Do install"));
    EXPECT_FALSE(output_holds("Install dir"));
    const std::string end = "\nDownload successful\n";
    EXPECT_EQ(output.substr(output.size() - end.size()), end);
    EXPECT_FALSE(std::filesystem::exists(dir / "ran"));
}

TEST_F(HostInstall, RefusesADirectoryThatIsNotEmpty)
{
    builder.component("a").content(install_script());
    publish();
    dir.write("inst/.hidden", "x");
    for (const ARGUMENTS& more : {ARGUMENTS{}, ARGUMENTS{"--bypass"}})
    {
        install(more);
        EXPECT_TRUE(result.exited_with(0));
        EXPECT_EQ(
            output,
            "The installation directory is not empty. This application does not support updating "
            "an existing installation. \nTurn off the 'auto install after download' option and "
            "run the installer manually after download.\n" +
                host_path(log_path()) + "\n");
    }
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(HostInstall, RefusesADirectoryIntoWhichAnotherRunInstalls)
{
    builder.component("a").content(hanging_install_script());
    publish();
    CHILD_PROCESS first(setup(run_arguments({"--install-dir", installed(), "--accept-eula"})));
    ASSERT_TRUE(wait_until([this] { return std::filesystem::exists(dir / "inst/install_order"); }))
        << first.output();
    // Even if it has chosen the directory before the first run's files appeared in it.
    std::filesystem::rename(dir / "inst", dir / "aside");
    run({"--download-dir", host_path(dir / "dl2"), "--install-dir", installed(), "--accept-eula"});
    EXPECT_TRUE(output_holds("Cannot install into " + installed() + ": another run (process "))
        << output;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 2)
        << "and the log's path: " << output;
    EXPECT_EQ(server.request_count("/a.run"), 1U);
}

TEST_F(HostInstall, IsRefusedWhereNoProgramCanBeRun)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(1024 * 1024, TMPFS_DIR::PROGRAMS::forbidden);
    builder.component("a").content(install_script());
    publish();
    run({"--download-dir", disk.path().string(), "--install-dir", installed(), "--accept-eula"});
    EXPECT_EQ(output, "The installers cannot be run from " + disk.path().string() +
                          ", because its file system is mounted with \"noexec\". Choose another "
                          "download directory.\n" +
                          (disk.path() / "vinst-5.2.0.31-pro.log").string() + "\n");
    EXPECT_EQ(server.request_count("/a.run"), 0U);
}

TEST_F(HostInstall, ChecksTheSpaceUnlessItIsBypassed)
{
    builder.component("a").content(install_script()).installsize(9e17);
    publish();
    install();
    EXPECT_EQ(output,
              "Disk space insufficient for installation. Use --bypass to avoid the space check.\n" +
                  host_path(log_path()) + "\n");
    run(run_arguments());
    EXPECT_TRUE(output_holds("Auto install: off\nNumber of parallel downloads: 4\n"));
    EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
    install({"--bypass"});
    EXPECT_TRUE(output_holds("Installation completed successfully"));
}

TEST_F(HostInstall, ChecksTheSpaceForDownloads)
{
    builder.component("a").raw_key("size", "900000000000000000");
    publish();
    run(run_arguments());
    EXPECT_EQ(output,
              "Disk space insufficient for download. Use --bypass to avoid the space check.\n" +
                  host_path(log_path()) + "\n");
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_EQ(server.request_count(), 0U);
    run(run_arguments({"--bypass", "--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nStart download ...\n")) << output;
    EXPECT_EQ(server.request_count("/a.run"), 1U);
}
