#include "tests/integration/manager_fixture.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/console/vinst_cmdline.h"
#include "install/vinst/console/vinst_console_run.h"

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
        return printed_by([&] { run_console(options, false); });
    }
};

}

TEST_F(ConsoleRun, InstallsNothingWithoutAdministratorRights)
{
    load();
    EXPECT_EQ(run(true),
              "You must run this command with administrator privileges to install the software.\n");
    EXPECT_TRUE(log_holds("[error] You must run this command with administrator privileges to "
                          "install the software."));
    EXPECT_EQ(server.requests().size(), 0U);
    EXPECT_EQ(list_tree(dir / "dl"), std::vector<std::string>{});
}

TEST_F(ConsoleRun, DownloadsWithoutAdministratorRights)
{
    load();
    const std::string printed = run(false);
    EXPECT_NE(printed.find("\nDownload successful\n"), std::string::npos) << printed;
    EXPECT_EQ(read_file(dir / "dl/one.run"), content_of("one"));
}
