#include "install/vinst/release/vinst_data_install.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QScopeGuard>

#include <filesystem>
#include <string>
#include <vector>

namespace
{

/// A release whose files are created in a directory as needed by the test.
class InstallCommand : public ::testing::Test
{
protected:
    InstallCommand()
    {
        release.set_download_dir(QString::fromStdString((dir / "dl").string()));
        release.set_install_dir("/opt/v");
    }

    VINST_COMPONENT* add(const QString& name, bool has_file = true, const QString& ending = ".run",
                         const QString& platform = "linux")
    {
        VINST_COMPONENT* component = release.add_component();
        component->name = name;
        component->platform = platform;
        component->filename = ending.isEmpty() ? QString() : name + ending;
        component->kind = VINST_COMPONENT_KIND::download;
        component->size = 1;
        release.index_component(component);
        if (has_file && !ending.isEmpty())
        {
            dir.write("dl/" + component->filename.toStdString(), "x");
            verify(component);
        }
        return component;
    }

    void verify(VINST_COMPONENT* component)
    {
        component->file.measure();
        component->file.begin_check();
        component->file.finish_check(
            {true, FIO_FILE_SYSTEM::identity(component->file.path().toStdString())});
    }

    VINST_COMPONENT* add_main(bool selected = true)
    {
        VINST_COMPONENT* main_product = add("veltrin_base");
        main_product->standalone = true;
        main_product->selection =
            selected ? VINST_SELECTION::selected : VINST_SELECTION::not_selected;
        return main_product;
    }

    std::string command(VINST_COMPONENT* component, bool unattended = true,
                        const QString& platform = "linux") const
    {
        return with_short_directory(
            build_install_command(*component, "veltrin_base", unattended, platform));
    }

    /// Why there is no command. A component has either a command or a reason.
    std::string reason(VINST_COMPONENT* component, const QString& platform = "linux") const
    {
        const VINST_INSTALL_STEP step =
            decide_install_step(*component, "veltrin_base", true, platform);
        EXPECT_NE(step.command.isEmpty(), step.reason_for_none.isEmpty());
        return with_short_directory(step.reason_for_none);
    }

    /// Replaces the directory's name, which differs from run to run.
    std::string with_short_directory(const QString& command_or_reason) const
    {
        std::string text = command_or_reason.toStdString();
        const std::string dl = (dir / "dl").string();
        for (std::size_t at = text.find(dl); at != std::string::npos; at = text.find(dl))
            text.replace(at, dl.size(), "DL");
        return text;
    }

    TEMP_DIR dir;
    VINST_RELEASE release;
};

}

TEST_F(InstallCommand, IsEmptyWithoutTheFile)
{
    EXPECT_EQ(command(add("tool", false)), "");
    EXPECT_EQ(command(add("group", false, "")), "");
}

TEST_F(InstallCommand, IsEmptyWhileADependencysFileIsMissing)
{
    VINST_COMPONENT* tool = add("tool");
    VINST_COMPONENT* library = add("library", false);
    tool->dependencies = {library, add("group", false, "")};
    EXPECT_EQ(command(tool), "");
    dir.write("dl/library.run", "x");
    EXPECT_NE(command(tool), "");
}

TEST_F(InstallCommand, RunsAnInstallerUnattended)
{
    EXPECT_EQ(command(add("tool")),
              native("DL/tool.run --mode unattended --unattendedmodeui minimal --accept_eula 1  "
                     "--installdir /opt/v"));
    release.unattended_ui = 0;
    EXPECT_EQ(command(add("other")),
              native("DL/other.run --mode unattended --unattendedmodeui none --accept_eula 1  "
                     "--installdir /opt/v"));
}

TEST_F(InstallCommand, AcceptsTheLicenceExceptForTheLicenceService)
{
    EXPECT_EQ(
        command(add("flexlm")),
        native("DL/flexlm.run --mode unattended --unattendedmodeui minimal --installdir /opt/v"));
}

TEST_F(InstallCommand, RunsAnAttendedInstallerInteractively)
{
    EXPECT_EQ(command(add("tool"), false), native("DL/tool.run --installdir /opt/v"));
}

TEST_F(InstallCommand, RunsAPackageOfTheWindowsInstaller)
{
    const QByteArray own_system = qgetenv("SystemRoot");
    const auto restore = qScopeGuard([&] { qputenv("SystemRoot", own_system); });
    qputenv("SystemRoot", "W:\\win");
    for (const char* ending : {".msi", ".MSI"})
    {
        VINST_COMPONENT* tool = add(QStringLiteral("tool") + ending, true, ending, "windows");
        const std::string path = with_short_directory(QDir::toNativeSeparators(tool->file.path()));
        const std::string target = "INSTALLDIR=" + QDir::toNativeSeparators("/opt/v").toStdString();
        EXPECT_EQ(command(tool, true, "windows"),
                  "W:\\win\\System32\\msiexec.exe /i " + path + " /qn /norestart " + target);
        EXPECT_EQ(command(tool, false, "windows"),
                  "W:\\win\\System32\\msiexec.exe /i " + path + " /norestart " + target);
    }
    EXPECT_EQ(command(add("package", true, ".msi")),
              native("DL/package.msi --mode unattended --unattendedmodeui minimal "
                     "--accept_eula 1  --installdir /opt/v"));
}

TEST_F(InstallCommand, NamesTheSimulatorsEdition)
{
    EXPECT_EQ(
        command(add("morlan_fe")),
        native("DL/morlan_fe.run --mode unattended --unattendedmodeui minimal --accept_eula 1  "
               "--installdir /opt/v --morlan_edition morlan_fe"));
    EXPECT_EQ(command(add("morlan_fse"), false),
              native("DL/morlan_fse.run --installdir /opt/v --morlan_edition morlan_fse"));
    EXPECT_EQ(command(add("morlan")), "");
    EXPECT_EQ(command(add("morlan_common")), "");
}

TEST_F(InstallCommand, ListsThePartsOfTheMainProduct)
{
    VINST_COMPONENT* main_product = add_main();
    add("tool");
    add("missing", false);
    add("alone")->standalone = true;
    add("loose", true, ".vdz");
    VINST_COMPONENT* group = add("devinfo", false, "");
    add("orion", true, ".vdz")->set_parent(*group);
    add("lyra", false, ".vdz")->set_parent(*group);
    add("morlan");
    add("morlan_fe");
    add("morlan_fse", false, "");
    add("driver", true, ".exe", "windows");
    EXPECT_EQ(
        command(main_product),
        native("DL/veltrin_base.run --mode unattended --unattendedmodeui minimal --accept_eula 1  "
               "--installdir /opt/v --enable-components tool,orion,morlan_fe "
               "--disable-components missing,alone,lyra,morlan_fse"));
}

TEST_F(InstallCommand, EnablesOnlyPartsThatAreVerified)
{
    VINST_COMPONENT* main_product = add_main();
    add("tool")->file.forget_check();
    add("changed");
    dir.write("dl/changed.run", "other content");
    add("good");
    EXPECT_EQ(command(main_product, false),
              native("DL/veltrin_base.run --installdir /opt/v --enable-components good "
                     "--disable-components tool,changed"));
}

TEST_F(InstallCommand, InstallsAnEditionFromTheFileOfItsParent)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* simulator = add("morlan");
    VINST_COMPONENT* edition = add("morlan_fe", false, "");
    edition->parent = simulator;
    EXPECT_EQ(command(main_product, false),
              native("DL/veltrin_base.run --installdir /opt/v --enable-components morlan_fe"));
    main_product->selection = VINST_SELECTION::not_selected;
    EXPECT_EQ(command(edition, false),
              native("DL/morlan.run --installdir /opt/v --morlan_edition morlan_fe"));
    std::filesystem::remove(dir / "dl/morlan.run");
    EXPECT_EQ(command(edition, false), "");
}

TEST_F(InstallCommand, IsEmptyForAGroupBelowAComponentWithAFile)
{
    VINST_COMPONENT* group = add("devinfo", false, "");
    group->parent = add("tool");
    EXPECT_EQ(command(group), "");
}

TEST_F(InstallCommand, OmitsEmptyListsOfParts)
{
    VINST_COMPONENT* main_product = add_main();
    EXPECT_EQ(command(main_product, false), native("DL/veltrin_base.run --installdir /opt/v"));
    add("missing", false);
    EXPECT_EQ(command(main_product, false),
              native("DL/veltrin_base.run --installdir /opt/v --disable-components missing"));
}

TEST_F(InstallCommand, SkipsTheMainProductsChecksumCheckOnWindows)
{
    EXPECT_EQ(
        command(add_main(), true, "windows"),
        native("DL/veltrin_base.run --mode unattended --unattendedmodeui minimal --accept_eula 1  "
               "--skip_checksum 1  --installdir /opt/v"));
}

TEST_F(InstallCommand, EndsWithTheShortcutOptionsOfThePlatform)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* other = add("desktop_shortcuts", false, "", "windows");
    other->kind = VINST_COMPONENT_KIND::install;
    other->cmd_options = "--windows 1";
    VINST_COMPONENT* action = add("desktop_shortcuts", false, "");
    action->kind = VINST_COMPONENT_KIND::install;
    action->cmd_options = "--shortcuts 1 --menu 1";
    EXPECT_EQ(command(main_product, false),
              native("DL/veltrin_base.run --installdir /opt/v --shortcuts 1 --menu 1"));
}

TEST_F(InstallCommand, IsEmptyForPartsOfASelectedMainProduct)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* tool = add("tool");
    VINST_COMPONENT* alone = add("alone");
    alone->standalone = true;
    EXPECT_EQ(command(tool), "");
    EXPECT_NE(command(alone), "");
    main_product->selection = VINST_SELECTION::not_selected;
    EXPECT_NE(command(tool), "");
    main_product->selection = VINST_SELECTION::partly_selected;
    EXPECT_EQ(command(tool), "");
    std::filesystem::remove(dir / "dl/veltrin_base.run");
    EXPECT_NE(command(tool), "");
}

TEST_F(InstallCommand, IsEmptyForAMainProductThatIsNotStandalone)
{
    VINST_COMPONENT* main_product = add_main();
    main_product->standalone = false;
    EXPECT_EQ(command(main_product), "");
}

TEST_F(InstallCommand, PassesADeviceToTheDeviceInstaller)
{
    const std::string install = (dir / "inst").string();
    release.set_install_dir(QString::fromStdString(install));
    VINST_COMPONENT* group = add("devinfo", false, "");
    VINST_COMPONENT* orion = add("orion", true, ".vdz");
    orion->set_parent(*group);
    EXPECT_EQ(command(orion), "");
    EXPECT_EQ(command(add("loose", true, ".vdz")), "");

    const std::string installer = native(install + "/") + "devices/dev_install/dev_install.run";
    dir.write("inst/devices/dev_install/dev_install.run", "x");
    const std::string start = installer +
                              " --mode unattended --unattendedmodeui minimal --accept_eula 1  "
                              "--downloaddir DL --installdir " +
                              install + "  --enable-components orion";
    EXPECT_EQ(command(orion), start);
    add("lyra", false, ".vdz")->set_parent(*group);
    add("vega", false, ".vdz", "windows")->set_parent(*group);
    add("orion", false, ".vdz", "windows")->set_parent(*group);
    EXPECT_EQ(command(orion), start + " --disable-components lyra,vega");
    EXPECT_EQ(command(orion, false), start + " --disable-components lyra,vega");
}

TEST_F(InstallCommand, UsesTheDeviceInstallersNameOnWindows)
{
    release.set_install_dir(QString::fromStdString((dir / "inst").string()));
    VINST_COMPONENT* group = add("devinfo", false, "", "windows");
    VINST_COMPONENT* vega = add("vega", true, ".vdz", "windows");
    vega->set_parent(*group);
    dir.write("inst/devices/dev_install/dev_install.exe", "x");
    EXPECT_NE(command(vega, true, "windows").find("/dev_install.exe --mode"), std::string::npos);
}

TEST_F(InstallCommand, QuotesPartsWithBlanks)
{
    release.set_download_dir(QString::fromStdString((dir / "d l").string()));
    release.set_install_dir("/opt/my \"v\"");
    dir.write("d l/tool.run", "x");
    VINST_COMPONENT* tool = add("tool", false);
    EXPECT_EQ(command(tool, false), native('"' + (dir / "d l").string() +
                                           "/tool.run\" --installdir \"/opt/my \"\"\"v\"\"\"\""));
}

TEST_F(InstallCommand, SurvivesAComponentWithoutAPlatform)
{
    EXPECT_NE(command(add("any", true, ".run", "")), "");
    EXPECT_NE(command(add("odd", true, ".run", "solaris")), "");
}

TEST_F(InstallCommand, MakesVerifiedRunFilesExecutableForTheirOwner)
{
    using std::filesystem::perms;
    add("tool")->file.make_installer_executable();
    EXPECT_EQ(std::filesystem::status(dir / "dl/tool.run").permissions(), perms::owner_all);
    const auto before = std::filesystem::status(dir / "dl").permissions();
    VINST_COMPONENT* archive = add("orion", true, ".vdz");
    const auto mode = std::filesystem::status(dir / "dl/orion.vdz").permissions();
    archive->file.make_installer_executable();
    EXPECT_EQ(std::filesystem::status(dir / "dl/orion.vdz").permissions(), mode);
    EXPECT_EQ(std::filesystem::status(dir / "dl").permissions(), before);
}

TEST_F(InstallCommand, MatchesWhatInstallersExpectOnWindows)
{
    VINST_COMPONENT* main_product = add("veltrin_base", true, ".exe", "windows");
    main_product->standalone = true;
    main_product->selection = VINST_SELECTION::selected;
    add("help", true, ".exe", "windows");
    add("vprogrammer", false, ".exe", "windows");
    VINST_COMPONENT* action = add("desktop_shortcuts", false, "", "windows");
    action->kind = VINST_COMPONENT_KIND::install;
    action->cmd_options = "--shortcuts 1";
    EXPECT_EQ(
        command(main_product, true, "windows"),
        native("DL/veltrin_base.exe --mode unattended --unattendedmodeui minimal --accept_eula 1  "
               "--skip_checksum 1  --installdir /opt/v --enable-components help "
               "--disable-components vprogrammer --shortcuts 1"));
}

TEST_F(InstallCommand, ShowsTheMinimalInterfaceForEveryNonZeroSetting)
{
    release.unattended_ui = -1;
    EXPECT_EQ(
        command(add("flexlm")),
        native("DL/flexlm.run --mode unattended --unattendedmodeui minimal --installdir /opt/v"));
}

TEST_F(InstallCommand, IsEmptyIfADirectoryIsInPlaceOfTheFile)
{
    VINST_COMPONENT* tool = add("tool", false);
    dir.make_dir("dl/tool.run");
    EXPECT_FALSE(tool->file.exists());
    EXPECT_EQ(command(tool), "");
}

TEST_F(InstallCommand, IsEmptyForTheMainProductWhileADependencysFileIsMissing)
{
    VINST_COMPONENT* main_product = add_main();
    main_product->dependencies = {add("library", false)};
    EXPECT_EQ(command(main_product), "");
}

TEST_F(InstallCommand, IsEmptyForAStandaloneArchive)
{
    VINST_COMPONENT* loose = add("loose", true, ".vdz");
    loose->standalone = true;
    EXPECT_EQ(command(loose), "");
    EXPECT_EQ(command(add_main(), false),
              native("DL/veltrin_base.run --installdir /opt/v --disable-components loose"));
}

TEST_F(InstallCommand, IsEmptyIfADirectoryIsInPlaceOfTheDeviceInstaller)
{
    release.set_install_dir(QString::fromStdString((dir / "inst").string()));
    dir.make_dir("inst/devices/dev_install/dev_install.run");
    VINST_COMPONENT* orion = add("orion", true, ".vdz");
    orion->set_parent(*add("devinfo", false, ""));
    EXPECT_EQ(command(orion), "");
}

TEST_F(InstallCommand, InstallsAStandaloneDeviceWithASelectedMainProduct)
{
    add_main();
    release.set_install_dir(QString::fromStdString((dir / "inst").string()));
    dir.write("inst/devices/dev_install/dev_install.run", "x");
    VINST_COMPONENT* family = add("family", false, "");
    family->set_parent(*add("devinfo", false, ""));
    VINST_COMPONENT* orion = add("orion", true, ".vdz");
    orion->set_parent(*family);
    EXPECT_EQ(command(orion), "");
    orion->standalone = true;
    EXPECT_NE(command(orion).find("dev_install.run --mode unattended"), std::string::npos);
}

TEST_F(InstallCommand, OmitsShortcutsIfTheUserSkipsThem)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* action = add("desktop_shortcuts", false, "");
    action->kind = VINST_COMPONENT_KIND::install;
    action->cmd_options = "--shortcuts 1";
    const std::string with_shortcuts = command(main_product);
    action->skip = 1;
    EXPECT_EQ(command(main_product) + " --shortcuts 1", with_shortcuts);
}

TEST_F(InstallCommand, KeepsShortcutsWhenTheInstallerIsRunManually)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* action = add("desktop_shortcuts", false, "");
    action->kind = VINST_COMPONENT_KIND::install;
    action->cmd_options = "--shortcuts 1";
    const QString offered = build_install_command(*main_product, "veltrin_base", false, "linux");
    EXPECT_TRUE(offered.endsWith(" --shortcuts 1"));
    action->skip = 1;
    EXPECT_EQ(build_install_command(*main_product, "veltrin_base", false, "linux"), offered);
}

namespace
{

class NoInstallCommand : public InstallCommand
{
};

}

TEST_F(NoInstallCommand, HasNoReasonIfThereIsACommand)
{
    EXPECT_EQ(reason(add("tool")), "");
    EXPECT_EQ(reason(add("any", true, ".run", "")), "");
    EXPECT_EQ(reason(add_main()), "");
}

TEST_F(NoInstallCommand, IsDueToAMissingFile)
{
    EXPECT_EQ(reason(add("group", false, "")), "it has no file to install");
    EXPECT_EQ(reason(add("tool", false)), native("its file is missing (DL/tool.run)"));
}

TEST_F(NoInstallCommand, IsDueToMissingDependencies)
{
    VINST_COMPONENT* tool = add("tool");
    VINST_COMPONENT* library = add("library", false);
    library->title = "The\nlibrary";
    tool->dependencies = {add("there"), library, add("group", false, "")};
    EXPECT_EQ(reason(tool), "its dependency The\uFFFDlibrary has not been downloaded");
    tool->dependencies.push_back(add("other", false));
    EXPECT_EQ(reason(tool), "its dependencies The\uFFFDlibrary, other have not been downloaded");
}

TEST_F(NoInstallCommand, IsDueToTheMainProduct)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* tool = add("tool");
    const std::string left_to_it =
        "it is installed by the main product's installer, which was not run";
    EXPECT_EQ(reason(tool), left_to_it);
    EXPECT_EQ(reason(add("morlan_fe")), left_to_it);
    main_product->standalone = false;
    EXPECT_EQ(reason(main_product), "the manifest does not mark the main product as standalone");
    EXPECT_EQ(reason(tool), left_to_it);
    main_product->selection = VINST_SELECTION::not_selected;
    EXPECT_EQ(reason(tool), "");
    EXPECT_EQ(reason(main_product), "");
}

TEST_F(NoInstallCommand, IsDueToTheKindOfComponent)
{
    for (const bool selected : {false, true})
    {
        add_main(selected);
        EXPECT_EQ(reason(add("loose", true, ".vdz")),
                  "it has no separate installer, because it is a device archive outside the device "
                  "group");
        for (const char* name : {"morlan", "morlan_common"})
            EXPECT_EQ(reason(add(name)),
                      "it is installed with a simulator edition, and none was installed");
    }
}

TEST_F(NoInstallCommand, IsDueToAMissingDeviceInstaller)
{
    VINST_COMPONENT* orion = add("orion", true, ".vdz");
    orion->set_parent(*add("devinfo", false, ""));
    EXPECT_EQ(reason(orion), native("its device installer was not in the install directory "
                                    "(/opt/v/devices/dev_install/dev_install.run)"));
    orion->platform = "windows";
    EXPECT_EQ(reason(orion), native("its device installer was not in the install directory "
                                    "(/opt/v/devices/dev_install/dev_install.exe)"));
}

TEST_F(InstallCommand, NamesThePartsThatItEnablesInTheMainProduct)
{
    VINST_COMPONENT* main_product = add_main();
    VINST_COMPONENT* tool = add("tool");
    add("missing", false);
    add("alone")->standalone = true;
    add("loose", true, ".vdz");
    add("morlan");
    add("morlan_fe");
    const auto parts = [](VINST_COMPONENT* component)
    { return decide_install_step(*component, "veltrin_base", true, "linux").parts; };
    EXPECT_EQ(parts(main_product), QStringList({"tool", "morlan_fe"}));
    EXPECT_EQ(parts(tool), QStringList());
    main_product->selection = VINST_SELECTION::not_selected;
    EXPECT_EQ(parts(tool), QStringList());
    main_product->selection = VINST_SELECTION::selected;
    main_product->standalone = false;
    EXPECT_EQ(parts(main_product), QStringList());
}

TEST_F(InstallCommand, IsNotRequiredForPartsThatOthersInstall)
{
    struct CASE
    {
        const char* name;
        QStringList installed;
        bool is_installed;
    };
    for (const CASE& each : std::vector<CASE>{
             {"tool", {}, false},
             {"tool", {"veltrin_base", "other"}, false},
             {"tool", {"veltrin_base", "tool"}, true},
             {"morlan", {"veltrin_base"}, false},
             {"morlan", {"veltrin_base", "morlan_fse"}, true},
             {"morlan_common", {"morlan_fe"}, true},
             {"morlan_common", {"morlan"}, false},
             {"morlan_fe", {"morlan_fse"}, false},
             {"morlan_fe", {"morlan_fe"}, true},
         })
    {
        EXPECT_EQ(is_installed_by_others(*add(each.name), each.installed), each.is_installed)
            << each.name << " with " << each.installed.join(' ').toStdString();
    }
}

namespace
{

class ActionCommand : public InstallCommand
{
protected:
    ActionCommand()
    {
        action = add("notify", false, "");
        action->kind = VINST_COMPONENT_KIND::install;
        action->cmd_exe = "bin/notify";
        action->cmd_options = "--level 2";
    }

    std::string command() const { return build_action_command(*action, "linux").toStdString(); }

    VINST_COMPONENT* action;
};

}

TEST_F(ActionCommand, RunsInTheInstallDirectory)
{
    EXPECT_EQ(command(), native("/opt/v/bin/notify --level 2"));
    release.set_install_dir("/opt/my v");
    EXPECT_EQ(command(), native("\"/opt/my v/bin/notify\" --level 2"));
    action->cmd_options.clear();
    EXPECT_EQ(command(), native("\"/opt/my v/bin/notify\""));
}

TEST_F(ActionCommand, IsEmptyWithoutAProgram)
{
    action->cmd_exe.clear();
    EXPECT_EQ(command(), "");
}

TEST_F(ActionCommand, IsEmptyIfTheUserSkipsIt)
{
    action->skip = 1;
    EXPECT_EQ(command(), "");
}

TEST_F(ActionCommand, BelongsToItsParentOrTheMainProduct)
{
    EXPECT_EQ(owner_of_action(*action, "linux"), nullptr);
    VINST_COMPONENT* main_product = add_main(false);
    EXPECT_EQ(owner_of_action(*action, "linux"), main_product);
    EXPECT_EQ(owner_of_action(*action, "windows"), nullptr);
    EXPECT_EQ(command(), "");
    action->set_parent(*add("tools"));
    EXPECT_EQ(owner_of_action(*action, "linux"), action->parent);
    action->parent->selection = VINST_SELECTION::partly_selected;
    EXPECT_EQ(command(), native("/opt/v/bin/notify --level 2"));
}
