#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/wait_until.h"

#include <csignal>
#include <thread>

namespace
{

/// A user stops the run by Ctrl-C in the terminal or console.
class HostStop : public HostTest
{
protected:
    CHILD_SETUP setup_on_terminal(const ARGUMENTS& more = {}) const
    {
        CHILD_SETUP terminal = setup(run_arguments(more));
        terminal.terminal = CHILD_TERMINAL{};
        return terminal;
    }

    void wait_for_bytes(const std::string& name, std::uintmax_t count) const
    {
        ASSERT_TRUE(wait_until([&] { return size_of_file(dir / name) >= count; }));
    }

    void expect_end_by_control_c(CHILD_PROCESS& child)
    {
        child.type("\x03");
        const auto ended = child.wait(long_enough);
        ASSERT_TRUE(ended);
        // Wine passes on only the last byte of the code 0xC000013A.
        if (tested_platform() == "windows")
            EXPECT_TRUE(ended->exited_with(0x3A)) << ended->exit_code;
        else
            EXPECT_EQ(ended->signal, SIGINT);
    }
};

}

TEST_F(HostStop, ByControlCKeepsPartialFiles)
{
    builder.component("one").pattern_content(3'000'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    CHILD_PROCESS child(setup_on_terminal());
    wait_for_bytes("dl/one.run", 4000);
    expect_end_by_control_c(child);
    EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos) << log();
    const std::string bytes = dir.read("dl/one.run");
    EXPECT_GE(bytes.size(), 4000U);
    EXPECT_EQ(bytes, read_file(builder.file("one").path).substr(0, bytes.size()));
}

TEST_F(HostStop, ByControlCEndsTheInstaller)
{
    builder.component("one").content(hanging_install_script());
    builder.component("two").content(install_script());
    publish();
    CHILD_PROCESS child(setup_on_terminal({"--install-dir", installed(), "--accept-eula"}));
    wait_for_bytes("inst/install_order", 1);
    expect_end_by_control_c(child);
    EXPECT_NE(log().find("Stop requested, ending the installer"), std::string::npos) << log();
    EXPECT_EQ(read_file(dir / "inst/install_order"), "one.run\n");
}
