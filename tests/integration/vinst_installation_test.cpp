#include "tests/integration/manager_fixture.h"

#include "install/vinst/download/vinst_installation.h"
#include "support/thr/thr_sleep.h"
#include "tests/harness/installer_scripts.h"

namespace
{

using RESULT = VINST_INSTALL_OUTCOME::RESULT;

/// Fetches a release of scripts and installs it.
class Install : public ManagerTest
{
protected:
    ~Install() override { thr_forget_stop_request(); }

    void fetch()
    {
        load();
        release->set_install_dir(QString::fromStdString((dir / "inst").string()));
        manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release);
        manager->set_components(all(), false);
        ASSERT_TRUE(manager->download(4));
    }

    std::string order() const
    {
        return std::filesystem::exists(dir / "inst/install_order") ? dir.read("inst/install_order")
                                                                   : std::string();
    }

    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
};

}

TEST_F(Install, RunsInstallersInOrder)
{
    builder.component("b").content(install_script());
    builder.component("a").content(install_script());
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "b.run\na.run\n");
    EXPECT_TRUE(log_holds("[info] Do install ...\n"));
    EXPECT_TRUE(log_holds("[info] Path: " + (dir / "inst").string() + "\n"));
    EXPECT_TRUE(log_holds(" returned 0: installed "));
}

TEST_F(Install, StopsAtTheFirstFailure)
{
    builder.component("a").content(install_script());
    builder.component("b").content(install_script(3));
    builder.component("c").content(install_script());
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::failed);
    EXPECT_EQ(order().find("c.run"), std::string::npos);
    EXPECT_TRUE(log_holds(" returned 3: "));
}

TEST_F(Install, LeavesPartsToTheMainProduct)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("part").content(install_script());
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "veltrin_base.run\n");
    EXPECT_TRUE(log_holds(" --enable-components part\n"));
    EXPECT_TRUE(log_holds("[info] Nothing to run for component: part\n"));
}

TEST_F(Install, FindsTheDeviceInstallerThatTheMainProductLaidDown)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("devinfo").no_file();
    builder.component("orion").parent("devinfo").standalone().filename("orion.vdz");
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "veltrin_base.run\ndev_install" + tested_installer_suffix() + "\n");
}

TEST_F(Install, HashesAChangedFileAgain)
{
    builder.component("a").content(install_script());
    fetch();
    // Touched, but the same.
    std::filesystem::last_write_time(
        dir / "dl/a.run", std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "a.run\n");
}

TEST_F(Install, RunsNothingThatNoLongerMatches)
{
    builder.component("a").content(install_script());
    fetch();
    std::filesystem::remove(dir / "dl/a.run");
    dir.write("dl/a.run", "#!/bin/sh\ntouch '" + (dir / "harm").string() + "'\n", 0700);
    VINST_MESSAGES::instance().echo_to_console = true;
    const std::string printed =
        printed_by([this] { EXPECT_EQ(manager->install().result, RESULT::failed); });
    EXPECT_EQ(printed, "Do install ...\nThe file " + (dir / "dl/a.run").string() +
                           " has changed since it was verified. Nothing is run.\n");
    EXPECT_FALSE(std::filesystem::exists(dir / "harm"));
}

TEST_F(Install, RunsNoMainProductWhosePartsHaveChanged)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("part").content(install_script());
    fetch();
    dir.write("dl/part.run", "changed");
    EXPECT_EQ(manager->install().result, RESULT::failed);
    EXPECT_EQ(order(), "");
}

TEST_F(Install, StartsNothingAfterAStop)
{
    builder.component("a").content(install_script());
    fetch();
    thr_request_stop();
    EXPECT_EQ(manager->install().result, RESULT::stopped);
    EXPECT_EQ(order(), "");
}

TEST_F(Install, RunsTheActionsAfterTheInstallers)
{
    builder.component("a").content(install_script());
    builder.component("first").data_type("install").no_file().cmd_exe("act").cmd_options("one two");
    builder.component("second").data_type("install").no_file().cmd_exe("act").cmd_options("three");
    builder.component("third").data_type("install").no_file().cmd_exe("act").cmd_options("skipped");
    fetch();
    component("third")->skip = 1;
    dir.make_dir("inst");
    write_file(dir / "inst/act",
               "#!/bin/sh\necho \"action $*\" >> \"$(dirname \"$0\")/install_order\"\n");
    std::filesystem::permissions(dir / "inst/act", std::filesystem::perms::owner_all);
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "a.run\naction one two\naction three\n");
}

TEST_F(Install, FailsWhenAnActionFails)
{
    builder.component("a").content(install_script());
    builder.component("act").data_type("install").no_file().cmd_exe("missing");
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::failed);
    EXPECT_TRUE(log_holds(native("/inst/missing") + " returned -1: It could not be started: "));
}

TEST_F(Install, RunsNoActionAfterAnInstallerThatFailed)
{
    builder.component("a").content(install_script(3));
    builder.component("act").data_type("install").no_file().cmd_exe("act");
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::failed);
    EXPECT_FALSE(log_holds("/inst/act"));
}
