#include "install/vinst/release/vinst_parser.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>

#include <random>
#include <string>
#include <vector>

namespace
{

/// Loads manifest texts and records the loader's messages.
class ManifestTest : public ::testing::Test
{
protected:
    bool load(const std::string& text)
    {
        messages.clear();
        dir.write("manifest.json", text);
        release = parse_manifest(QString::fromStdString(manifest_path()),
                                 [this](const QByteArray& message)
                                 { messages.push_back(message.toStdString()); });
        return release != nullptr;
    }

    const VINST_COMPONENT& component(std::size_t index) const
    {
        return *release->components().at(index);
    }

    std::string manifest_path() const { return (dir / "manifest.json").string(); }

    std::string path_message(const std::string& start, const std::string& end) const
    {
        return start + manifest_path() + end;
    }

    TEMP_DIR dir;
    std::unique_ptr<VINST_RELEASE> release;
    std::vector<std::string> messages;
};

using MESSAGES = std::vector<std::string>;

/// A complete component element, followed by `more`.
std::string whole(const std::string& name, const std::string& more = {})
{
    return R"({"data_type":"download","name":")" + name + R"(","platform":"linux","filename":")" +
           name +
           R"(.run","title":"T","desc":"D","md5sum":"m","sha1sum":"s","size":1,)"
           R"("downloadsize_str":"1 B","installsize":2,"installsize_str":"2 B","selected":1)" +
           more + "}";
}

}

TEST_F(ManifestTest, RefusesAFileThatDoesNotExist)
{
    const QString path = dir.qstr() + "/none.json";
    EXPECT_EQ(parse_manifest(path, [this](const QByteArray& m) { messages.push_back(m.data()); }),
              nullptr);
    EXPECT_EQ(messages, (MESSAGES{"Manifest file " + path.toStdString() + " does not exist\n"}));
}

TEST_F(ManifestTest, RefusesWhatIsNotAReadableFile)
{
    dir.make_dir("manifest.json");
    const QString path = QString::fromStdString(manifest_path());
    EXPECT_EQ(parse_manifest(path, [this](const QByteArray& m) { messages.push_back(m.data()); }),
              nullptr);
    EXPECT_EQ(messages, (MESSAGES{path_message("Cannot open manifest file: ", "\n")}));
}

TEST_F(ManifestTest, RefusesWhatIsNotANonEmptyArray)
{
    for (const char* text : {"", "[]", "{}", "{\"data_type\":\"main\"}", "nonsense", "[1,", "\"x\"",
                             "null", "[{\"a\":1}] trailing", "\xff\xfe[]"})
    {
        EXPECT_FALSE(load(text)) << text;
        EXPECT_EQ(messages,
                  (MESSAGES{path_message("Manifest file ", " is not in the supported format\n")}))
            << text;
    }
}

TEST_F(ManifestTest, RefusesElementsWithoutTheirFatalKeys)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"([{"edition":"pro"}])",
         "'data_type' is missing in the manifest data: {\"edition\":\"pro\"}\n"},
        {R"([7])", "'data_type' is missing in the manifest data: 7\n"},
        {R"([null])", "'data_type' is missing in the manifest data: null\n"},
        {R"([{"data_type":"main","version":"1"}])",
         "'edition' is missing in the manifest data: {\"data_type\":\"main\",\"version\":\"1\"}\n"},
        {R"([{"data_type":"main","edition":"pro"}])",
         "'version' is missing in the manifest data: "
         "{\"data_type\":\"main\",\"edition\":\"pro\"}\n"},
        {R"([{"data_type":"main","edition":"p","test_url":"u","version":"1"}])",
         "'test_md5sum' is missing in the manifest data: "
         "{\"data_type\":\"main\",\"edition\":\"p\",\"test_url\":\"u\",\"version\":\"1\"}\n"},
        {R"([{"data_type":"download"}])",
         "'name' is missing in the manifest data: {\"data_type\":\"download\"}\n"}};
    for (const auto& [text, message] : cases)
    {
        EXPECT_FALSE(load(text)) << text;
        EXPECT_EQ(messages, MESSAGES{message});
    }
}

TEST_F(ManifestTest, ReadsTheRelease)
{
    ASSERT_TRUE(load(R"([{"data_type":"main","edition":"pro","version":"5.2.0.31",
        "download_url":"http://a/b","test_url":"http://a/t","test_md5sum":"m",
        "installdir_linux":"${user_home_directory}/x/${user_home_directory}",
        "installdir_windows":"${user_home_directory}\\x","unknown":[1]}])"));
    EXPECT_EQ(messages, MESSAGES{});
    EXPECT_EQ(release->edition, "pro");
    EXPECT_EQ(release->version, "5.2.0.31");
    EXPECT_EQ(release->short_version, "5.2");
    EXPECT_EQ(release->update_number, "0");
    EXPECT_EQ(release->build_number, "31");
    EXPECT_EQ(release->manifest_download_url, "http://a/b");
    EXPECT_EQ(release->test_url(), "http://a/t");
    EXPECT_EQ(release->test_md5sum(), "m");
    EXPECT_EQ(release->installdir_linux, QDir::homePath() + "/x/" + QDir::homePath());
    EXPECT_EQ(release->installdir_windows, "${user_home_directory}\\x");
}

TEST_F(ManifestTest, LetsALaterMainElementOverwriteAnEarlierOne)
{
    ASSERT_TRUE(load(R"([{"data_type":"main","edition":"pro","version":"1.2"},
                         {"data_type":"main","edition":"standard","version":"3.4"}])"));
    EXPECT_EQ(release->edition, "standard");
    EXPECT_EQ(release->short_version, "3.4");
}

TEST_F(ManifestTest, DoesNotReadTheTestChecksumWithoutATestAddress)
{
    ASSERT_TRUE(load(R"([{"data_type":"main","edition":"p","version":"1","test_md5sum":"m"}])"));
    EXPECT_NE(release->test_md5sum(), "m");
}

TEST_F(ManifestTest, LoadsWithoutAMainElement)
{
    ASSERT_TRUE(load("[" + whole("a") + "]"));
    EXPECT_EQ(messages, MESSAGES{});
    EXPECT_EQ(release->edition, "");
    EXPECT_EQ(release->version, "");
}

TEST_F(ManifestTest, ReadsAComponent)
{
    ASSERT_TRUE(load(
        "[" + whole("a", R"(,"standalone":1,"addon":2,"cmd_exe":"x","cmd_options":"-y")") + "]"));
    const VINST_COMPONENT& a = component(0);
    EXPECT_EQ(a.kind, VINST_COMPONENT_KIND::download);
    EXPECT_EQ(a.name, "a");
    EXPECT_EQ(a.platform, "linux");
    EXPECT_EQ(a.filename, "a.run");
    EXPECT_EQ(a.title, "T");
    EXPECT_EQ(a.desc, "D");
    EXPECT_EQ(a.md5sum, "m");
    EXPECT_EQ(a.sha1sum, "s");
    EXPECT_EQ(a.size, 1);
    EXPECT_EQ(a.downloadsize_str, "1 B");
    EXPECT_EQ(a.installsize, 2.0);
    EXPECT_EQ(a.installsize_str, "2 B");
    EXPECT_EQ(a.selection, VINST_SELECTION::selected);
    EXPECT_TRUE(a.standalone);
    EXPECT_TRUE(a.addon);
    EXPECT_EQ(a.cmd_exe, "x");
    EXPECT_EQ(a.cmd_options, "-y");
    EXPECT_EQ(a.release, release.get());
}

TEST_F(ManifestTest, ReportsEveryMissingKeyOfAComponentWithAFile)
{
    ASSERT_TRUE(load(R"([{"data_type":"download","name":"a","filename":"f"}])"));
    const std::string element = R"({"data_type":"download","filename":"f","name":"a"})";
    MESSAGES expected;
    for (const char* key : {"platform", "title", "desc", "md5sum", "sha1sum", "size",
                            "downloadsize_str", "installsize", "installsize_str", "selected"})
        expected.push_back(std::string("'") + key +
                           "' is missing in the manifest data: " + element + "\n");
    EXPECT_EQ(messages, expected);
}

TEST_F(ManifestTest, RequiresFewKeysOfAComponentWithoutAFile)
{
    ASSERT_TRUE(load(R"([{"data_type":"download","name":"a"}])"));
    const std::string element = R"({"data_type":"download","name":"a"})";
    MESSAGES expected;
    for (const char* key : {"platform", "filename", "title", "selected"})
        expected.push_back(std::string("'") + key +
                           "' is missing in the manifest data: " + element + "\n");
    EXPECT_EQ(messages, expected);
    EXPECT_EQ(component(0).selection, VINST_SELECTION::not_selected);
}

TEST_F(ManifestTest, RecognizesTheKindsByName)
{
    ASSERT_TRUE(load(R"([{"data_type":"install","name":"a"},{"data_type":"other","name":"b"},
                         {"data_type":5,"name":"c"}])"));
    EXPECT_EQ(component(0).kind, VINST_COMPONENT_KIND::install);
    EXPECT_EQ(component(1).kind, VINST_COMPONENT_KIND::unknown);
    EXPECT_EQ(component(2).kind, VINST_COMPONENT_KIND::unknown);
    EXPECT_EQ(component_kind_text(VINST_COMPONENT_KIND::main), "main");
    EXPECT_EQ(component_kind_text(VINST_COMPONENT_KIND::download), "download");
    EXPECT_EQ(component_kind_text(VINST_COMPONENT_KIND::install), "install");
    EXPECT_EQ(component_kind_text(VINST_COMPONENT_KIND::unknown), "");
}

TEST_F(ManifestTest, SelectsByNumbersAboveZero)
{
    for (const auto& [value, selected] : std::vector<std::pair<std::string, bool>>{
             {"1", true}, {"2", true}, {"0", false}, {"-1", false}, {"\"1\"", true}})
    {
        ASSERT_TRUE(load(
            R"([{"data_type":"x","name":"a","platform":"linux","filename":"","title":"","selected":)" +
            value + "}]"));
        EXPECT_EQ(messages, MESSAGES{}) << value;
        EXPECT_EQ(component(0).is_selected(), selected) << value;
    }
}

TEST_F(ManifestTest, AcceptsNumericTextsAsNumbers)
{
    ASSERT_TRUE(load(R"([{"data_type":"x","name":"a","platform":"linux","filename":"f","title":"",
        "desc":"","md5sum":"","sha1sum":"","size":"123","downloadsize_str":"","installsize":"1.5",
        "installsize_str":"","selected":"0"}])"));
    EXPECT_EQ(messages, MESSAGES{});
    EXPECT_EQ(component(0).size, 123);
    EXPECT_EQ(component(0).installsize, 1.5);
}

TEST_F(ManifestTest, KeepsSizesOver4GiBExactly)
{
    ASSERT_TRUE(load(R"([{"data_type":"x","name":"a","size":9007199254740993},
                         {"data_type":"x","name":"b","size":"9223372036854775807"}])"));
    EXPECT_EQ(component(0).size, 9007199254740993);
    EXPECT_EQ(component(1).size, 9223372036854775807);
}

TEST_F(ManifestTest, ReportsInvalidNumbers)
{
    for (const char* value : {"\"12x\"", "\"\"", "-1", "\"-1\"", "1e30", "-1e300", "true", "null",
                              "[]", "{}", "\"9223372036854775808\"", "9223372036854775808"})
    {
        const std::string element =
            std::string(R"({"data_type":"x","name":"a","size":)") + value + "}";
        ASSERT_TRUE(load("[" + element + "]"));
        EXPECT_EQ(component(0).size, 0) << value;
        ASSERT_FALSE(messages.empty());
        const auto told =
            std::find_if(messages.begin(), messages.end(),
                         [](const std::string& m)
                         { return m.find("'size' is not in the supported format: ") == 0; });
        EXPECT_NE(told, messages.end()) << value;
    }
    for (const char* value : {"\"x\"", "-1", "\"nan\"", "\"inf\"", "true", "[]"})
    {
        ASSERT_TRUE(
            load(std::string(R"([{"data_type":"x","name":"a","installsize":)") + value + "}]"));
        EXPECT_EQ(component(0).installsize, 0.0) << value;
        EXPECT_EQ(messages.at(3).find("'installsize' is not in the supported format: "), 0U)
            << value;
    }
}

TEST_F(ManifestTest, ReportsSwitchesThatAreNotNumbersAndTreatsThemAsOff)
{
    ASSERT_TRUE(load(R"([{"data_type":"x","name":"a","platform":"linux","filename":"","title":"",
        "selected":"yes","standalone":true,"addon":"1.5x"}])"));
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].find("'selected' is not in the supported format: {"), 0U);
    EXPECT_EQ(messages[1].find("'standalone' is not in the supported format: {"), 0U);
    EXPECT_EQ(messages[2].find("'addon' is not in the supported format: {"), 0U);
    EXPECT_FALSE(component(0).is_selected());
    EXPECT_FALSE(component(0).standalone);
    EXPECT_FALSE(component(0).addon);
}

TEST_F(ManifestTest, TruncatesAnElementInAMessageAfter1024Bytes)
{
    ASSERT_FALSE(load("[{\"data_type\":\"x\",\"desc\":\"" + std::string(3000, 'd') + "\"}]"));
    const std::string start = "'name' is missing in the manifest data: ";
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0],
              start +
                  ("{\"data_type\":\"x\",\"desc\":\"" + std::string(3000, 'd')).substr(0, 1024) +
                  "\n");
}

TEST_F(ManifestTest, FindsParentsAmongEarlierElementsOfThePlatform)
{
    ASSERT_TRUE(load("[" + whole("p") + "," + whole("a", R"(,"parent":"p")") + "," +
                     whole("b", R"(,"parent":"later")") + "," + whole("later") + "," +
                     whole("c", R"(,"parent":"p")") + "," + whole("d", R"(,"parent":"d")") + "]"));
    EXPECT_EQ(component(1).parent, &component(0));
    EXPECT_EQ(component(4).parent, &component(0));
    EXPECT_EQ(component(0).children,
              (std::vector<VINST_COMPONENT*>{release->components()[1].get(),
                                             release->components()[4].get()}));
    EXPECT_EQ(component(2).parent, nullptr);
    EXPECT_EQ(component(5).parent, nullptr);
    EXPECT_EQ(messages, (MESSAGES{"Parent component: later does not exist in the manifest data\n",
                                  "Parent component: d does not exist in the manifest data\n"}));
}

TEST_F(ManifestTest, FindsDependenciesAnywhereInTheArray)
{
    ASSERT_TRUE(load("[" + whole("a", R"(,"dependency":["b","c","none","d",5])") + "," +
                     whole("b") + "," + whole("c", R"(,"dependency":["a"])") + "," + whole("d") +
                     "]"));
    EXPECT_EQ(component(0).dependencies,
              (std::vector<VINST_COMPONENT*>{release->components()[1].get(),
                                             release->components()[2].get(),
                                             release->components()[3].get()}));
    EXPECT_EQ(component(2).dependencies,
              (std::vector<VINST_COMPONENT*>{release->components()[0].get()}));
    EXPECT_EQ(messages,
              (MESSAGES{"Dependency component: none does not exist in the manifest data\n",
                        "Dependency component:  does not exist in the manifest data\n"}));
}

TEST_F(ManifestTest, KeepsRelationsWithinAPlatform)
{
    ASSERT_TRUE(load(
        R"([{"data_type":"x","name":"w","platform":"windows","filename":"","title":"","selected":1},
        {"data_type":"x","name":"both","platform":"","filename":"","title":"","selected":1},
        {"data_type":"x","name":"l","platform":"linux","filename":"","title":"","selected":1,"parent":"w","dependency":["w","both"]},
        {"data_type":"x","name":"s","platform":"solaris","filename":"","title":"","selected":1,"parent":"both","dependency":["both"]}])"));
    EXPECT_EQ(component(2).parent, nullptr);
    EXPECT_EQ(component(2).dependencies,
              (std::vector<VINST_COMPONENT*>{release->components()[1].get()}));
    EXPECT_EQ(component(3).parent, nullptr);
    EXPECT_TRUE(component(3).dependencies.empty());
    EXPECT_EQ(messages,
              (MESSAGES{"Parent component: w does not exist in the manifest data\n",
                        "Parent component: both does not exist in the manifest data\n",
                        "Dependency component: w does not exist in the manifest data\n",
                        "Dependency component: both does not exist in the manifest data\n"}));
}

TEST_F(ManifestTest, TreatsAnUnsafeFileNameAsMissing)
{
    for (const char* name :
         {"../x", "a/b", "/etc/passwd", "..", ".", "a\\\\b", "C:x", "a:b", "a\\u0000b", "a\\nb",
          "CON", "nul.txt", "com1", "x.", "x ", "a\\u007fb", "a|b", "a*b"})
    {
        ASSERT_TRUE(load(
            std::string(R"([{"data_type":"download","name":"a","platform":"linux","filename":")") +
            name + R"(","title":"","selected":1}])"));
        EXPECT_EQ(component(0).filename, "") << name;
        ASSERT_EQ(messages.size(), 1U) << name;
        EXPECT_EQ(messages[0].find("'filename' is not safe: {\"data_type\":\"download\""), 0U)
            << name;
        EXPECT_EQ(component(0).download_url(), "");
    }
}

TEST_F(ManifestTest, TreatsAFileNameThatDiffersOnlyInCaseAsMissing)
{
    const auto element = [](const char* name, const char* filename)
    {
        return std::string(R"({"data_type":"download","platform":"linux","title":"","name":")") +
               name + R"(","filename":")" + filename +
               R"(","desc":"","md5sum":"","sha1sum":"","size":1,"downloadsize_str":"",)" +
               R"("installsize":1,"installsize_str":"","selected":1})";
    };
    ASSERT_TRUE(load("[" + element("a", "Setup.run") + "," + element("b", "setup.RUN") + "," +
                     element("c", "Setup.run") + "]"));
    EXPECT_EQ(component(0).filename, "Setup.run");
    EXPECT_EQ(component(1).filename, "");
    EXPECT_EQ(component(2).filename, "Setup.run");
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].find("'filename' is not safe: {"), 0U);
}

TEST_F(ManifestTest, ReplacesControlCharactersInReportedNames)
{
    ASSERT_TRUE(load("[" + whole("a", R"(,"parent":"p\u001b[2J")") + "]"));
    EXPECT_EQ(
        messages,
        (MESSAGES{"Parent component: p\xEF\xBF\xBD[2J does not exist in the manifest data\n"}));
}

TEST_F(ManifestTest, SurvivesKeysOfTheWrongTypes)
{
    for (const char* value : {"1", "true", "null", "[]", "{}", "[[1]]", "\"x\"", "1e308"})
    {
        std::string element = R"({"data_type":"download")";
        for (const char* key :
             {"name", "platform", "filename", "title", "desc", "md5sum", "sha1sum", "size",
              "downloadsize_str", "installsize", "installsize_str", "parent", "dependency",
              "selected", "standalone", "addon", "cmd_exe", "cmd_options"})
            element += std::string(",\"") + key + "\":" + value;
        EXPECT_TRUE(load("[" + element + "}]")) << value;
        EXPECT_TRUE(load(std::string(R"([{"data_type":"main","edition":)") + value +
                         R"(,"version":)" + value + R"(,"download_url":)" + value +
                         R"(,"installdir_linux":)" + value + "}]"));
    }
}

TEST_F(ManifestTest, SurvivesDeepNestingAndInvalidText)
{
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_FALSE(load(deep));
    EXPECT_TRUE(
        load("[" + whole("a", ",\"x\":" + std::string(500, '[') + std::string(500, ']')) + "]"));
    load("[{\"data_type\":\"x\",\"name\":\"\xff\xfe\"}]");
    EXPECT_TRUE(load("\xEF\xBB\xBF[" + whole("a") + "]"));
}

TEST(LocateManifest, PrefersTheNamedFileThenTheProgramsDirectoryThenASourceTree)
{
    const TEMP_DIR dir;
    const QString app = dir.qstr() + "/a/bin";
    dir.make_dir("a/bin");
    dir.make_dir("ib_installers/manifest_files");
    const QString tree = app + "/../../ib_installers/manifest_files/manifest_";
    EXPECT_EQ(locate_manifest(app, {}, "linux"), tree + "linux_standard.json");
    EXPECT_EQ(locate_manifest(app, {}, "windows"), tree + "windows_standard.json");

    dir.write("ib_installers/manifest_files/manifest_linux_pro.json", "[]");
    EXPECT_EQ(locate_manifest(app, {}, "linux"), tree + "linux_pro.json");
    EXPECT_EQ(locate_manifest(app, dir.qstr() + "/none.json", "linux"), tree + "linux_pro.json");

    dir.write("a/bin/manifest.json", "[]");
    EXPECT_EQ(locate_manifest(app, {}, "linux"), app + "/manifest.json");
    const QString named = QString::fromStdString(dir.write("named.json", "[]").string());
    EXPECT_EQ(locate_manifest(app, named, "linux"), named);
}

TEST(LocateManifest, ReplacesTheEditionInTheFullFallbackPath)
{
    EXPECT_EQ(locate_manifest("/none/vinst_pro/bin", {}, "linux"),
              "/none/vinst_standard/bin/../../ib_installers/manifest_files/"
              "manifest_linux_standard.json");
}

TEST_F(ManifestTest, ReportsAnElementWithoutItsControlCharacters)
{
    // JSON escapes control characters below the blank, but neither DEL nor C1 control characters.
    ASSERT_TRUE(load(
        R"([{"data_type":"download","name":"a\u007f\u009b2J\u2028","platform":"linux","filename":""}])"));
    const std::string element = "{\"data_type\":\"download\",\"filename\":\"\",\"name\":\"a"
                                "\xEF\xBF\xBD\xEF\xBF\xBD"
                                "2J\xEF\xBF\xBD\",\"platform\":\"linux\"}";
    EXPECT_EQ(messages,
              (MESSAGES{"'title' is missing in the manifest data: " + element + "\n",
                        "'selected' is missing in the manifest data: " + element + "\n"}));
}

TEST_F(ManifestTest, TreatsDeviceNamesAndInvisibleControlsAsUnsafeFileNames)
{
    for (const char* name : {"a\\u0085b", "a\\u009bb", "CONIN$", "conout$.txt", "COM\\u00b9",
                             "lpt\\u00b3.run", "nul .txt", "a\\tb", "\\u0001", "....", " ", "\\/"})
    {
        ASSERT_TRUE(load(
            std::string(R"([{"data_type":"download","name":"a","platform":"linux","filename":")") +
            name + R"(","title":"","selected":1}])"));
        EXPECT_EQ(component(0).filename, "") << name;
    }
    ASSERT_TRUE(load("[" + whole(std::string(300, 'n')) + "]"));
    EXPECT_EQ(component(0).filename, "");
}

TEST_F(ManifestTest, ReadsTextsOfTheWrongTypeAsEmptySilently)
{
    ASSERT_TRUE(load(R"([{"data_type":"main","edition":5,"version":[],"download_url":{},
        "installdir_linux":7,"installdir_windows":null},
        {"data_type":null,"name":true,"platform":1,"filename":[],"title":{},"parent":3,
        "dependency":"a","selected":1,"cmd_exe":1,"cmd_options":2}])"));
    EXPECT_EQ(messages, MESSAGES{});
    EXPECT_EQ(release->edition, "");
    EXPECT_EQ(release->version, "");
    EXPECT_EQ(release->manifest_download_url, "");
    EXPECT_EQ(release->installdir_linux, "");
    EXPECT_EQ(release->installdir_windows, "");
    EXPECT_EQ(component(0).kind, VINST_COMPONENT_KIND::unknown);
    EXPECT_EQ(component(0).name, "");
    EXPECT_EQ(component(0).platform, "");
    EXPECT_EQ(component(0).title, "");
    EXPECT_EQ(component(0).cmd_exe, "");
    EXPECT_TRUE(component(0).dependencies.empty());
}

TEST_F(ManifestTest, ReportsSwitchesBeyond32BitsAsInvalid)
{
    const std::string element =
        R"({"addon":-2147483649,"data_type":"x","filename":"","name":"a","platform":"linux",)"
        R"("selected":2147483648,"standalone":1e+300,"title":""})";
    ASSERT_TRUE(load("[" + element + "]"));
    EXPECT_EQ(messages, (MESSAGES{"'selected' is not in the supported format: " + element + "\n",
                                  "'standalone' is not in the supported format: " + element + "\n",
                                  "'addon' is not in the supported format: " + element + "\n"}));
    ASSERT_TRUE(load(R"([{"data_type":"x","name":"a","selected":2147483647,"standalone":-2147483648,
                          "addon":0}])"));
    EXPECT_TRUE(component(0).is_selected());
    EXPECT_FALSE(component(0).standalone);
    EXPECT_FALSE(component(0).addon);
}

TEST_F(ManifestTest, NamesTheElementInEveryMessageAboutItsNumbers)
{
    const std::string element =
        R"({"addon":"-","data_type":"x","filename":"","installsize":"1 GB","name":"a",)"
        R"("platform":"linux","selected":[],"size":"1 KB","standalone":{},"title":""})";
    ASSERT_TRUE(load("[" + element + "]"));
    MESSAGES expected;
    for (const char* key : {"size", "installsize", "selected", "standalone", "addon"})
        expected.push_back(std::string("'") + key + "' is not in the supported format: " + element +
                           "\n");
    EXPECT_EQ(messages, expected);
}

TEST_F(ManifestTest, ResolvesDeferredDependenciesAfterTheOthers)
{
    ASSERT_TRUE(load("[" + whole("early") + "," +
                     whole("a", R"(,"dependency":["late","early","a"])") + "," + whole("late") +
                     "]"));
    const auto& all = release->components();
    EXPECT_EQ(component(1).dependencies,
              (std::vector<VINST_COMPONENT*>{all[0].get(), all[1].get(), all[2].get()}));
    EXPECT_EQ(messages, MESSAGES{});
}

TEST_F(ManifestTest, LetsAComponentWithoutAPlatformBeTheParentOnBoth)
{
    ASSERT_TRUE(load(
        R"([{"data_type":"x","name":"p","platform":"","filename":"","title":"","selected":1},
        {"data_type":"x","name":"l","platform":"linux","filename":"","title":"","selected":1,"parent":"p"},
        {"data_type":"x","name":"w","platform":"windows","filename":"","title":"","selected":1,"parent":"p"},
        {"data_type":"x","name":"n","platform":"","filename":"","title":"","selected":1,"parent":"l"}])"));
    EXPECT_EQ(component(1).parent, &component(0));
    EXPECT_EQ(component(2).parent, &component(0));
    EXPECT_EQ(component(3).parent, nullptr);
    EXPECT_EQ(component(0).children.size(), 2U);
    EXPECT_EQ(messages, (MESSAGES{"Parent component: l does not exist in the manifest data\n"}));
}

TEST_F(ManifestTest, FindsTheFirstOfComponentsWithTheSameName)
{
    ASSERT_TRUE(load("[" + whole("a") + "," + whole("a") + "," + whole("b", R"(,"parent":"a")") +
                     "," + whole("a", R"(,"parent":"a")") + "]"));
    EXPECT_EQ(component(2).parent, &component(0));
    EXPECT_EQ(component(3).parent, &component(0));
    EXPECT_EQ(release->find_component("a", "linux"), release->components()[0].get());
}

TEST_F(ManifestTest, ReturnsNoPartiallyReadRelease)
{
    EXPECT_FALSE(load("[" + whole("a", R"(,"dependency":["none"])") + ",{\"data_type\":\"x\"}," +
                      whole("b") + "]"));
    EXPECT_EQ(messages,
              MESSAGES{"'name' is missing in the manifest data: {\"data_type\":\"x\"}\n"});
}

TEST_F(ManifestTest, RefusesEveryTruncatedText)
{
    const std::string text = R"([{"data_type":"main","edition":"p\u00e9","version":"1.2"},)" +
                             whole("a", R"(,"dependency":["b"])") + "," +
                             whole("b", R"(,"parent":"a")") + "]";
    ASSERT_TRUE(load(text));
    for (std::size_t length = 0; length < text.size(); ++length)
    {
        ASSERT_FALSE(load(text.substr(0, length))) << length;
        ASSERT_EQ(messages,
                  (MESSAGES{path_message("Manifest file ", " is not in the supported format\n")}));
    }
}

TEST_F(ManifestTest, SurvivesBytesThatWereChangedAtRandom)
{
    const std::string good =
        R"([{"data_type":"main","edition":"p","version":"1.2.3","test_url":"u","test_md5sum":"m"},)" +
        whole("a", R"(,"dependency":["b","a"],"standalone":1)") + "," +
        whole("b", R"(,"parent":"a","addon":"1")") + "]";
    std::mt19937 random(7);
    for (int round = 0; round < 1500; ++round)
    {
        std::string text = good;
        for (int changes = 1 + round % 4; changes > 0; --changes)
            text[random() % text.size()] = static_cast<char>(random() % 256);
        if (!load(text))
            ASSERT_FALSE(messages.empty()) << text;
        else
            for (const auto& loaded : release->components())
                ASSERT_TRUE(loaded->size >= 0 && loaded->installsize >= 0) << text;
    }
}

TEST(FindManifestFile, FindsTheFileThatTheEnvironmentNames)
{
    const TEMP_DIR dir;
    dir.write("other.json", R"([{"data_type":"main","edition":"pro","version":"5.2"}])");
    qputenv("vinst_manifest", (dir.qstr() + "/other.json").toUtf8());
    const std::unique_ptr<VINST_RELEASE> release = find_manifest_file([](const QByteArray&) {});
    qunsetenv("vinst_manifest");
    ASSERT_NE(release, nullptr);
    EXPECT_EQ(release->edition, "pro");
}

TEST(FindManifestFile, TreatsAnEmptyNameAsUnset)
{
    // There is no manifest next to this test program or in a source tree around it.
    QString last = QCoreApplication::applicationDirPath() +
                   "/../../ib_installers/manifest_files/manifest_" + host_platform() +
                   "_standard.json";
    last.replace("_pro", "_standard");
    for (const char* named : {"", "/none/such.json"})
    {
        qputenv("vinst_manifest", named);
        std::string messages;
        EXPECT_EQ(find_manifest_file([&](const QByteArray& message)
                                     { messages += message.toStdString(); }),
                  nullptr);
        EXPECT_EQ(messages, "Manifest file " + last.toStdString() + " does not exist\n");
    }
    qunsetenv("vinst_manifest");
}
