#include "tests/harness/temp_dir.h"
#include "tools/vinst_release/release_description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class ReleaseDescription : public testing::Test
{
protected:
    /// Reads a description with valid release keys.
    std::optional<RELEASE_DESCRIPTION> read(const std::string& components,
                                            const std::string& more_keys = "")
    {
        return read_text(R"({"edition": "pro", "version": "5.2.0.31", )" + more_keys +
                         "\"components\": [" + components + "]}");
    }

    std::optional<RELEASE_DESCRIPTION> read_text(const std::string& text)
    {
        m_dir.write("description.json", text);
        m_faults.clear();
        return read_release_description(m_dir.qstr() + "/description.json", m_faults);
    }

    std::vector<std::string> faults() const
    {
        std::vector<std::string> all;
        for (const QString& fault : m_faults)
            all.push_back(fault.toStdString());
        return all;
    }

    /// "name/platform" of each component that was read.
    static std::vector<std::string> names(const RELEASE_DESCRIPTION& release)
    {
        std::vector<std::string> all;
        for (const auto& component : release.components)
            all.push_back((component.name + '/' + component.platform).toStdString());
        return all;
    }

    TEMP_DIR m_dir;
    QStringList m_faults;
};

}

TEST_F(ReleaseDescription, ReadsEveryKey)
{
    m_dir.write("files/base.run", "base");
    const auto release = read(R"(
        {"name": "group", "platform": "linux"},
        {"name": "base", "platform": "linux", "file": "files/base.run", "title": "Base",
         "desc": "The base.", "parent": "group", "dependency": ["group"], "selected": true,
         "standalone": true, "addon": true, "installsize": 4096, "kind": "install",
         "cmd_exe": "run", "cmd_options": "--fast 1"})",
                              R"("download_url": "https://downloads.example/5.2/",
                                 "test_url": "https://downloads.example/test.txt",
                                 "installdir_linux": "/opt/base",
                                 "installdir_windows": "C:\\base", )");
    ASSERT_THAT(faults(), ElementsAre());
    EXPECT_EQ(release->edition, "pro");
    EXPECT_EQ(release->version, "5.2.0.31");
    EXPECT_EQ(release->download_url, "https://downloads.example/5.2");
    EXPECT_EQ(release->test_url, "https://downloads.example/test.txt");
    EXPECT_EQ(release->installdir_linux, "/opt/base");
    EXPECT_EQ(release->installdir_windows, "C:\\base");
    const RELEASE_DESCRIPTION_COMPONENT& base = release->components.at(1);
    EXPECT_EQ(base.kind, "install");
    EXPECT_EQ(base.file, m_dir.qstr() + "/files/base.run");
    EXPECT_EQ(base.filename(), "base.run");
    EXPECT_EQ(base.title, "Base");
    EXPECT_EQ(base.desc, "The base.");
    EXPECT_EQ(base.parent, "group");
    EXPECT_EQ(base.dependency, QStringList{"group"});
    EXPECT_TRUE(base.selected);
    EXPECT_TRUE(base.standalone);
    EXPECT_TRUE(base.addon);
    EXPECT_EQ(base.installsize, std::optional<quint64>(4096));
    EXPECT_EQ(base.cmd_exe, "run");
    EXPECT_EQ(base.cmd_options, "--fast 1");
}

TEST_F(ReleaseDescription, AppliesDefaultsToAMinimalComponent)
{
    const auto release = read(R"({"name": "group", "platform": "windows"})");
    ASSERT_THAT(faults(), ElementsAre());
    const RELEASE_DESCRIPTION_COMPONENT& group = release->components.at(0);
    EXPECT_EQ(group.kind, "download");
    EXPECT_EQ(group.title, "group");
    EXPECT_EQ(group.filename(), "");
    EXPECT_FALSE(group.selected);
    EXPECT_EQ(group.installsize, std::nullopt);
}

TEST_F(ReleaseDescription, MakesOneComponentForEachPlatform)
{
    m_dir.write("base.run", "");
    m_dir.write("base.exe", "");
    const auto release = read(R"(
        {"name": "base", "platform": ["linux", "windows"],
         "file": {"linux": "base.run", "windows": "base.exe"}},
        {"name": "part", "platform": ["linux", "windows"], "parent": "base"})");
    ASSERT_THAT(faults(), ElementsAre());
    EXPECT_THAT(names(*release),
                ElementsAre("base/linux", "base/windows", "part/linux", "part/windows"));
    EXPECT_EQ(release->components[0].filename(), "base.run");
    EXPECT_EQ(release->components[1].filename(), "base.exe");
}

TEST_F(ReleaseDescription, PutsParentsBeforeTheirChildren)
{
    const auto release = read(R"({"name": "a", "platform": "linux"},
                                 {"name": "child", "platform": "linux", "parent": "parent"},
                                 {"name": "b", "platform": "linux"},
                                 {"name": "parent", "platform": "linux"})");
    ASSERT_THAT(faults(), ElementsAre());
    EXPECT_THAT(names(*release), ElementsAre("a/linux", "parent/linux", "child/linux", "b/linux"));
}

TEST_F(ReleaseDescription, ReportsTheLineOfInvalidJson)
{
    EXPECT_FALSE(read_text("{\n\"edition\": \"pro\",\n\"version\" \"5.2\"\n}"));
    ASSERT_EQ(m_faults.size(), 1);
    EXPECT_THAT(faults()[0], HasSubstr("description.json', line 3: "));
}

TEST_F(ReleaseDescription, RefusesAFileThatIsNotAnObject)
{
    EXPECT_FALSE(read_text("[1]"));
    EXPECT_THAT(faults(), ElementsAre(HasSubstr("must contain one JSON object")));
}

TEST_F(ReleaseDescription, ReportsThatItDoesNotExist)
{
    EXPECT_FALSE(read_release_description(m_dir.qstr() + "/none.json", m_faults));
    EXPECT_THAT(faults(),
                ElementsAre(testing::AllOf(HasSubstr("cannot read"), HasSubstr("none.json"))));
}

TEST_F(ReleaseDescription, ReportsEveryMissingKeyOfTheRelease)
{
    EXPECT_FALSE(read_text("{}"));
    EXPECT_THAT(faults(),
                ElementsAre("release: 'edition' is missing", "release: 'version' is missing",
                            "release: 'components' must be a list of at least one component"));
}

TEST_F(ReleaseDescription, ReportsUnknownKeysWithTheKnownOnes)
{
    EXPECT_FALSE(read(R"({"name": "a", "platfrom": "linux", "platform": "linux", "colour": 1})",
                      R"("editoin": "x", )"));
    EXPECT_THAT(faults(),
                ElementsAre("release: unknown key 'editoin'; did you mean 'edition'?",
                            "component 'a': unknown key 'colour'; the keys are kind, name, "
                            "platform, file, title, desc, parent, dependency, selected, "
                            "standalone, addon, installsize, cmd_exe, cmd_options",
                            "component 'a': unknown key 'platfrom'; did you mean 'platform'?"));
}

TEST_F(ReleaseDescription, ReportsEveryValueOfTheWrongType)
{
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "title": 5, "selected": 1,
                          "dependency": "b", "installsize": "big", "kind": "upload"},
                         {"name": 7, "platform": "linux"},
                         {"platform": []},
                         "text")"));
    EXPECT_THAT(faults(),
                ElementsAre("component 'a': 'kind' must be \"download\" or \"install\", not "
                            "'upload'",
                            "component 'a': 'title' must be a string",
                            "component 'a': 'dependency' must be a list of strings",
                            "component 'a': 'selected' must be true or false",
                            "component 'a': 'installsize' must be a whole number of bytes or "
                            "\"auto\"",
                            "component 2: 'name' must be a string",
                            "component 3: 'name' is missing",
                            "component 3: 'platform' must name a platform",
                            "component 4 must be an object"));
}

TEST_F(ReleaseDescription, RefusesInstallSizesThatAreNotByteCounts)
{
    for (const char* size : {"-1", "1.5", "1e300", "true"})
    {
        EXPECT_FALSE(
            read(R"({"name": "a", "platform": "linux", "installsize": )" + std::string(size) + "}"))
            << size;
    }
    EXPECT_TRUE(read(R"({"name": "a", "platform": "linux", "installsize": "auto"})"));
    EXPECT_TRUE(read(R"({"name": "a", "platform": "linux", "installsize": 0})"));
}

TEST_F(ReleaseDescription, RefusesUnknownPlatforms)
{
    EXPECT_FALSE(read(R"({"name": "a", "platform": "Linux"})"));
    EXPECT_THAT(faults(), ElementsAre("component 'a': 'platform' must be \"linux\" or "
                                      "\"windows\", not 'Linux'"));
}

TEST_F(ReleaseDescription, ReportsMissingAndUnsuitableFiles)
{
    m_dir.make_dir("directory");
    m_dir.write("a:b", "");
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "file": "none.run"},
                         {"name": "b", "platform": "linux", "file": "directory"},
                         {"name": "c", "platform": "linux", "file": "a:b"},
                         {"name": "d", "platform": "linux", "file": {"windows": "d.exe"}})"));
    EXPECT_THAT(faults(),
                ElementsAre("component 'a': 'file' does not exist: '" + m_dir.str() + "/none.run'",
                            "component 'b': 'file' is not a file: '" + m_dir.str() + "/directory'",
                            "component 'c': 'file' has a name that is not valid on "
                            "every platform: 'a:b'",
                            "component 'd': 'file' is given for 'windows', which "
                            "'platform' does not name"));
}

TEST_F(ReleaseDescription, RefusesTwoFilesWithTheSameName)
{
    m_dir.write("linux/base.bin", "1");
    m_dir.write("windows/BASE.bin", "2");
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "file": "linux/base.bin"},
                         {"name": "a", "platform": "windows", "file": "windows/BASE.bin"})"));
    EXPECT_THAT(faults(), ElementsAre("component 'a' (windows): its file would replace component "
                                      "'a' (linux)'s in the release: '" +
                                      m_dir.str() + "/windows/BASE.bin' and '" + m_dir.str() +
                                      "/linux/base.bin'"));
}

TEST_F(ReleaseDescription, LetsComponentsShareAFile)
{
    m_dir.write("base.bin", "1");
    EXPECT_TRUE(read(R"({"name": "a", "platform": ["linux", "windows"], "file": "base.bin"},
                        {"name": "b", "platform": "linux", "file": "base.bin"})"));
}

TEST_F(ReleaseDescription, RefusesReservedFileNames)
{
    m_dir.write("Manifest.json", "");
    m_dir.write("vinst_test_download.txt", "");
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "file": "Manifest.json"},
                         {"name": "b", "platform": "linux", "file": "vinst_test_download.txt"})"));
    EXPECT_EQ(m_faults.size(), 2);
    EXPECT_THAT(faults(), Each(HasSubstr("is reserved for the release")));
}

TEST_F(ReleaseDescription, ReportsBrokenRelations)
{
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "parent": "x", "dependency": ["y"]},
                         {"name": "b", "platform": "windows", "parent": "a"},
                         {"name": "a", "platform": "linux"})"));
    EXPECT_THAT(
        faults(),
        ElementsAre("component 'a' (linux) is described twice",
                    "component 'a' (linux): its parent 'x' does not exist on its platform",
                    "component 'a' (linux): its dependency 'y' does not exist on its platform",
                    "component 'b' (windows): its parent 'a' does not exist on its platform"));
}

TEST_F(ReleaseDescription, ReportsCyclesOfParentsAndOfDependencies)
{
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux", "parent": "b"},
                         {"name": "b", "platform": "linux", "parent": "a"},
                         {"name": "c", "platform": "linux", "dependency": ["c"]})"));
    EXPECT_THAT(faults(), ElementsAre("parents form a cycle: component 'a' (linux) -> component "
                                      "'b' (linux) -> component 'a' (linux)",
                                      "dependencies form a cycle: component 'c' (linux) -> "
                                      "component 'c' (linux)"));
}

TEST_F(ReleaseDescription, RefusesAddressesThatAreNotHttp)
{
    EXPECT_FALSE(read(R"({"name": "a", "platform": "linux"})", R"("download_url": "ftp://x", )"));
    EXPECT_THAT(faults(),
                ElementsAre("release: 'download_url' must begin with http:// or https://"));
}

TEST_F(ReleaseDescription, RefusesNamesWithCommas)
{
    EXPECT_FALSE(read(R"({"name": "a,b", "platform": "linux"})"));
    EXPECT_THAT(faults(), ElementsAre("component 'a,b': 'name' must not contain a comma, "
                                      "because names are separated by commas"));
}
