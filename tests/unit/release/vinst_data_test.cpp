#include "install/vinst/release/vinst_data.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QDir>

namespace
{

VINST_COMPONENT* add(VINST_RELEASE& release, const QString& name, const QString& platform)
{
    VINST_COMPONENT* component = release.add_component();
    component->name = name;
    component->platform = platform;
    release.index_component(component);
    return component;
}

}

TEST(ReleaseVersion, IsSplitByTheNumberOfItsParts)
{
    struct CASE
    {
        const char* text;
        const char* version;
        const char* short_version;
        const char* build;
        const char* update;
    };
    for (const CASE& c :
         {CASE{"", "", "", "", ""}, CASE{"5", "5", "", "", ""}, CASE{"5.2", "5.2", "5.2", "", ""},
          CASE{"5.2.31", "5.2.31", "5.2", "31", ""}, CASE{"5.2.0.31", "5.2.0.31", "5.2", "31", "0"},
          CASE{"5.2.0.31.1", "5.2.0.31", "5.2", "31.1", "0"},
          CASE{"5.2.0.31.1.9", "5.2.0.31", "5.2", "31.1", "0"}})
    {
        VINST_RELEASE release;
        release.set_version(c.text);
        EXPECT_EQ(release.version, c.version) << c.text;
        EXPECT_EQ(release.short_version, c.short_version) << c.text;
        EXPECT_EQ(release.build_number, c.build) << c.text;
        EXPECT_EQ(release.update_number, c.update) << c.text;
    }
}

TEST(FindComponent, DistinguishesPlatforms)
{
    VINST_RELEASE release;
    VINST_COMPONENT* windows = add(release, "a", "windows");
    VINST_COMPONENT* linux_one = add(release, "a", "linux");
    add(release, "a", "linux");
    EXPECT_EQ(release.find_component("a", "linux"), linux_one);
    EXPECT_EQ(release.find_component("a", "windows"), windows);
    EXPECT_EQ(release.find_component("a", ""), nullptr);
    EXPECT_EQ(release.find_component("A", "linux"), nullptr);
}

TEST(FindComponent, LetsAComponentWithoutAPlatformSuitEveryPlatformInManifestOrder)
{
    VINST_RELEASE release;
    VINST_COMPONENT* linux_b = add(release, "b", "linux");
    VINST_COMPONENT* any_a = add(release, "a", "");
    add(release, "a", "linux");
    VINST_COMPONENT* any_b = add(release, "b", "");
    EXPECT_EQ(release.find_component("a", "linux"), any_a);
    EXPECT_EQ(release.find_component("a", "windows"), any_a);
    EXPECT_EQ(release.find_component("a", ""), any_a);
    EXPECT_EQ(release.find_component("b", "linux"), linux_b);
    EXPECT_EQ(release.find_component("b", "windows"), any_b);
}

TEST(FindComponentDeathTest, AssertsThePlatform)
{
    const VINST_RELEASE release;
    EXPECT_DEATH(release.find_component("a", "macos"),
                 "platform == \"\" \\|\\| platform == \"linux\" \\|\\| platform == \"windows\"");
}

TEST(DefaultDirectories, NameTheEditionAndTheShortVersion)
{
    VINST_RELEASE release;
    release.edition = "pro";
    release.set_version("5.2.0.31");
    EXPECT_EQ(release.default_download_dir(),
              native(QDir::homePath() + "/Downloads/orvaneFPGA_pro_5.2"));
    EXPECT_EQ(QDir::fromNativeSeparators(release.default_install_dir("linux")),
              QDir::fromNativeSeparators("C:\\orvaneFPGA_pro/5.2"));
    EXPECT_EQ(release.install_dir(), native(QStringLiteral("C:\\orvaneFPGA_pro/5.2")));
    EXPECT_EQ(release.default_install_dir("windows"),
              native(QStringLiteral("C:\\orvaneFPGA_pro/5.2")));
}

TEST(DefaultDirectories, AreTheManifestsIfItNamesThem)
{
    VINST_RELEASE release;
    release.installdir_linux = "/opt//orvane/./5.2/";
    release.installdir_windows = "D:/orvane";
    EXPECT_EQ(QDir::fromNativeSeparators(release.default_install_dir("linux")), "/opt/orvane/5.2");
    EXPECT_EQ(release.install_dir(), native(QStringLiteral("/opt/orvane/5.2")));
    EXPECT_EQ(release.default_install_dir("windows"), native(QStringLiteral("D:/orvane")));
}

TEST(DefaultDirectoriesDeathTest, AssertThePlatform)
{
    VINST_RELEASE release;
    EXPECT_DEATH(release.default_install_dir(""),
                 "platform == \"linux\" \\|\\| platform == \"windows\"");
}

TEST(StoredDirectories, AreCleanAndWithoutATrailingSeparator)
{
    VINST_RELEASE release;
    release.set_download_dir("/a//b/../c/");
    EXPECT_EQ(release.download_dir(), native(QStringLiteral("/a/c")));
    release.set_install_dir("relative/./x/");
    EXPECT_EQ(release.install_dir(), native(QStringLiteral("relative/x")));
}

TEST(StoredDirectories, TakeTheDefaultOnFirstUse)
{
    VINST_RELEASE release;
    release.edition = "pro";
    release.set_version("5.2");
    EXPECT_EQ(release.ensure_download_dir(), release.default_download_dir());
    release.set_download_dir("/x");
    EXPECT_EQ(release.ensure_download_dir(), native(QStringLiteral("/x")));
}

TEST(DownloadUrl, IsTheManifestsOrTheBuiltInOne)
{
    VINST_RELEASE release;
    release.set_version("5.2.0.31");
    EXPECT_EQ(release.download_url(), "https://downloads.orvane.example/5.2/31/ib_installers");
    release.manifest_download_url = "http://a/b/";
    EXPECT_EQ(release.download_url(), "http://a/b");
}

TEST(DownloadUrl, OfAComponentEncodesItsFileName)
{
    VINST_RELEASE release;
    release.manifest_download_url = "http://a/b";
    VINST_COMPONENT* component = add(release, "a", "linux");
    EXPECT_EQ(component->download_url(), "");
    component->filename = "a b#1%.run";
    EXPECT_EQ(component->download_url(), "http://a/b/a%20b%231%25.run");
    release.set_download_dir("/dl");
    EXPECT_EQ(component->file.path(), native(QStringLiteral("/dl/a b#1%.run")));
}

TEST(TestFile, HasABuiltInAddressAndChecksumUntilReplaced)
{
    VINST_RELEASE release;
    EXPECT_EQ(release.test_url(), "https://downloads.orvane.example/vinst/vinst_test_download.txt");
    EXPECT_EQ(release.test_md5sum().size(), 32);
    release.set_test_file("http://t", "m");
    EXPECT_EQ(release.test_url(), "http://t");
    EXPECT_EQ(release.test_md5sum(), "m");
}

TEST(Titles, NameTheEditionWithACapital)
{
    VINST_RELEASE release;
    release.edition = "standard";
    release.set_version("5.2");
    EXPECT_EQ(release.window_title(), "Orvane Veltrin Crest Standard Edition");
    release.manifest_download_url = "http://files.internal.orvane.example/x";
    EXPECT_EQ(release.window_title(), "Orvane Veltrin Crest Standard Edition (Orvane Internal)");
}

TEST(Addresses, AreBelowTheReservedDomain)
{
    VINST_RELEASE release;
    release.edition = "pro";
    release.set_version("5.2.0.31");
    EXPECT_EQ(release.documentation_url(), "https://docs.orvane.example/veltrin/5.2/download.html");
    EXPECT_EQ(release.survey_url(),
              "https://survey.orvane.example/vinst?version=5.2.0.31&edition=pro");
}

TEST(Component, HasNoKindInitially)
{
    const VINST_COMPONENT component;
    EXPECT_EQ(component.kind, VINST_COMPONENT_KIND::unknown);
    EXPECT_EQ(component.selection, VINST_SELECTION::not_selected);
    EXPECT_EQ(component.size, 0);
    EXPECT_EQ(component.installsize, 0.0);
    EXPECT_FALSE(component.standalone || component.addon || component.file.is_complete());
    EXPECT_EQ(component.parent, nullptr);
}

TEST(Component, CountsAsSelectedInTwoOfThreeStates)
{
    VINST_COMPONENT component;
    component.selection = VINST_SELECTION::selected;
    EXPECT_TRUE(component.is_selected());
    component.selection = VINST_SELECTION::partly_selected;
    EXPECT_TRUE(component.is_selected());
    component.selection = VINST_SELECTION::not_selected;
    EXPECT_FALSE(component.is_selected());
}

TEST(Component, IsClassifiedByItsNames)
{
    VINST_COMPONENT component;
    component.filename = "x.vdz";
    EXPECT_TRUE(component.is_device_archive());
    component.filename = "x.VDZ";
    EXPECT_FALSE(component.is_device_archive());
    component.name = "veltrin_base";
    EXPECT_TRUE(component.is_main_product());
    component.name = "veltrin";
    EXPECT_FALSE(component.is_main_product());
    component.name = "morlan_fe";
    EXPECT_TRUE(component.is_simulator());
    component.name = "Morlan";
    EXPECT_FALSE(component.is_simulator());
}

TEST(Component, BelongsToTheDeviceGroupThroughAnyAncestor)
{
    VINST_COMPONENT group;
    group.name = "devinfo";
    VINST_COMPONENT family;
    family.set_parent(group);
    VINST_COMPONENT device;
    device.set_parent(family);
    EXPECT_TRUE(device.in_device_group);
    EXPECT_FALSE(group.in_device_group);
}

TEST(Component, IsShownByItsTitleOrNameWithoutControlCharacters)
{
    VINST_COMPONENT component;
    component.name = "na\nme";
    EXPECT_EQ(component.display_name(), QString("na\uFFFDme"));
    component.title = "ti\x1b[31mtle";
    EXPECT_EQ(component.display_name(), QString("ti\uFFFD[31mtle"));
}

TEST(CurrentRelease, IsTheOneThatWasSet)
{
    VINST_RELEASE release;
    set_current_release(&release);
    EXPECT_EQ(get_release(), &release);
    set_current_release(nullptr);
    EXPECT_DEATH(get_release(), "Assertion failed: current_release != nullptr");
}
