#include "tests/harness/pattern.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/host_fixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <sys/stat.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr std::uint64_t base_size = 3'000'000;

/// Mirrors a small release for both platforms from a fault server.
class ReleaseMirror : public HostTest
{
protected:
    ReleaseMirror()
    {
        builder.component("veltrin_base").platform("linux").pattern_content(base_size, 1);
        builder.component("vscope").platform("linux").selected(false).pattern_content(50'000, 2);
        builder.component("vscope").parent("veltrin_base").title("The scope");
        builder.new_component("veltrin_base")
            .platform("windows")
            .filename("veltrin_base.exe")
            .pattern_content(40'000, 3);
        // One archive for both platforms.
        for (const char* platform : {"linux", "windows"})
            builder.new_component("orion")
                .platform(platform)
                .filename("orion.vdz")
                .pattern_content(30'000, 4);
        publish();
    }

    CHILD_SETUP mirror_setup(const ARGUMENTS& more = {}) const
    {
        CHILD_SETUP tool;
        tool.program = tested_build_dir() / "bin/vinst_release";
        tool.arguments = {"mirror", manifest, target(), "--retry-duration", "0"};
        tool.arguments.insert(tool.arguments.end(), more.begin(), more.end());
        tool.live_in(dir.path());
        return tool;
    }

    void mirror(const ARGUMENTS& more = {})
    {
        CHILD_PROCESS child(mirror_setup(more));
        const auto ended = child.wait(long_enough);
        ASSERT_TRUE(ended) << child.output() << child.errors();
        result = *ended;
        output = child.output();
        errors = child.errors();
    }

    std::string target() const { return (dir / "mirror").string(); }

    /// The files of the mirror are those of the release.
    void expect_files(const std::vector<std::string>& names) const
    {
        EXPECT_EQ(list_tree(target()), names);
        for (const std::string& name : names)
            EXPECT_EQ(dir.read("mirror/" + name), dir.read("release/" + name)) << name;
    }

    const std::vector<std::string> all_files{"manifest.json",    "orion.vdz",        "test.txt",
                                             "veltrin_base.exe", "veltrin_base.run", "vscope.run"};
};

}

TEST_F(ReleaseMirror, HasTheCompleteRelease)
{
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_EQ(errors, "");
    expect_files(all_files);
    EXPECT_THAT(output,
                AllOf(StartsWith("Mirrored 4 files, 2.98 MB, in " + target() +
                                 "\nServe the directory with a web server, for example with\n"
                                 "  vinst_release serve " +
                                 target() +
                                 " --address 0.0.0.0 --port 8080\n"
                                 "and install from it with\n  vinst --manifest " +
                                 target() + "/manifest.json --url http://"),
                      HasSubstr(":8080\n")));
    EXPECT_EQ(server.request_count("/orion.vdz"), 1U);
}

TEST_F(ReleaseMirror, IsEnoughToInstallFrom)
{
    mirror();
    const std::size_t requests = server.request_count();
    CHILD_PROCESS serving({tested_build_dir() / "bin/vinst_release", {"serve", target()}});
    ASSERT_TRUE(serving.wait_for_output("\n", long_enough)) << serving.errors();
    const std::string url = serving.output().substr(0, serving.output().find('\n'));
    const std::string copy = target() + "/manifest.json";
    run(run_arguments({"--manifest", copy, "--url", url, "--components", "vscope"}));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(dir.read("dl/vscope.run"), dir.read("release/vscope.run"));
    EXPECT_EQ(server.request_count(), requests);

    run({"--download-dir", target(), "--manifest", copy, "--offline"});
    EXPECT_TRUE(output_holds("\nAll files are complete and verified.\n")) << output;
    EXPECT_EQ(server.request_count(), requests);
}

TEST_F(ReleaseMirror, LeavesItsFilesReadableForAWebServer)
{
    CHILD_SETUP tool = mirror_setup();
    tool.arguments.insert(tool.arguments.begin(),
                          {"-c", "umask 022 && exec \"$0\" \"$@\"", tool.program.string()});
    tool.program = "/bin/sh";
    for (int run = 0; run < 2; ++run)
    {
        ASSERT_TRUE(CHILD_PROCESS(tool).wait(long_enough)->exited_with(0));
        for (const std::string& name : all_files)
        {
            struct stat status = {};
            ASSERT_EQ(stat((target() + '/' + name).c_str(), &status), 0) << name;
            EXPECT_EQ(status.st_mode & 0777U, 0644U) << name;
        }
    }
}

TEST_F(ReleaseMirror, FetchesNothingTwice)
{
    mirror();
    const std::size_t requests = server.request_count();
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_EQ(server.request_count(), requests);
    std::string bytes = dir.read("mirror/veltrin_base.run");
    bytes[base_size / 2] ^= 1;
    dir.write("mirror/veltrin_base.run", bytes);
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    expect_files(all_files);
    EXPECT_EQ(server.request_count(), requests + 1);
}

TEST_F(ReleaseMirror, ResumesAfterAFailureThatNamesTheFile)
{
    server.set_faults("/veltrin_base.run", {FAULT::cut_after(1'000'000).times(1)});
    server.set_faults("/vscope.run", {FAULT::status(404).times(1)});
    mirror();
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(output, "");
    EXPECT_THAT(errors, AllOf(HasSubstr("vinst_release: The veltrin_base part (" +
                                        server.url("/veltrin_base.run") + "): "),
                              HasSubstr("vinst_release: The scope (" + server.url("/vscope.run") +
                                        "): the server answered with HTTP status 404 (file not "
                                        "found)\n")));
    EXPECT_FALSE(std::filesystem::exists(target() + "/manifest.json"));
    EXPECT_EQ(dir.read("mirror/veltrin_base.run").size(), 1'000'000U);
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_EQ(server.requests("/veltrin_base.run").back().range(), "bytes=1000000-");
    expect_files(all_files);
}

TEST_F(ReleaseMirror, RetriesFailedDownloads)
{
    server.set_faults("/veltrin_base.run", {FAULT::reset_after(500'000).times(1)});
    CHILD_SETUP tool = mirror_setup();
    tool.arguments.back() = "1";
    CHILD_PROCESS child(tool);
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(ended->exited_with(0)) << child.errors();
    EXPECT_THAT(child.errors(),
                AllOf(StartsWith("vinst_release: The veltrin_base part ("),
                      HasSubstr("\nvinst_release: Retrying #1 after 5 secs ...\n")));
    expect_files(all_files);
}

TEST_F(ReleaseMirror, CanBeStoppedAndResumed)
{
    server.set_faults("/veltrin_base.run", {FAULT::stall_after(1'000'000).times(1)});
    CHILD_PROCESS child(mirror_setup());
    ASSERT_TRUE(
        wait_until([this] { return size_of_file(target() + "/veltrin_base.run") == 1'000'000; }));
    child.send_signal(SIGINT);
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->signal, SIGINT);
    EXPECT_EQ(child.errors(), "vinst_release: stopped; run the command again to resume\n");
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_EQ(server.requests("/veltrin_base.run").back().range(), "bytes=1000000-");
    expect_files(all_files);
}

TEST_F(ReleaseMirror, CanBeStoppedWhileItWaitsForARetry)
{
    server.set_faults("/veltrin_base.run", {FAULT::status(503)});
    CHILD_SETUP tool = mirror_setup();
    tool.arguments.back() = "60";
    CHILD_PROCESS child(tool);
    ASSERT_TRUE(child.wait_for([](const std::string&, const std::string& lines)
                               { return lines.find("Retrying #1") != std::string::npos; },
                               long_enough));
    child.send_signal(SIGTERM);
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->signal, SIGTERM);
}

TEST_F(ReleaseMirror, HasTheFilesOfOnePlatform)
{
    mirror({"--platform", "windows"});
    EXPECT_TRUE(result.exited_with(0)) << errors;
    expect_files({"manifest.json", "orion.vdz", "test.txt", "veltrin_base.exe"});
}

TEST_F(ReleaseMirror, HasTheNamedComponentsAndWhatTheyNeed)
{
    mirror({"--components", "vscope"});
    EXPECT_TRUE(result.exited_with(0)) << errors;
    expect_files({"manifest.json", "test.txt", "veltrin_base.run", "vscope.run"});
    mirror({"--components", "orion,veltrin", "--platform", "windows"});
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_THAT(output, StartsWith("Mirrored 2 files, "));
    EXPECT_EQ(dir.read("mirror/veltrin_base.exe"), dir.read("release/veltrin_base.exe"));
}

TEST_F(ReleaseMirror, RefusesComponentsThatTheReleaseDoesNotHave)
{
    mirror({"--components", "vscope,none,"});
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(errors, "vinst_release: the release has no component 'none'\n"
                      "vinst_release: the release has no component ''\n");
    mirror({"--components", "vscope", "--platform", "windows"});
    EXPECT_EQ(errors, "vinst_release: the release has no component 'vscope' for windows\n");
    EXPECT_FALSE(std::filesystem::exists(target()));
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(ReleaseMirror, CanBeMadeFromAnotherMirror)
{
    FAULT_SERVER other;
    other.serve_directory(dir / "release");
    mirror({"--url", other.url("/")});
    EXPECT_TRUE(result.exited_with(0)) << errors;
    expect_files(all_files);
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(ReleaseMirror, HasTheTestFileWhereItsAddressLeads)
{
    builder.test_file(server.url("/a%20b"));
    publish();
    server.serve("/a%20b/test.txt", "connection test\n");
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_EQ(dir.read("mirror/a b/test.txt"), "connection test\n");
}

TEST_F(ReleaseMirror, SaysThatTheTestFileIsElsewhere)
{
    FAULT_SERVER elsewhere;
    builder.test_file(elsewhere.url("/probe"));
    publish();
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_THAT(output, HasSubstr("The machines that use the mirror must reach " +
                                  elsewhere.url("/probe/test.txt") + ".\n"));
    EXPECT_FALSE(std::filesystem::exists(target() + "/test.txt"));
    EXPECT_EQ(elsewhere.request_count(), 0U);
}

TEST_F(ReleaseMirror, EndsAtOnceIfTheTestFileCannotBeFetched)
{
    server.set_faults("/test.txt", {FAULT::other_body("login page\n")});
    mirror();
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_THAT(errors,
                StartsWith("vinst_release: The connection test's file (" + server.url("/test.txt") +
                           "): checksum mismatch: the release lists MD5 "));
    server.set_faults("/test.txt", {FAULT::status(403)});
    mirror();
    EXPECT_EQ(errors, "vinst_release: The connection test's file (" + server.url("/test.txt") +
                          "): the server answered with HTTP status 403 (access denied)\n");
    EXPECT_EQ(server.request_count("/veltrin_base.run"), 0U);
}

TEST_F(ReleaseMirror, CanContainTheManifestThatItIsMadeFrom)
{
    std::filesystem::create_directory(target());
    std::filesystem::copy_file(manifest, target() + "/manifest.json");
    manifest = target() + "/manifest.json";
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    expect_files(all_files);
}

TEST_F(ReleaseMirror, RefusesFilesWithTheNameOfItsOwn)
{
    builder.component("vscope").filename("Manifest.json");
    builder.new_component("clash").filename("test.txt").content("x");
    manifest = builder.write(dir / "clash.json").string();
    mirror();
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(errors, "vinst_release: the file 'Manifest.json' of 'vscope' has the name of another "
                      "file of the mirror\n"
                      "vinst_release: the file 'test.txt' of 'clash' has the name of another file "
                      "of the mirror\n");
    EXPECT_FALSE(std::filesystem::exists(target()));
}

TEST_F(ReleaseMirror, RefusesTwoFilesWithOneName)
{
    builder.new_component("other")
        .platform("windows")
        .filename("orion.vdz")
        .key("md5sum", "00000000000000000000000000000000");
    manifest = builder.write().string();
    mirror();
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(errors, "vinst_release: the manifest lists two checksums for the file 'orion.vdz'\n");
    EXPECT_FALSE(std::filesystem::exists(target()));
}

TEST_F(ReleaseMirror, LeavesOutFilesWithoutASize)
{
    builder.component("vscope").content("");
    publish();
    mirror();
    EXPECT_TRUE(result.exited_with(0)) << errors;
    EXPECT_THAT(output,
                AllOf(StartsWith("Mirrored 3 files, "),
                      HasSubstr("\nThe file 'vscope.run' is not in the mirror, because it has no "
                                "size in the manifest: vinst could not verify it.\n")));
    EXPECT_FALSE(std::filesystem::exists(target() + "/vscope.run"));
}

TEST_F(ReleaseMirror, ReportsAManifestThatCannotBeLoaded)
{
    manifest = (dir / "none.json").string();
    mirror();
    EXPECT_TRUE(result.exited_with(1));
    EXPECT_EQ(errors, "vinst_release: Manifest file " + manifest +
                          " does not exist\nvinst_release: cannot load the manifest '" + manifest +
                          "'\n");
}

TEST_F(ReleaseMirror, RefusesInvalidOptions)
{
    for (const auto& [option, value, error] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"--platform", "mars", "--platform must be linux or windows"},
             {"--url", "ftp://x", "--url must begin with http:// or https://"}})
    {
        mirror({option, value});
        EXPECT_TRUE(result.exited_with(2));
        EXPECT_THAT(errors, StartsWith("vinst_release: " + error + "\n"));
    }
    CHILD_SETUP tool = mirror_setup();
    tool.arguments.back() = "10001";
    CHILD_PROCESS child(tool);
    EXPECT_TRUE(child.wait(long_enough)->exited_with(2));
    EXPECT_THAT(child.errors(),
                StartsWith("vinst_release: --retry-duration must be a number from 0 to 10000\n"));
}

TEST_F(ReleaseMirror, ShowsItsProgressOnATerminal)
{
    server.set_faults("/veltrin_base.run", {FAULT::stall_after(1'500'000).times(1)});
    CHILD_SETUP tool = mirror_setup();
    tool.terminal = CHILD_TERMINAL();
    CHILD_PROCESS child(tool);
    EXPECT_TRUE(child.wait_for_output("\rFetching: 3 of 4 files, 1.54 MB of 2.98 MB (51%)\x1b[K",
                                      long_enough))
        << child.output();
    child.type("\x03");
    const auto ended = child.wait(long_enough);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->signal, SIGINT);
    EXPECT_THAT(child.output(), HasSubstr("\r\x1b[Kvinst_release: stopped; "));
}
