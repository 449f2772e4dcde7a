#include "tests/integration/manager_fixture.h"

#include "install/vinst/download/vinst_installation.h"
#include "support/thr/thr_sleep.h"
#include "tests/harness/installer_scripts.h"

#include <QDir>

namespace
{

using RESULT = VINST_INSTALL_OUTCOME::RESULT;

/// Fetches a release of scripts and installs it.
class Install : public ManagerTest
{
protected:
    void fetch()
    {
        load();
        fetch(all());
    }

    void fetch_only(const QString& name)
    {
        load();
        fetch({component(name)});
    }

    void fetch(const VINST_COMPONENT_LIST& components)
    {
        release->set_install_dir(QString::fromStdString((dir / "inst").string()));
        manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release, quiet_view);
        manager->set_components(components, false);
        ASSERT_TRUE(manager->download(4));
    }

    std::string order() const
    {
        return std::filesystem::exists(dir / "inst/install_order") ? dir.read("inst/install_order")
                                                                   : std::string();
    }

    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
};

/// Records which installers are announced, and which components they have installed.
class INSTALLER_VIEW final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_installer(VINST_COMPONENT* component, int number, int count) override
    {
        begun.append(QStringLiteral("%1 %2/%3").arg(component->name).arg(number).arg(count));
    }
    void show_installer_end(VINST_COMPONENT* component, const QString& failure) override
    {
        if (failure.isEmpty())
            installed.append(component->name);
    }

    QStringList begun;
    QStringList installed;
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

TEST_F(Install, LetsTheMainProductInstallItsParts)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("part").content(install_script());
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "veltrin_base.run\n");
    EXPECT_TRUE(log_holds(" --enable-components part\n"));
    EXPECT_TRUE(log_holds("[info] Nothing to run for component: part\n"));
}

TEST_F(Install, EnablesPartsOfAnEarlierRunThatAreIntact)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("intact").content(install_script());
    builder.component("damaged").content(install_script());
    builder.component("partial").content(install_script());
    fetch_only("veltrin_base");
    dir.write("dl/intact.run", content_of("intact"));
    std::string damaged = content_of("damaged");
    damaged.back() ^= 1;
    dir.write("dl/damaged.run", damaged);
    dir.write("dl/partial.run", content_of("partial").substr(0, 20));
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_TRUE(log_holds(" --enable-components intact --disable-components damaged,partial\n"));
}

TEST_F(Install, EnablesAnEditionThatItsParentsFileInstalls)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("morlan").content(install_script());
    builder.component("morlan_fe").parent("morlan").no_file();
    fetch();
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.not_installed, QStringList());
    EXPECT_TRUE(log_holds(" --enable-components morlan_fe\n"));
}

TEST_F(Install, FindsTheDeviceInstallerFromTheMainProduct)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("devinfo").no_file();
    builder.component("orion").parent("devinfo").standalone().filename("orion.vdz");
    fetch();
    EXPECT_EQ(manager->install().result, RESULT::installed);
    EXPECT_EQ(order(), "veltrin_base.run\ndev_install" + tested_installer_suffix() + "\n");
}

TEST_F(Install, RehashesAChangedFile)
{
    builder.component("a").content(install_script());
    fetch();
    // A new modification time, but the same content.
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

TEST_F(Install, SkipsActionsOfAComponentThatWasNotInstalled)
{
    builder.component("a").content(install_script());
    builder.component("loose").filename("loose.vdz");
    builder.component("act").data_type("install").no_file().parent("loose").cmd_exe("missing");
    fetch();
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.result, RESULT::installed);
    EXPECT_EQ(outcome.not_installed.size(), 1);
    EXPECT_TRUE(
        log_holds("Skipping the action act because its component was not installed: loose\n"));
    EXPECT_FALSE(log_holds("missing returned"));
}

TEST_F(Install, RunsNoActionWhenNothingWasInstalled)
{
    builder.component("loose").filename("loose.vdz");
    // It belongs to no component, so that only the empty installation prevents it.
    builder.component("act").data_type("install").no_file().cmd_exe("missing");
    fetch();
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.result, RESULT::nothing_to_install);
    EXPECT_EQ(outcome.reason, "none of the components has an installer to run");
    EXPECT_FALSE(log_holds("Run command: "));
}

TEST_F(Install, CountsAPartListedBeforeTheMainProductAsInstalled)
{
    builder.component("part").content(install_script());
    builder.component("morlan").content(install_script());
    builder.component("morlan_fe").parent("morlan").content(install_script());
    builder.component("veltrin_base").standalone().content(main_product_script());
    fetch();
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.result, RESULT::installed);
    EXPECT_EQ(outcome.not_installed, QStringList());
    EXPECT_TRUE(log_holds(" --enable-components part,morlan_fe\n"));
}

TEST_F(Install, NamesTheSimulatorWhenTheMainProductInstalledNoEdition)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("morlan").content(install_script());
    fetch();
    EXPECT_EQ(manager->install().not_installed,
              QStringList("The morlan part was not installed: it is installed with a simulator "
                          "edition, and none was installed."));
}

TEST_F(Install, NamesAFileThatVanishedAfterItsCheck)
{
    builder.component("a").content(install_script());
    fetch();
    std::filesystem::remove(dir / "dl/a.run");
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.result, RESULT::nothing_to_install);
    EXPECT_EQ(outcome.not_installed,
              QStringList("The a part was not installed: its file is missing (" +
                          QDir::toNativeSeparators(component("a")->file.path()) + ")."));
}

TEST_F(Install, NamesWhatHadNoInstallerBeforeAFailure)
{
    builder.component("loose").filename("loose.vdz");
    builder.component("a").content(install_script(3));
    builder.component("other").filename("other.vdz");
    fetch();
    const VINST_INSTALL_OUTCOME outcome = manager->install();
    EXPECT_EQ(outcome.result, RESULT::failed);
    ASSERT_EQ(outcome.not_installed.size(), 1);
    EXPECT_TRUE(outcome.not_installed.first().startsWith("The loose part was not installed: "));
    EXPECT_EQ(install_verdict(outcome), "Installation cancelled or finished with error");
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

TEST_F(Install, CountsOnlyTheInstallersThatRun)
{
    builder.component("early").content(install_script());
    builder.component("devinfo").no_file();
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("late").content(install_script());
    builder.component("orion").parent("devinfo").standalone().filename("orion.vdz");
    builder.component("own").standalone().content(install_script());
    builder.component("loose").filename("loose.vdz");
    fetch();
    INSTALLER_VIEW view;
    const VINST_INSTALL_OUTCOME outcome =
        run_installation(*release, manager->passed_components(), view, [] { return false; });
    EXPECT_EQ(outcome.result, RESULT::installed);
    QStringList begun{"veltrin_base 1/3", "orion 2/3", "own 3/3"};
    view.begun.sort();
    view.installed.sort();
    begun.sort();
    EXPECT_EQ(view.begun, begun);
    EXPECT_EQ(view.installed, QStringList({"early", "late", "orion", "own", "veltrin_base"}));
}
