#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/wait_until.h"

#include <csignal>

namespace
{

/// Runs that end in every possible way, each with and without --strict.
class HostOutcome : public HostTest
{
protected:
    /// \param strict_code  the exit code with --strict
    void expect_codes(const ARGUMENTS& arguments, int strict_code, int usual_code = 0)
    {
        run(arguments);
        EXPECT_TRUE(result.exited_with(usual_code)) << output;
        std::filesystem::remove_all(dir / "inst");
        std::filesystem::remove_all(dir / "dl");
        ARGUMENTS strict = arguments;
        strict.emplace_back("--strict");
        run(strict);
        EXPECT_TRUE(result.exited_with(strict_code)) << result.exit_code << '\n' << output;
    }

    /// The arguments of a run without retries.
    ARGUMENTS once(const ARGUMENTS& more = {}) const
    {
        ARGUMENTS arguments = run_arguments({"--retry-duration", "0"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    ARGUMENTS installing() const { return once({"--install-dir", installed(), "--accept-eula"}); }
};

}

TEST_F(HostOutcome, IsZeroWhenAllIsDone)
{
    builder.component("one").standalone().content(install_script());
    publish();
    expect_codes(once(), 0);
    expect_codes(installing(), 0);
    EXPECT_TRUE(output_holds("Installation completed successfully\n")) << output;
}

TEST_F(HostOutcome, ReportsAnIncompleteDownload)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(4000, 2);
    publish();
    server.set_faults("/one.run", {FAULT::status(503)});
    expect_codes(once(), 3);
    EXPECT_TRUE(output_holds("Download failed")) << output;
}

TEST_F(HostOutcome, ReportsAWrongChecksum)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(4000, 2);
    publish();
    server.set_faults("/one.run", {FAULT::other_body(std::string(3000, 'x'))});
    server.set_faults("/two.run", {FAULT::status(503)});
    expect_codes(once(), 4);
}

TEST_F(HostOutcome, ReportsAFailedInstallation)
{
    builder.component("one").standalone().content(install_script(9));
    publish();
    expect_codes(installing(), 5);
    EXPECT_TRUE(output_holds("Installation cancelled or finished with error\n")) << output;
}

TEST_F(HostOutcome, CountsAComponentThatWasNotInstalledAsAFailedInstallation)
{
    builder.component("one").standalone().content(install_script());
    builder.component("morlan").content(install_script());
    publish();
    expect_codes(installing(), 5);
    EXPECT_TRUE(output_holds("was not installed: ")) << output;
    EXPECT_TRUE(output_holds("Installation completed successfully\n")) << output;
}

TEST_F(HostOutcome, ReportsThatThereIsNothingToInstall)
{
    builder.component("veltrin_base").content(main_product_script());
    publish();
    expect_codes(installing(), 6);
    EXPECT_TRUE(output_holds("Nothing was installed: ")) << output;
}

TEST_F(HostOutcome, ReportsAMissingConnection)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::status(404)});
    expect_codes(once(), 7);
    expect_codes({"--test-download"}, 7, 1);
    server.set_faults("/test.txt", {});
    expect_codes({"--test-download"}, 0, 1);
}

TEST_F(HostOutcome, IsOneForWhatIsNotStarted)
{
    builder.component("one").content(install_script());
    publish();
    expect_codes(run_arguments({"--parallel-downloads", "7"}), 1, 1);
    expect_codes({"--help"}, 1, 1);
    dir.make_dir("full");
    write_file(dir / "full/file", "x");
    expect_codes(once({"--install-dir", host_path(dir / "full"), "--accept-eula"}), 1);
    EXPECT_TRUE(output_holds("The installation directory is not empty.")) << output;
}
