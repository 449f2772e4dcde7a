#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/open_descriptor.h"
#include "tests/harness/wait_until.h"

#include <algorithm>
#include <csignal>
#include <memory>

namespace
{

class HostEntry : public HostTest
{
protected:
    static std::string with_forward_slashes(std::string text)
    {
        std::replace(text.begin(), text.end(), '\\', '/');
        return text;
    }

    std::vector<std::string> temporary_logs() const { return temporary_files_in(dir / "tmp"); }
};

}

TEST_F(HostEntry, NeedsATemporaryDirectory)
{
    builder.component("one");
    publish();
    environment["TMPDIR"] = "/proc";
    run(run_arguments());
    expect_stopped("Error: /proc/ is not writable\n"
                   "Ensure your temp directory is writable before running this application.\n");
    environment["TMPDIR"] = (dir / "none").string();
    run({"--help"});
    expect_stopped("Error: can't locate TEMP directory on your machine\n"
                   "Ensure your temp directory is writable before running this application.\n");
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(HostEntry, NeedsAManifest)
{
    const std::string missing = host_path(dir / "none.json");
    environment["vinst_manifest"] = missing;
    run(run_arguments());
    EXPECT_TRUE(result.exited_with(1));
    const std::string tree = with_forward_slashes(host_path(tested_build_dir())) +
                             "/bin/../../ib_installers/manifest_files/";
    EXPECT_EQ(output, "Manifest file " + tree + "manifest_" + tested_platform() +
                          "_standard.json does not exist\nCannot read manifest data\n");
    environment["vinst_manifest"] = host_path(dir.write("bad.json", "{}"));
    run(run_arguments());
    expect_stopped("Manifest file " + host_path(dir / "bad.json") +
                   " is not in the supported format\nCannot read manifest data\n");
}

TEST_F(HostEntry, KeepsTheLogsOfEarlierRuns)
{
    builder.component("one");
    publish();
    for (const char* minutes : {"11", "22", "33"})
        run(run_arguments({"--retry-duration", minutes}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(temporary_logs().empty());
    for (const auto& [ending, minutes] :
         std::vector<std::pair<std::string, std::string>>{{".1", "11"}, {".2", "22"}, {"", "33"}})
    {
        const std::string path = log_path() + ending;
        ASSERT_TRUE(std::filesystem::exists(path)) << path;
        EXPECT_NE(read_file(path).find("Retry duration: " + minutes + " (minutes)\n"),
                  std::string::npos)
            << path;
        EXPECT_EQ(std::filesystem::status(path).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
    EXPECT_NE(
        read_file(log_path() + ".1").find("Welcome to the Orvane Veltrin Crest Pro Edition 5.2"),
        std::string::npos);
}

TEST_F(HostEntry, ListsTheOptionsWithoutAManifest)
{
    environment["vinst_manifest"] = host_path(dir / "none.json");
    run({"--help"});
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(
        output.find("Usage: " + tested_console_host() + " [options...]\n\nGeneric Options:\n"), 0U)
        << output;
    EXPECT_TRUE(output_holds("  --components arg "));
    const std::string hint =
        "\nNo release was found. Set the environment variable vinst_manifest to the path of its "
        "manifest,\nor put the manifest next to this program as manifest.json.\n";
    EXPECT_EQ(output.substr(output.size() - std::min(output.size(), hint.size())), hint);
    run({"--nonsense"});
    EXPECT_TRUE(output_holds("Cannot read manifest data\n"));
}

TEST_F(HostEntry, EndsAFailedRunWithThePathOfItsLog)
{
    builder.component("one");
    publish();
    const auto last_line = [this]
    { return output.substr(output.rfind('\n', output.size() - 2) + 1); };
    server.set_faults("/one.run", {FAULT::status(503)});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_EQ(last_line(), host_path(log_path()) + "\n");
    server.set_faults("/test.txt", {FAULT::status(503)});
    run(run_arguments());
    EXPECT_EQ(last_line(), host_path(log_path()) + "\n");
    server.set_faults("/test.txt", {});
    server.set_faults("/one.run", {});
    run(run_arguments());
    EXPECT_EQ(last_line(), "Download successful\n");
}

TEST_F(HostEntry, KeepsTheLogsOfRunsThatEndTogether)
{
    constexpr std::size_t runs = 8;
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::status(503)});
    std::vector<std::unique_ptr<CHILD_PROCESS>> children;
    for (std::size_t i = 0; i < runs; ++i)
        children.push_back(std::make_unique<CHILD_PROCESS>(setup(run_arguments())));
    for (const auto& child : children)
        ASSERT_TRUE(child->wait(300s));
    std::size_t logs = 0;
    for (const std::string& name : list_tree(dir / "dl"))
        logs += name.find(".log") != std::string::npos ? 1U : 0U;
    EXPECT_EQ(logs, runs);
    EXPECT_TRUE(temporary_logs().empty());
}

TEST_F(HostEntry, LeavesNoLogOfASuccessfulConnectionTest)
{
    builder.component("one");
    publish();
    run({"--test-download"});
    EXPECT_TRUE(output_holds("Test download -> success\n"));
    EXPECT_TRUE(temporary_logs().empty());
    server.set_faults("/test.txt", {FAULT::status(503)});
    run({"--test-download"});
    EXPECT_EQ(temporary_logs().size(), 1U);
}

TEST_F(HostEntry, KeepsTheLogOfAStoppedRunInTheTemporaryDirectory)
{
    builder.component("one");
    publish();
    run({});
    ASSERT_EQ(temporary_logs().size(), 1U);
    EXPECT_NE(
        dir.read("tmp/" + temporary_logs()[0]).find("[error] Download directory is not specified."),
        std::string::npos);
    run({"--help"});
    EXPECT_EQ(temporary_logs().size(), 1U);
}

TEST_F(HostEntry, KeepsTheLogInTheTemporaryDirectoryWithoutAnotherDirectory)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    CHILD_PROCESS child(setup(run_arguments()));
    ASSERT_TRUE(server.wait_for_requests("/test.txt", 1, long_enough));
    std::filesystem::remove_all(dir / "dl");
    child.send_signal(SIGTERM);
    ASSERT_TRUE(child.wait(long_enough));
    EXPECT_FALSE(std::filesystem::exists(dir / "dl"));
    ASSERT_EQ(temporary_logs().size(), 1U);
    EXPECT_NE(dir.read("tmp/" + temporary_logs()[0]).find("Testing Internet connection ..."),
              std::string::npos);
    const std::string report = "The log could not be moved to the download directory:\n" +
                               (dir / "tmp" / temporary_logs()[0]).string() + "\n";
    EXPECT_EQ(child.output().substr(child.output().size() - report.size()), report);
}

TEST_F(HostEntry, KeepsTheLogPrivateWhileItRuns)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    CHILD_SETUP open_umask = setup(run_arguments());
    open_umask.program = "/bin/sh";
    open_umask.arguments = {"-c",      "umask 0; exec \"$@\"", "sh",       host(),
                            "--debug", "--download-dir",       downloads()};
    CHILD_PROCESS child(open_umask);
    ASSERT_TRUE(server.wait_for_requests("/test.txt", 1, long_enough));
    constexpr auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    ASSERT_FALSE(temporary_logs().empty());
    for (const std::string& name : temporary_logs())
        EXPECT_EQ(std::filesystem::status(dir / "tmp" / name).permissions() & others,
                  std::filesystem::perms::none)
            << name;
}

TEST_F(HostEntry, MovesTheLogToAnotherFileSystem)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    builder.component("one");
    publish();
    const TMPFS_DIR disk(4 * 1024 * 1024);
    run({"--download-dir", disk.path().string()});
    EXPECT_TRUE(std::filesystem::exists(disk.path() / "vinst-5.2.0.31-pro.log"));
    EXPECT_TRUE(temporary_logs().empty());
}

TEST_F(HostEntry, DoesNotLetAManifestMoveTheLog)
{
    builder.edition("../../../evil/x").component("one");
    publish();
    run(run_arguments());
    EXPECT_TRUE(std::filesystem::exists(dir / "dl/vinst-5.2.0.31-.._.._.._evil_x.log"));
}

TEST_F(HostEntry, HandlesAnyFileNameInAnyLocale)
{
    builder.component("one").filename("gr\u00f6\u00dfe.run");
    publish();
    server.serve("/gr%C3%B6%C3%9Fe.run", read_file(builder.file("one").path));
    environment["LC_ALL"] = "C";
    const std::string target = host_path(dir / "\u00dcbung");
    run({"--download-dir", target});
    EXPECT_TRUE(output_holds("Download dir: " + target + "\n"));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_TRUE(std::filesystem::exists(dir / "\u00dcbung/gr\u00f6\u00dfe.run"));
}

TEST_F(HostEntry, PassesTheUsersEnvironmentToInstallers)
{
    builder.component("one").content("#!/bin/sh\nenv\n");
    publish();
    environment["QT_QPA_PLATFORMTHEME"] = "mine";
    run(run_arguments({"--install-dir", installed(), "--accept-eula"}));
    EXPECT_TRUE(output_holds("Installation completed successfully"));
    EXPECT_EQ(log().find("QT_QPA_PLATFORM="), std::string::npos);
    EXPECT_NE(log().find("QT_QPA_PLATFORMTHEME=mine\n"), std::string::npos);
}

TEST_F(HostEntry, LetsInstallersInheritOnlyTheStandardStreams)
{
    const OPEN_DESCRIPTOR of_the_caller;
    builder.component("one").content("#!/bin/sh\nexec " + tested_build_dir().string() +
                                     "/tests/posers/poser_inherit\n");
    publish();
    run(run_arguments({"--install-dir", installed(), "--accept-eula"}));
    EXPECT_TRUE(output_holds("Installation completed successfully"));
    EXPECT_NE(log().find("descriptors 0 1 2\nend\n"), std::string::npos) << log();
}

TEST_F(HostEntry, ReportsAFatalSignal)
{
    builder.component("one");
    publish();
    server.set_faults("/one.run", {FAULT::stall_before_headers()});
    for (const auto& [signal_number, code] : std::vector<std::pair<int, std::string>>{
             {SIGSEGV, "11"}, {SIGBUS, "7"}, {SIGFPE, "8"}, {SIGILL, "4"}})
    {
        CHILD_PROCESS child(setup(run_arguments()));
        ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough));
        child.send_signal(signal_number);
        const auto ended = child.wait(long_enough);
        ASSERT_TRUE(ended);
        EXPECT_TRUE(ended->exited_with(2));
        EXPECT_EQ(child.errors(), "Fatal error: SE " + code +
                                      " thrown. The Veltrin Crest software will now exit.\n");
    }
}

TEST_F(HostEntry, LeavesAFaultToTheDebugger)
{
    builder.component("one");
    publish();
    server.set_faults("/one.run", {FAULT::stall_before_headers()});
    environment["VINST_DEBUG"] = "1";
    // A sanitizer's own handler would print a report, which isn't safe at an arbitrary place.
    CHILD_PROCESS child(setup(run_arguments()).add_sanitizer_option("handle_sigfpe=0"));
    ASSERT_TRUE(child.wait_for_output("Download progress:", long_enough));
    child.send_signal(SIGFPE);
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended) << child.errors();
    EXPECT_EQ(ended->signal, SIGFPE);
    EXPECT_EQ(child.errors().find("Veltrin Crest"), std::string::npos);
}

TEST_F(HostEntry, DropsQtsMessagesUnlessRequested)
{
    builder.component("one");
    publish();
    // Qt's windows warn if no runtime directory is set, as in the tests' environment.
    const std::string warning = "XDG_RUNTIME_DIR not set";
    const auto run_with_windows = [this](std::map<std::string, std::string> variables)
    {
        variables["QT_QPA_PLATFORM"] = "offscreen";
        environment = std::move(variables);
        run({"--gui", "--help"});
    };
    run_with_windows({});
    EXPECT_EQ(errors.find(warning), std::string::npos);
    for (const char* name : {"VINST_SHOW_QT_MESSAGES", "VINST_ENABLE_QT_MESSAGES", "VINST_DEBUG"})
    {
        run_with_windows({{name, "1"}});
        EXPECT_NE(errors.find(warning), std::string::npos) << name;
        run_with_windows({{name, ""}});
        EXPECT_EQ(errors.find(warning), std::string::npos) << name;
    }
}

TEST(SharedLibrary, ExportsOneFunction)
{
    if (tested_platform() == "windows")
    {
        const std::string library = (tested_build_dir() / "bin/vinst.dll").string();
        const std::string headers = run_tool({"x86_64-w64-mingw32-objdump", {"-p", library}});
        const std::string title = "[Ordinal/Name Pointer] Table\n";
        const std::size_t table = headers.find(title);
        ASSERT_NE(table, std::string::npos);
        const std::size_t end = headers.find("\n\n", table);
        EXPECT_EQ(headers.substr(table + title.size(), end - table - title.size()),
                  "\t[   0] install_vinst_run");
        return;
    }
    const std::string library = (tested_build_dir() / "lib/libvinst.so").string();
    const std::string symbols =
        run_tool({"nm", {"-D", "--defined-only", "--format=posix", library}});
    EXPECT_EQ(symbols.substr(0, symbols.find(' ')), "install_vinst_run");
    EXPECT_EQ(symbols.find('\n'), symbols.size() - 1) << symbols;
}
