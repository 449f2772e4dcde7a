#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace
{

/// What the script that names packages reads from a manifest.
class ReadRelease : public ::testing::Test
{
protected:
    struct OUTCOME
    {
        int exit_code;
        std::string output;
        std::string errors;
    };

    OUTCOME read(const std::string& manifest, const std::vector<std::string>& name = {})
    {
        dir.write("manifest.json", manifest);
        std::vector<std::string> arguments = {path()};
        arguments.insert(arguments.end(), name.begin(), name.end());
        CHILD_PROCESS script({VINST_TEST_SOURCE_DIR "/packaging/read_release.pl", arguments});
        const int exit_code = script.wait(300s).value().exit_code;
        return {exit_code, script.output(), script.errors()};
    }

    std::string path() const { return (dir / "manifest.json").string(); }

    TEMP_DIR dir;
};

TEST_F(ReadRelease, PrintsEditionVersionLabelAndTitle)
{
    const OUTCOME release =
        read(R"([{"data_type": "main", "edition": "Pro", "version": "5.2.0.31"}])");
    EXPECT_EQ(release.output, "Pro\n5.2.0.31\n+pro5.2.0.31\nVeltrin Crest Pro 5.2 Installer\n");
    EXPECT_EQ(release.errors, "");
    EXPECT_EQ(release.exit_code, 0);
}

TEST_F(ReadRelease, NamesAnotherProduct)
{
    const OUTCOME release = read(
        R"([{"data_type": "main", "edition": "standard", "version": "1.0"}])", {"Board Kit (EU)"});
    EXPECT_EQ(release.output,
              "standard\n1.0\n+standard1.0\nBoard Kit (EU) Standard 1.0 Installer\n");
}

TEST_F(ReadRelease, ReadsTheLastMainElementAndFourPartsOfItsVersionAsTheProgramDoes)
{
    const OUTCOME release = read("\xEF\xBB\xBF"
                                 R"([{"data_type": "main", "edition": "old", "version": "1.0"},
            {"data_type": "install", "name": "part"},
            {"data_type": "main", "edition": "pro", "version": "5.2.0.31.7"}])");
    EXPECT_EQ(release.output, "pro\n5.2.0.31\n+pro5.2.0.31\nVeltrin Crest Pro 5.2 Installer\n");
}

TEST_F(ReadRelease, RefusesWhatIsNoManifest)
{
    EXPECT_EQ(read(R"({"edition": "pro"})").errors,
              "read_release.pl: " + path() + " is not a manifest: it has to be a JSON array\n");
    EXPECT_EQ(read("[{").exit_code, 1);
    EXPECT_EQ(read(R"([{"data_type": "install"}])").errors,
              "read_release.pl: " + path() + " has no element with the data_type \"main\"\n");
}

TEST_F(ReadRelease, RefusesWhatCannotBePartOfAPackageName)
{
    EXPECT_EQ(read(R"([{"data_type": "main", "edition": "../pro", "version": "5.2"}])").errors,
              "read_release.pl: " + path() +
                  ": the edition '../pro' has to consist of ASCII letters and digits\n");
    EXPECT_EQ(read(R"([{"data_type": "main", "edition": "pro", "version": "5.2\n"}])").exit_code,
              1);
    EXPECT_EQ(
        read(R"([{"data_type": "main", "edition": "pro", "version": "5.2"}])", {"a$b"}).errors,
        "read_release.pl: the name 'a$b' contains characters that are not supported\n");
}

}
