#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/wait_until.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

/// Installs from a download directory while the release's server must not be asked for anything.
class HostOffline : public HostTest
{
protected:
    HostOffline()
    {
        builder.component("veltrin_base").standalone().content(main_product_script());
        builder.component("part").title("The part").content(install_script());
        builder.component("flexlm").standalone().content(install_script());
        publish();
        for (const char* name : {"veltrin_base", "part", "flexlm"})
        {
            const std::filesystem::path file = builder.file(name).path;
            dir.write("dl/" + file.filename().string(), read_file(file));
        }
    }

    std::string name_of(const std::string& component) const
    {
        return builder.file(component).path.filename().string();
    }

    ARGUMENTS offline_arguments(const ARGUMENTS& more = {}) const
    {
        ARGUMENTS arguments =
            run_arguments({"--offline", "--install-dir", installed(), "--accept-eula"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    bool output_ends_with(const std::string& text) const
    {
        return output.size() >= text.size() &&
               output.compare(output.size() - text.size(), text.size(), text) == 0;
    }

    void expect_nothing_installed() const
    {
        EXPECT_TRUE(result.exited_with(0));
        EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
        EXPECT_EQ(log().find("Run command: "), std::string::npos) << log();
        EXPECT_EQ(server.request_count(), 0U);
    }

    /// The calls of socket() by the host and all its children.
    std::string sockets_of(const ARGUMENTS& arguments) const
    {
        const std::filesystem::path trace = dir / "trace";
        CHILD_SETUP child = setup(arguments);
        child.arguments.insert(child.arguments.begin(), {"-f", "-e", "trace=socket", "-o",
                                                         trace.string(), child.program.string()});
        child.program = "strace";
        // The leak detector can't work in a process that is traced.
        child.add_sanitizer_option("detect_leaks=0");
        CHILD_PROCESS process(child);
        EXPECT_TRUE(process.wait(long_enough)) << process.output() << process.errors();
        return read_file(trace);
    }
};

}

TEST_F(HostOffline, InstallsWithoutAskingAnyServer)
{
    run(offline_arguments());
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_ends_with(
        "\nChecking file integrity ...\nAll files are complete and verified.\nDo install ...\n"
        "Installation completed successfully\n"))
        << output;
    EXPECT_FALSE(output_holds("Testing internet connection")) << output;
    EXPECT_EQ(dir.read("inst/install_order"),
              name_of("veltrin_base") + "\n" + name_of("flexlm") + "\n");
    EXPECT_EQ(server.request_count(), 0U);
    EXPECT_NE(log().find("Run command: "), std::string::npos);
    expect_log_kept();
}

TEST_F(HostOffline, OpensNoSocketOfTheNetwork)
{
    // Without this option, the trace shows them.
    EXPECT_THAT(sockets_of({"--test-download"}), HasSubstr("AF_INET"));
    const std::string sockets = sockets_of(offline_arguments());
    EXPECT_THAT(sockets, HasSubstr("+++ exited with 0 +++"));
    EXPECT_THAT(sockets, Not(HasSubstr("AF_INET")));
    EXPECT_TRUE(std::filesystem::exists(dir / "inst/install_order"));

    std::filesystem::remove(dir / "dl" / name_of("part"));
    std::filesystem::remove_all(dir / "inst");
    EXPECT_THAT(sockets_of(offline_arguments()), Not(HasSubstr("AF_INET")));
    EXPECT_FALSE(std::filesystem::exists(dir / "inst"));
}

TEST_F(HostOffline, ListsWhatIsMissingOrWrongAndInstallsNothing)
{
    const std::string base = dir.read("dl/" + name_of("veltrin_base"));
    dir.write("dl/" + name_of("veltrin_base"), base.substr(0, 10));
    std::filesystem::remove(dir / "dl" / name_of("part"));
    std::string service = dir.read("dl/" + name_of("flexlm"));
    service.back() ^= 1;
    dir.write("dl/" + name_of("flexlm"), service);
    run(offline_arguments());
    EXPECT_TRUE(
        output_holds("\nChecking file integrity ...\n"
                     "The veltrin_base part (" +
                     download(name_of("veltrin_base")) + "): 10 of " + std::to_string(base.size()) +
                     " bytes are on the disk\n"
                     "The part (" +
                     download(name_of("part")) +
                     "): the file is missing\n"
                     "The flexlm part (" +
                     download(name_of("flexlm")) + "): checksum mismatch: the release lists MD5 " +
                     builder.file("flexlm").md5 + ", the file has "))
        << output;
    EXPECT_TRUE(output_ends_with("\nNothing was installed: 3 of 3 files are missing or wrong.\n" +
                                 host_path(log_path()) + "\n"))
        << output;
    expect_nothing_installed();
    // A file that is wrong stays as evidence.
    EXPECT_EQ(dir.read("dl/" + name_of("flexlm")), service);
}

TEST_F(HostOffline, ListsAFileThatIsTooLong)
{
    const std::string file = "dl/" + name_of("part");
    dir.write(file, dir.read(file) + "more");
    run(offline_arguments());
    const std::uint64_t size = builder.file("part").size;
    EXPECT_TRUE(output_holds("The part (" + download(name_of("part")) + "): the file has " +
                             std::to_string(size + 4) + " bytes, but the release lists " +
                             std::to_string(size) + "\n"))
        << output;
    EXPECT_TRUE(output_holds("\nNothing was installed: 1 of 3 files is missing or wrong.\n"));
    expect_nothing_installed();
}

TEST_F(HostOffline, OnlyVerifiesWithoutAnInstallDirectory)
{
    run(run_arguments({"--offline"}));
    EXPECT_TRUE(output_ends_with("\nAll files are complete and verified.\n")) << output;
    std::filesystem::remove(dir / "dl" / name_of("part"));
    run(run_arguments({"--offline"}));
    EXPECT_TRUE(output_ends_with("): the file is missing\n1 of 3 files is missing or wrong.\n" +
                                 host_path(log_path()) + "\n"))
        << output;
    expect_nothing_installed();
}

TEST_F(HostOffline, NeedsOnlyTheSelectedComponents)
{
    std::filesystem::remove(dir / "dl" / name_of("part"));
    run(offline_arguments({"--components", "flexlm"}));
    EXPECT_TRUE(output_ends_with("\nInstallation completed successfully\n")) << output;
    EXPECT_EQ(dir.read("inst/install_order"), name_of("flexlm") + "\n");
}

TEST_F(HostOffline, RefusesADirectoryThatDoesNotExist)
{
    std::filesystem::remove_all(dir / "dl");
    run(offline_arguments());
    expect_stopped("The download directory " + downloads() +
                   " does not exist. With --offline, it must contain the files.\n");
    EXPECT_FALSE(std::filesystem::exists(dir / "dl"));
}

TEST_F(HostOffline, RefusesAConnectionTest)
{
    run({"--offline", "--test-download"});
    expect_stopped("--offline and --test-download cannot be used together.\n");
    EXPECT_EQ(server.request_count(), 0U);
}
