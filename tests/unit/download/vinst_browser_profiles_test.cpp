#include "install/vinst/download/vinst_browser_profiles.h"

#include "tests/harness/run_files.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QDir>

#include <chrono>
#include <filesystem>

using namespace std::chrono_literals;

namespace
{

constexpr const char* profiles_ini = "[Install4F96D1932A9F858E]\r\n"
                                     "Default=Profiles/used.default-release\r\n"
                                     "Locked=1\r\n"
                                     "\r\n"
                                     "[Profile1]\n"
                                     "Name=default\n"
                                     "IsRelative=1\n"
                                     "Path=old.default\n"
                                     "Default=1\n"
                                     "\n"
                                     "; [Profile3]\n"
                                     "[Profile0]\n"
                                     "Name=test\n"
                                     "Path=test\n"
                                     "\n"
                                     "[Profile2]\n"
                                     "Path=no\n"
                                     "Default=0\n"
                                     "[General]\n"
                                     "StartWithLastProfile=1\n"
                                     "Version=2\n";

class BrowserProfilesTest : public ::testing::Test
{
protected:
    /// \param age  of the preference file
    void add_profile(const std::string& profile, std::chrono::hours age = 0h)
    {
        const std::filesystem::path file = dir / profile / "prefs.js";
        std::filesystem::create_directories(file.parent_path());
        write_file(file, "");
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - age);
    }

    std::vector<std::string> found(const std::function<bool()>& keep_looking = [] { return true; })
    {
        std::vector<std::string> profiles;
        const QString home = QString::fromStdString(dir.str());
        for (const QString& path : browser_preference_files(home, keep_looking))
        {
            const QString profile = path.mid(home.size() + 1);
            profiles.push_back(profile.left(profile.lastIndexOf('/')).toStdString());
        }
        return profiles;
    }

    TEMP_DIR dir;
};

using PROFILES = std::vector<std::string>;

}

TEST(BrowserProfiles, OfInstallationsAndOfOldVersionsAreFoundInTheIndex)
{
    const VINST_DEFAULT_PROFILES defaults = default_profiles(profiles_ini, "/h/.mozilla/firefox");
    EXPECT_EQ(defaults.of_installations,
              QStringList{"/h/.mozilla/firefox/Profiles/used.default-release"});
    EXPECT_EQ(defaults.of_old_versions, QStringList{"/h/.mozilla/firefox/old.default"});
    const QString root = QDir::rootPath(); // "C:/" on Windows
    const VINST_DEFAULT_PROFILES others =
        default_profiles("[A]\nDefault=" + root.toUtf8() +
                             "data/one/\n[B]\nDefault=./two\n[Profile0]\nDefault=1\n[C]\nLocked=1",
                         "/r");
    EXPECT_EQ(others.of_installations, (QStringList{root + "data/one", "/r/two"}));
    EXPECT_EQ(others.of_old_versions, QStringList());
    for (const char* text : {"", "[", "=", "[]\nDefault\n=x", "Default"})
        EXPECT_EQ(default_profiles(text, "/r").of_installations, QStringList()) << text;
}

TEST_F(BrowserProfilesTest, AreReadWithTheDefaultOneLast)
{
    for (const char* name : {"Profiles/used.default-release", "old.default", "test", "zz"})
        add_profile(std::string(".mozilla/firefox/") + name);
    EXPECT_EQ(found().back(), ".mozilla/firefox/zz");
    write_file(dir / ".mozilla/firefox/profiles.ini", profiles_ini);
    EXPECT_EQ(found(), (PROFILES{".mozilla/firefox/test", ".mozilla/firefox/zz",
                                 ".mozilla/firefox/old.default",
                                 ".mozilla/firefox/Profiles/used.default-release"}));
    write_file(dir / ".mozilla/firefox/profiles.ini", "");
    write_file(dir / ".mozilla/firefox/installs.ini", "[1]\nDefault=test\n");
    EXPECT_EQ(found().back(), ".mozilla/firefox/test");
}

TEST_F(BrowserProfilesTest, AreFoundInAllPlaces)
{
    const PROFILES all{".mozilla/firefox/a", ".config/mozilla/firefox/b",
                       "snap/firefox/common/.mozilla/firefox/c",
                       ".var/app/org.mozilla.firefox/.mozilla/firefox/d"};
    for (const std::string& profile : all)
        add_profile(profile);
    EXPECT_EQ(found(), all);
    EXPECT_EQ(found([] { return false; }), PROFILES{});
}

TEST_F(BrowserProfilesTest, OfTheInstallationInUseAreLast)
{
    add_profile("snap/firefox/common/.mozilla/firefox/c", 1h);
    add_profile(".mozilla/firefox/a", 100h);
    add_profile(".var/app/org.mozilla.firefox/.mozilla/firefox/d", 50h);
    for (const char* root : {"snap/firefox/common/.mozilla/firefox", ".mozilla/firefox",
                             ".var/app/org.mozilla.firefox/.mozilla/firefox"})
        write_file(dir / root / "installs.ini", "[1]\nDefault=a\n[2]\nDefault=c\n[3]\nDefault=d\n");
    EXPECT_EQ(found(),
              (PROFILES{".mozilla/firefox/a", ".var/app/org.mozilla.firefox/.mozilla/firefox/d",
                        "snap/firefox/common/.mozilla/firefox/c"}));
}
