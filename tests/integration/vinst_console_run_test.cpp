#include "tests/integration/manager_fixture.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/console/vinst_cmdline.h"
#include "install/vinst/console/vinst_console_run.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <optional>
#include <thread>

using namespace std::chrono_literals;

namespace
{

/// A user who is not an administrator runs a release of one component.
class ConsoleRun : public ManagerTest
{
protected:
    ConsoleRun()
    {
        VINST_MESSAGES::instance().echo_to_console = true;
        builder.component("one").pattern_content(3000, 1);
    }

    std::string run(bool auto_install)
    {
        VINST_OPTIONS options;
        options.platform = host_platform().toStdString();
        options.auto_install = auto_install;
        options.release = std::move(release);
        options.selected_components = {options.release->find_component("one", host_platform())};
        return printed_by([&] { outcome = run_console(options, false).outcome; });
    }

    VINST_RUN_OUTCOME outcome = VINST_RUN_OUTCOME::stopped;
};

}

TEST_F(ConsoleRun, InstallsNothingWithoutAdministratorRights)
{
    load();
    EXPECT_EQ(run(true),
              "You must run this command with administrator privileges to install the software.\n");
    EXPECT_TRUE(log_holds("[error] You must run this command with administrator privileges to "
                          "install the software."));
    EXPECT_EQ(outcome, VINST_RUN_OUTCOME::refused);
    EXPECT_EQ(server.requests().size(), 0U);
    EXPECT_EQ(list_tree(dir / "dl"), std::vector<std::string>{});
}

TEST_F(ConsoleRun, DownloadsWithoutAdministratorRights)
{
    load();
    const std::string printed = run(false);
    EXPECT_EQ(outcome, VINST_RUN_OUTCOME::complete);
    EXPECT_NE(printed.find("\nDownload successful\n"), std::string::npos) << printed;
    EXPECT_EQ(read_file(dir / "dl/one.run"), content_of("one"));
}

TEST_F(ConsoleRun, EndsTheWaitForARetryOnEveryKindOfStop)
{
    load();
    server.set_faults("/one.run", {FAULT::status(503)});
    std::optional<STOPWATCH> since_stop;
    std::thread stopper(
        [&]
        {
            EXPECT_TRUE(wait_until([this] { return log_holds("Retrying #1 after 5 secs"); }));
            since_stop.emplace();
            request_shutdown();
        });
    const std::string printed = run(false);
    const MEASURED_TIME taken = since_stop->elapsed();
    stopper.join();
    EXPECT_TRUE(taken.within(2s));
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    EXPECT_NE(printed.find("Download stopped"), std::string::npos) << printed;
}
