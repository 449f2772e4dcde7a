#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

using namespace std::chrono_literals;

namespace
{

constexpr const char* packaging = VINST_TEST_SOURCE_DIR "/packaging/windows/";

std::string read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> matches(const std::string& text, const char* pattern)
{
    const std::regex expression(pattern);
    std::set<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match)
        found.insert((*match)[1].str());
    return found;
}

/// The manifests for winget and Chocolatey.
class StoreManifests : public ::testing::Test
{
protected:
    struct OUTCOME
    {
        int exit_code;
        std::string output;
        std::string errors;
    };

    OUTCOME make(const std::string& name = "vinst-1.2.3-windows-x86_64-setup.exe",
                 const std::string& url = "https://downloads.example.org/vinst/")
    {
        dir.write(name, "a program");
        return run("store_manifests.sh", {(dir / name).string(), url, out()});
    }

    OUTCOME check() { return run("check_store_manifests.py", {out()}); }

    static OUTCOME run(const std::string& script, const std::vector<std::string>& arguments)
    {
        CHILD_PROCESS process({packaging + script, arguments});
        const int exit_code = process.wait(300s).value().exit_code;
        return {exit_code, process.output(), process.errors()};
    }

    std::string out() const { return (dir / "out").string(); }
    std::string text_of(const std::string& path) const { return read(out() + '/' + path); }

    void replace(const std::string& path, const std::string& old, const std::string& by)
    {
        std::string text = text_of(path);
        const std::size_t at = text.find(old);
        ASSERT_NE(at, std::string::npos) << old;
        std::ofstream(out() + '/' + path, std::ios::binary) << text.replace(at, old.size(), by);
    }

    TEMP_DIR dir;
};

constexpr const char* installer = "winget/Orvane.VeltrinCrestInstaller.installer.yaml";
constexpr const char* package = "chocolatey/orvane-veltrin-crest-installer.nuspec";
// Of the bytes "a program", by sha256sum.
const std::string sum = "D69EA8CDA2433733C1CE02DE65DA8F48E6A3DBBA6BB18876A2062908E54EF7CB";

TEST_F(StoreManifests, NameVersionAddressAndChecksum)
{
    const OUTCOME made = make();
    EXPECT_EQ(made.output + made.errors, "");
    ASSERT_EQ(made.exit_code, 0);
    const std::string url =
        "https://downloads.example.org/vinst/vinst-1.2.3-windows-x86_64-setup.exe";
    EXPECT_EQ(matches(text_of(installer), "InstallerUrl: (.*)"), std::set<std::string>{url});
    EXPECT_EQ(matches(text_of(installer), "InstallerSha256: (.*)"), std::set<std::string>{sum});
    EXPECT_EQ(matches(text_of(installer), "Version: (\"1.*)"), std::set<std::string>{"\"1.2.3\""});
    EXPECT_EQ(matches(text_of(package), "<version>(.*)</version>"), std::set<std::string>{"1.2.3"});
    const std::string script = text_of("chocolatey/tools/chocolateyinstall.ps1");
    EXPECT_EQ(matches(script, "url64bit *= '(.*)'"), std::set<std::string>{url});
    EXPECT_EQ(matches(script, "checksum64 *= '(.*)'"), std::set<std::string>{sum});
}

TEST_F(StoreManifests, FailTheCheckIfSomethingIsWrong)
{
    const struct
    {
        const char* file;
        const char* old;
        const char* by;
    } faults[] = {
        {installer, "Scope: user", "Scope: me"},
        {installer, "/D=<INSTALLPATH>", "/DIR=<INSTALLPATH>"},
        {installer, "InstallerSha256: ", "InstallerSha256: 0"},
        {installer, "UpgradeBehavior", "UpgradeBehaviour"},
        {installer, "ManifestType: installer", "ManifestType: singleton"},
        {"winget/Orvane.VeltrinCrestInstaller.yaml", "\"1.2.3\"", "1.2"},
        {"winget/Orvane.VeltrinCrestInstaller.locale.en-US.yaml", "License: MIT", "License: ''"},
        {package, "<version>1.2.3<", "<version>1<"},
        {package, "<authors>", "<author>"},
        {"chocolatey/tools/chocolateyinstall.ps1", "https:", "http:"},
    };
    for (const auto& fault : faults)
    {
        ASSERT_EQ(make().exit_code, 0);
        ASSERT_EQ(check().exit_code, 0);
        replace(fault.file, fault.old, fault.by);
        const OUTCOME checked = check();
        EXPECT_EQ(checked.exit_code, 1) << fault.by;
        EXPECT_NE(checked.output, "") << fault.by;
    }
}

TEST_F(StoreManifests, AreNotMadeForOtherFilesAndAddresses)
{
    EXPECT_EQ(make("vinst-1.2.3+pro5.2-windows-x86_64-setup.exe").exit_code, 1);
    EXPECT_EQ(make("setup.exe").exit_code, 1);
    EXPECT_EQ(make("vinst-1.2.3-windows-x86_64-setup.exe", "http://downloads.example.org/").errors,
              "store_manifests.sh: this is not an https address: http://downloads.example.org/\n");
}

TEST_F(StoreManifests, KnowTheExitCodesAndTheKeyOfTheSetupProgram)
{
    ASSERT_EQ(make().exit_code, 0);
    const std::string setup = read(packaging + std::string("setup.nsi"));
    const std::set<std::string> codes = matches(setup, "\n; +([0-9]+)  ");
    ASSERT_GE(codes.size(), 10U);
    EXPECT_EQ(matches(text_of(installer), "InstallerReturnCode: ([0-9]+)"), codes);
    EXPECT_EQ(matches(read(packaging + std::string("common.nsh")),
                      R"(KEY "\$\{PARENT_KEY\}\\(.*)\$\{SUFFIX\}")"),
              matches(text_of(installer), "ProductCode: (.*)"));
}

}
