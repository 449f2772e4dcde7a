#include "tests/harness/temp_dir.h"
#include "tools/vinst_release/release_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <ostream>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

const QString md5_of_abc = "900150983cd24fb0d6963f7d28e17f72";
const QString sha1_of_abc = "a9993e364706816aba3e25717850c26c9cd0d89d";

QJsonObject release_element()
{
    return {{"data_type", "main"}, {"edition", "pro"}, {"version", "5.2.0.31"}};
}

/// A component without a fault, whose file holds "abc".
QJsonObject component(const QString& name, const QString& filename, const QJsonObject& more = {})
{
    QJsonObject object{{"data_type", "download"},
                       {"name", name},
                       {"platform", "linux"},
                       {"filename", filename},
                       {"title", name},
                       {"desc", "What it is."},
                       {"md5sum", md5_of_abc},
                       {"sha1sum", sha1_of_abc},
                       {"size", 3},
                       {"downloadsize_str", "3.00 B"},
                       {"installsize", 3},
                       {"installsize_str", "3.00 B"},
                       {"selected", 1}};
    for (auto key = more.begin(); key != more.end(); ++key)
        object[key.key()] = key.value();
    return object;
}

QJsonObject group(const QString& name, const QJsonObject& more = {})
{
    return component(name, "", more);
}

QJsonObject without(QJsonObject object, const char* key)
{
    object.remove(QLatin1String(key));
    return object;
}

class CheckRelease : public testing::Test
{
protected:
    std::vector<std::string> check(const QJsonArray& elements, const QString& dir = {})
    {
        return check_text(QJsonDocument(elements).toJson().toStdString(), dir);
    }

    std::vector<std::string> check_text(const std::string& text, const QString& dir = {})
    {
        m_dir.write("manifest.json", text);
        m_result = check_release(m_dir.qstr() + "/manifest.json", dir,
                                 [](const RELEASE_FILE_PROGRESS&) {});
        std::vector<std::string> faults;
        for (const QString& fault : m_result.faults)
            faults.push_back(fault.toStdString());
        return faults;
    }

    std::vector<std::string> check_in_dir(const QJsonArray& elements)
    {
        return check(elements, m_dir.qstr());
    }

    TEMP_DIR m_dir;
    RELEASE_CHECK_RESULT m_result;
};

}

TEST_F(CheckRelease, FindsNoFaultInAGoodManifest)
{
    EXPECT_THAT(
        check({release_element(), component("a", "a.run"), group("g"),
               component("b", "b.run", {{"parent", "g"}, {"dependency", QJsonArray{"c"}}}),
               component("c", "c.run"), component("a", "a.exe", {{"platform", "windows"}})}),
        IsEmpty());
    EXPECT_EQ(m_result.components, 5U);
    EXPECT_EQ(m_result.files_read, 0U);
}

TEST_F(CheckRelease, ReportsAMainProductThatIsNotStandalone)
{
    const auto faults_with = [this](const QJsonValue& standalone)
    {
        return check({release_element(),
                      component("veltrin_base", "base.run", {{"standalone", standalone}})});
    };
    EXPECT_THAT(faults_with(1), IsEmpty());
    EXPECT_THAT(faults_with("1"), IsEmpty());
    for (const QJsonValue& standalone : {QJsonValue(0), QJsonValue("0"), QJsonValue()})
        EXPECT_THAT(faults_with(standalone),
                    Contains(HasSubstr("the main product is not standalone")));
    EXPECT_THAT(check({release_element(), component("veltrin_base", "base.run")}),
                ElementsAre(HasSubstr("the main product is not standalone")));
}

TEST_F(CheckRelease, ReportsAnEmptyDefaultSelection)
{
    const QJsonObject unselected = {{"selected", 0}};
    EXPECT_THAT(check({release_element(), component("a", "a.run", unselected), group("g"),
                       component("b", "b.exe", {{"platform", "windows"}})}),
                ElementsAre("no component for linux is selected by default"));
    EXPECT_THAT(
        check({release_element(), component("a", "a.run", {{"platform", ""}, {"selected", 0}})}),
        ElementsAre("no component for linux is selected by default",
                    "no component for windows is selected by default"));
    EXPECT_THAT(check({release_element(), component("a", "a.run", unselected),
                       component("b", "b.run", {{"platform", ""}})}),
                IsEmpty());
}

TEST_F(CheckRelease, ReportsAFileThatComponentsOfAPlatformShare)
{
    EXPECT_THAT(check({release_element(), component("a", "a.run"),
                       component("b", "a.run", {{"platform", "windows"}}),
                       component("c", "a.run", {{"platform", "windows"}})}),
                ElementsAre("component 'c' (windows): its file 'a.run' is also the file of "
                            "component 'b' (windows) on the same platform"));
    EXPECT_THAT(check({release_element(), component("a", "a.run"),
                       component("b", "a.run", {{"platform", ""}})}),
                ElementsAre(HasSubstr(" on the same platform")));
    EXPECT_THAT(check({release_element(), component("a", "a.run"),
                       component("b", "a.run", {{"platform", "windows"}})}),
                IsEmpty());
}

TEST_F(CheckRelease, ReportsAnInvalidManifest)
{
    const std::string path = (m_dir / "manifest.json").string();
    EXPECT_THAT(check_text("[]"),
                ElementsAre("Manifest file " + path + " is not in the supported format"));
    EXPECT_THAT(check_text("{\"a\": 1}"),
                ElementsAre("Manifest file " + path + " is not in the supported format"));
    EXPECT_THAT(check_text("nonsense"),
                ElementsAre("Manifest file " + path + " is not in the supported format"));
    std::filesystem::remove(path);
    const auto result = check_release(QString::fromStdString(path), {}, {});
    EXPECT_EQ(result.faults,
              QStringList(QString::fromStdString("Manifest file " + path + " does not exist")));
}

TEST_F(CheckRelease, ReportsTheParsersMessageWithTheElement)
{
    EXPECT_THAT(check({release_element(), without(component("a", "a.run"), "title"),
                       component("b", "b.run", {{"size", -1}, {"platform", "windows"}}),
                       component("c", "../c.run"), without(component("d", "d.run"), "md5sum")}),
                ElementsAre("component 'a' (linux): 'title' is missing in the manifest data",
                            "component 'b' (windows): 'size' is not in the supported format",
                            "component 'c' (linux): 'filename' is not safe",
                            "component 'd' (linux): 'md5sum' is missing in the manifest data"));
}

TEST_F(CheckRelease, FindsTheElementOfATruncatedMessage)
{
    const QString long_text(5000, 'x');
    EXPECT_THAT(check({release_element(),
                       without(component("a", "a.run", {{"desc", long_text}}), "title")}),
                ElementsAre("component 'a' (linux): 'title' is missing in the manifest data"));
}

TEST_F(CheckRelease, ContinuesAfterElementsThatTheProgramRefuses)
{
    EXPECT_THAT(
        check({release_element(), without(group("x"), "name"), 17, without(group("y"), "data_type"),
               without(release_element(), "version"), without(component("z", "z"), "size")}),
        ElementsAre("element 2: 'name' is missing; the program rejects such a manifest",
                    "element 3: 'data_type' is missing; the program rejects such a manifest",
                    "component 'y' (linux): 'data_type' is missing; the program rejects such "
                    "a manifest",
                    "release: 'version' is missing; the program rejects such a manifest",
                    "release: described again; the last description is used",
                    "component 'z' (linux): 'size' is missing in the manifest data"));
}

TEST_F(CheckRelease, ReportsUnknownParentsAndDependenciesOnce)
{
    EXPECT_THAT(check({release_element(), group("a", {{"parent", "x"}}),
                       group("b", {{"dependency", QJsonArray{"y", "a"}}}),
                       group("c", {{"parent", "w"}}), group("w", {{"platform", "windows"}})}),
                ElementsAre("component 'a' (linux): its parent 'x' does not exist",
                            "component 'b' (linux): its dependency 'y' does not exist",
                            "component 'c' (linux): its parent 'w' does not exist"));
}

TEST_F(CheckRelease, ReportsParentsThatComeLaterOrAreTheComponentItself)
{
    EXPECT_THAT(check({release_element(), group("a", {{"parent", "b"}}), group("b"),
                       group("c", {{"parent", "c"}})}),
                ElementsAre("parents form a cycle: component 'c' (linux) -> component 'c' (linux)",
                            "component 'a' (linux): its parent 'b' comes later; parents must come "
                            "first",
                            "component 'c' (linux): names itself as its parent"));
}

TEST_F(CheckRelease, ReportsCycles)
{
    EXPECT_THAT(check({release_element(), group("a", {{"dependency", QJsonArray{"b"}}}),
                       group("b", {{"dependency", QJsonArray{"c"}}}),
                       group("c", {{"dependency", QJsonArray{"a"}}})}),
                ElementsAre("dependencies form a cycle: component 'a' (linux) -> component 'b' "
                            "(linux) -> component 'c' (linux) -> component 'a' (linux)"));
}

TEST_F(CheckRelease, ReportsDuplicateNamesOnOnePlatform)
{
    EXPECT_THAT(check({release_element(), group("a"), group("a", {{"platform", "windows"}}),
                       group("a"), group("a", {{"platform", ""}})}),
                ElementsAre("component 'a' (linux): has the name of element 2 on the same platform",
                            "component 'a' (no platform): has the name of element 2 on the same "
                            "platform"));
}

TEST_F(CheckRelease, ReportsDifferentFilesWithTheSameName)
{
    EXPECT_THAT(
        check({release_element(), component("a", "a.run"),
               component("b", "a.run", {{"platform", "windows"}}),
               component("c", "a.run", {{"md5sum", QString(32, '0')}}), component("d", "A.run")}),
        ElementsAre("component 'c' (linux): its file 'a.run' is also the file of component 'a' "
                    "(linux), with another size or checksum",
                    "component 'd' (linux): 'filename' is not safe",
                    "component 'd' (linux): its file 'A.run' differs from the file of component "
                    "'a' (linux) only in upper and lower case"));
}

TEST_F(CheckRelease, ReportsFilesWithReservedNames)
{
    EXPECT_THAT(check({release_element(), component("a", "manifest.json")}),
                ElementsAre("component 'a' (linux): its file has the name of the release's "
                            "'manifest.json'"));
}

TEST_F(CheckRelease, ReportsMalformedChecksums)
{
    QJsonObject release = release_element();
    release["test_url"] = "http://x.example/t";
    release["test_md5sum"] = "abc";
    EXPECT_THAT(check({release, component("a", "a", {{"md5sum", md5_of_abc.toUpper()}}),
                       component("b", "b", {{"sha1sum", md5_of_abc}}),
                       component("c", "c", {{"md5sum", ""}}), group("d", {{"md5sum", "-"}})}),
                ElementsAre("release: 'test_md5sum' is not made of 32 lower-case hexadecimal "
                            "digits: 'abc'",
                            "component 'a' (linux): 'md5sum' is not made of 32 lower-case "
                            "hexadecimal digits: '900150983CD24FB0D6963F7D28E17F72'",
                            "component 'b' (linux): 'sha1sum' is not made of 40 lower-case "
                            "hexadecimal digits: '900150983cd24fb0d6963f7d28e17f72'",
                            "component 'c' (linux): 'md5sum' is not made of 32 lower-case "
                            "hexadecimal digits: ''"));
}

TEST_F(CheckRelease, ReportsUnknownKindsAndPlatformsAndWrongTypes)
{
    EXPECT_THAT(check({release_element(), group("a", {{"data_type", "upload"}}),
                       group("b", {{"platform", "Linux"}}), group("c", {{"title", 5}}),
                       group("d", {{"dependency", "a"}}), group("")}),
                ElementsAre("component 'a' (linux): unknown 'data_type' 'upload'",
                            "component 'b' (Linux): unknown 'platform' 'Linux'",
                            "component 'c' (linux): 'title' is not a string",
                            "component 'd' (linux): 'dependency' is not a list",
                            "element 6: 'name' is empty"));
}

TEST_F(CheckRelease, ReportsThatNoElementDescribesTheRelease)
{
    EXPECT_THAT(check({component("a", "a.run")}),
                ElementsAre("no element describes the release (\"data_type\": \"main\")"));
}

TEST_F(CheckRelease, ReportsAddressesThatAreNotHttp)
{
    QJsonObject release = release_element();
    release["download_url"] = "file:///x";
    EXPECT_THAT(check({release, group("a")}),
                ElementsAre("release: 'download_url' is not an http or https URL: 'file:///x'"));
}

TEST_F(CheckRelease, ComparesEveryFileAndReportsEachDifference)
{
    for (const char* name : {"good", "other", "longer"})
        m_dir.write(name, "abc");
    m_dir.write("other", "abd");
    m_dir.write("longer", "abcd");
    m_dir.make_dir("directory");
    const auto faults =
        check_in_dir({release_element(), component("good", "good"), component("none", "none"),
                      component("other", "other"), component("longer", "longer"),
                      component("directory", "directory"), group("group"),
                      component("text_size", "good", {{"size", "3"}, {"platform", "windows"}})});
    EXPECT_EQ(m_result.files_read, 3U);
    EXPECT_THAT(
        faults,
        ElementsAre("component 'none' (linux): its file 'none' is missing",
                    "component 'other' (linux): its file 'other' has the MD5 "
                    "4911e516e5aa21d327512e0c8b197616, not '900150983cd24fb0d6963f7d28e17f72'",
                    "component 'other' (linux): its file 'other' has the SHA-1 "
                    "cb4cc28df0fdbe0ecf9d9662e294b118092a5735, not "
                    "'a9993e364706816aba3e25717850c26c9cd0d89d'",
                    "component 'longer' (linux): its file 'longer' has 4 bytes, not 3",
                    StartsWith("component 'longer' (linux): its file 'longer' has the MD5 "),
                    StartsWith("component 'longer' (linux): its file 'longer' has the SHA-1 "),
                    "component 'directory' (linux): its file 'directory' is not a file"));
}

TEST_F(CheckRelease, ComparesTheConnectionTestsFileIfItBelongsToTheRelease)
{
    QJsonObject release = release_element();
    release["download_url"] = "http://x.example/5.2";
    release["test_url"] = "http://x.example/5.2/test.txt";
    release["test_md5sum"] = md5_of_abc;
    EXPECT_THAT(check_in_dir({release, group("a")}),
                ElementsAre("release: its file 'test.txt' is missing"));
    m_dir.write("test.txt", "abd");
    EXPECT_THAT(check_in_dir({release, group("a")}),
                ElementsAre(StartsWith("release: its file 'test.txt' has the MD5 ")));
    m_dir.write("test.txt", "abc");
    EXPECT_THAT(check_in_dir({release, group("a")}), IsEmpty());
    release["test_url"] = "http://elsewhere.example/test.txt";
    m_dir.write("test.txt", "abd");
    EXPECT_THAT(check_in_dir({release, group("a")}), IsEmpty());
}

TEST_F(CheckRelease, ReportsAnInvalidDirectory)
{
    EXPECT_THAT(check({release_element(), group("a")}, m_dir.qstr() + "/none"),
                ElementsAre("'" + m_dir.str() + "/none' is not a directory"));
}

TEST_F(CheckRelease, ShowsNoControlCharactersOfAName)
{
    EXPECT_THAT(check({release_element(), group("a\x1b[2J\nb", {{"parent", "x\ny"}})}),
                ElementsAre("component 'a\uFFFD[2J\uFFFDb' (linux): its parent 'x\uFFFDy' does "
                            "not exist"));
}

TEST_F(CheckRelease, ChecksAHundredThousandComponentsInReasonableTime)
{
    QJsonArray elements{release_element()};
    for (int i = 0; i < 100000; ++i)
    {
        const QString name = "c" + QString::number(i);
        QJsonObject more;
        if (i > 0)
            more["parent"] = "c" + QString::number(i - 1);
        elements.append(component(name, name + ".run", more));
    }
    // A chain of this depth requires a search without recursion, and indexed look-ups: without
    // either, the test would crash or time out.
    EXPECT_THAT(check(elements), IsEmpty());
    EXPECT_EQ(m_result.components, 100000U);
}
