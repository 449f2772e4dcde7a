#pragma once

#include "tests/harness/child_process.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/run_files.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/host_setup.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

using namespace std::chrono_literals;

using ARGUMENTS = std::vector<std::string>;

/// Runs the console host as a separate process with a release on a fault server.
class HostTest : public ::testing::Test
{
protected:
    HostTest() : builder(dir / "release")
    {
        builder.download_url(server.url("")).test_file(server.url(""));
    }

    static std::string host()
    {
        return (tested_build_dir() / "bin" / tested_console_host()).string();
    }

    /// Writes the release and serves it.
    void publish()
    {
        manifest = host_path(builder.write());
        server.serve_directory(dir / "release");
    }

    CHILD_SETUP setup(const ARGUMENTS& arguments,
                      const std::string& name = tested_console_host()) const
    {
        HOST_SETUP child{name, arguments, dir.path()};
        // Proxy detection would query the machine's name servers.
        child.environment["VINST_NO_PROXY_DISCOVERY"] = "1";
        if (!manifest.empty())
            child.environment["vinst_manifest"] = manifest;
        for (const auto& [name_of_variable, value] : environment)
            child.environment[name_of_variable] = value;
        return child.for_tested_platform();
    }

    /// The arguments of a run into the download directory, followed by `more`.
    ARGUMENTS run_arguments(const ARGUMENTS& more = {}) const
    {
        ARGUMENTS arguments{"--download-dir", downloads()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    /// Runs the host to its end.
    void run(const ARGUMENTS& arguments, const std::string& name = tested_console_host())
    {
        CHILD_PROCESS child(setup(arguments, name));
        const auto ended = child.wait(300s);
        ASSERT_TRUE(ended) << child.output() << child.errors();
        result = *ended;
        output = with_plain_line_ends(child.output());
        errors = without_lines_of_wine(with_plain_line_ends(child.errors()));
    }

    void expect_stopped(const std::string& expected_output)
    {
        EXPECT_TRUE(result.exited_with(1));
        EXPECT_EQ(output, expected_output);
    }

    // Paths as they are passed to the host and printed by it.
    std::string downloads() const { return host_path(dir / "dl"); }
    std::string installed() const { return host_path(dir / "inst"); }
    std::string download(const std::string& name) const { return host_path(dir / "dl" / name); }

    std::string log_path() const { return (dir / "dl/vinst-5.2.0.31-pro.log").string(); }
    std::string log() const { return with_plain_line_ends(read_file(log_path())); }

    /// Whether the log, which is moved at the end of a run, or another temporary file holds a text.
    bool temporary_log_holds(const std::string& text) const
    {
        return any_file_holds(dir / "tmp", text);
    }
    void expect_nothing_left_behind() const
    {
        // On Windows a removed file keeps its name until the last process has closed it; Wine's
        // console of an installer inherits the installer's output.
        if (tested_platform() == "windows")
        {
            EXPECT_TRUE(wait_until([this] { return temporary_files_in(dir / "tmp").empty(); }));
        }
        EXPECT_EQ(temporary_files_in(dir / "tmp"), std::vector<std::string>{});
    }
    void expect_log_kept() const
    {
        EXPECT_TRUE(std::filesystem::exists(log_path()));
        expect_nothing_left_behind();
    }

    bool output_holds(const std::string& text) const
    {
        return output.find(text) != std::string::npos;
    }

    TEMP_DIR dir;
    FAULT_SERVER server;
    RELEASE_BUILDER builder;
    std::string manifest;
    std::map<std::string, std::string> environment; ///< added to or replacing the usual variables
    CHILD_RESULT result;
    std::string output;
    std::string errors;
};
