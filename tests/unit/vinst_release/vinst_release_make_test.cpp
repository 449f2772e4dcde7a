#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"
#include "tools/vinst_release/release_check.h"
#include "tools/vinst_release/release_make.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCryptographicHash>

#include <ostream>

#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

const auto ignore_progress = [](const RELEASE_FILE_PROGRESS&) {};

QString sum_of(const std::string& bytes, QCryptographicHash::Algorithm algorithm)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(bytes), algorithm).toHex();
}

ino_t inode(const std::filesystem::path& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

class MakeRelease : public testing::Test
{
protected:
    RELEASE_MAKE_RESULT make(const std::string& components, const std::string& more_keys = "",
                             const QString& url = "http://downloads.example")
    {
        m_dir.write("description.json", R"({"edition": "pro", "version": "5.2.0.31", )" +
                                            more_keys + "\"components\": [" + components + "]}");
        return make_release(m_dir.qstr() + "/description.json", m_dir.qstr() + "/out", url,
                            ignore_progress);
    }

    /// The manifest as the program loads it; any message of the loader fails the test.
    std::unique_ptr<VINST_RELEASE> load()
    {
        return parse_manifest(m_dir.qstr() + "/out/manifest.json", [](const QByteArray& message)
                              { ADD_FAILURE() << message.toStdString(); });
    }

    TEMP_DIR m_dir;
};

}

TEST_F(MakeRelease, WritesAManifestThatTheProgramLoads)
{
    const std::string base = pattern(3000000, 1);
    m_dir.write("base.run", base);
    m_dir.write("empty.vdz", "");
    const auto made =
        make(R"(
        {"name": "part", "platform": "linux", "file": "empty.vdz", "parent": "base",
         "dependency": ["base"], "installsize": 1342177280},
        {"name": "base", "platform": "linux", "file": "base.run", "title": "Base", "desc": "It.",
         "selected": true, "standalone": true, "addon": true},
        {"kind": "install", "name": "shortcut", "platform": "windows", "cmd_exe": "x",
         "cmd_options": "--y"})",
             R"("installdir_linux": "/opt/base", "installdir_windows": "C:\\base", )");
    ASSERT_EQ(made.faults, QStringList());
    EXPECT_EQ(made.components, 3U);
    EXPECT_EQ(made.files, 2U);
    EXPECT_EQ(made.files_copied, 2U);
    EXPECT_EQ(made.bytes, 3000000U);

    const auto release = load();
    ASSERT_NE(release, nullptr);
    EXPECT_EQ(release->edition, "pro");
    EXPECT_EQ(release->version, "5.2.0.31");
    EXPECT_EQ(release->download_url(), "http://downloads.example");
    EXPECT_EQ(release->test_url(), "http://downloads.example/vinst_test_download.txt");
    EXPECT_EQ(release->test_md5sum(),
              sum_of(m_dir.read("out/vinst_test_download.txt"), QCryptographicHash::Md5));
    EXPECT_EQ(release->installdir_linux, "/opt/base");
    EXPECT_EQ(release->installdir_windows, "C:\\base");

    ASSERT_EQ(release->components().size(), 3U);
    const VINST_COMPONENT& base_component = *release->components()[0];
    EXPECT_EQ(base_component.name, "base");
    EXPECT_EQ(base_component.kind, VINST_COMPONENT_KIND::download);
    EXPECT_EQ(base_component.title, "Base");
    EXPECT_EQ(base_component.desc, "It.");
    EXPECT_EQ(base_component.filename, "base.run");
    EXPECT_EQ(base_component.size, 3000000);
    EXPECT_EQ(base_component.downloadsize_str, "2.86 MB");
    EXPECT_EQ(base_component.installsize, 3000000);
    EXPECT_EQ(base_component.installsize_str, "2.86 MB");
    EXPECT_EQ(base_component.md5sum, sum_of(base, QCryptographicHash::Md5));
    EXPECT_EQ(base_component.sha1sum, sum_of(base, QCryptographicHash::Sha1));
    EXPECT_TRUE(base_component.is_selected());
    EXPECT_TRUE(base_component.standalone);
    EXPECT_TRUE(base_component.addon);

    const VINST_COMPONENT& part = *release->components()[1];
    EXPECT_EQ(part.parent, &base_component);
    EXPECT_THAT(part.dependencies, ElementsAre(&base_component));
    EXPECT_EQ(part.size, 0);
    EXPECT_EQ(part.md5sum, "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(part.sha1sum, "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(part.installsize_str, "1.25 GB");
    EXPECT_FALSE(part.is_selected());
    EXPECT_FALSE(part.standalone);

    const VINST_COMPONENT& shortcut = *release->components()[2];
    EXPECT_EQ(shortcut.kind, VINST_COMPONENT_KIND::install);
    EXPECT_EQ(shortcut.platform, "windows");
    EXPECT_EQ(shortcut.cmd_exe, "x");
    EXPECT_EQ(shortcut.cmd_options, "--y");
}

TEST_F(MakeRelease, CopiesFilesByteForByteAndNothingElse)
{
    const std::string base = pattern(2500001, 2);
    m_dir.write("deep/down/base.run", base);
    ASSERT_EQ(make(R"({"name": "a", "platform": "linux", "file": "deep/down/base.run"})").faults,
              QStringList());
    EXPECT_EQ(m_dir.read("out/base.run"), base);
    EXPECT_THAT(list_tree(m_dir / "out"),
                ElementsAre("base.run", "manifest.json", "vinst_test_download.txt"));
}

TEST_F(MakeRelease, PassesItsOwnCheck)
{
    m_dir.write("base.run", pattern(100000, 3));
    ASSERT_EQ(make(R"({"name": "a", "platform": ["linux", "windows"], "file": "base.run",
                       "selected": true},
                      {"name": "b", "platform": "linux", "parent": "a"})")
                  .faults,
              QStringList());
    const auto checked =
        check_release(m_dir.qstr() + "/out/manifest.json", m_dir.qstr() + "/out", ignore_progress);
    EXPECT_EQ(checked.faults, QStringList());
    EXPECT_EQ(checked.components, 3U);
    EXPECT_EQ(checked.files_read, 2U);
}

TEST_F(MakeRelease, DoesNotRewriteUnchangedFiles)
{
    const std::string components = R"({"name": "a", "platform": "linux", "file": "a.run"},
                                      {"name": "b", "platform": "linux", "file": "b.run"})";
    m_dir.write("a.run", pattern(3000000, 4));
    m_dir.write("b.run", pattern(3000000, 5));
    ASSERT_EQ(make(components).files_copied, 2U);
    const ino_t a = inode(m_dir / "out/a.run");
    const ino_t manifest = inode(m_dir / "out/manifest.json");

    EXPECT_EQ(make(components).files_copied, 0U);
    EXPECT_EQ(inode(m_dir / "out/a.run"), a);
    EXPECT_EQ(inode(m_dir / "out/manifest.json"), manifest);

    // The same size, but different bytes at the very end.
    std::string changed = pattern(3000000, 5);
    changed.back() = static_cast<char>(changed.back() ^ 1);
    m_dir.write("b.run", changed);
    const auto made = make(components);
    EXPECT_EQ(made.files_copied, 1U);
    EXPECT_EQ(made.bytes, 6000000U);
    EXPECT_EQ(inode(m_dir / "out/a.run"), a);
    EXPECT_EQ(m_dir.read("out/b.run"), changed);
    EXPECT_EQ(load()->components()[1]->md5sum, sum_of(changed, QCryptographicHash::Md5));
}

TEST_F(MakeRelease, ReplacesATruncatedFile)
{
    m_dir.write("a.run", pattern(3000000, 6));
    m_dir.write("out/a.run", pattern(1000000, 6));
    EXPECT_EQ(make(R"({"name": "a", "platform": "linux", "file": "a.run"})").files_copied, 1U);
    EXPECT_EQ(m_dir.read("out/a.run"), pattern(3000000, 6));
}

TEST_F(MakeRelease, WorksOnFilesInItsOutputDirectory)
{
    m_dir.write("out/a.run", pattern(10000, 7));
    const auto made = make(R"({"name": "a", "platform": "linux", "file": "out/a.run"})");
    EXPECT_EQ(made.faults, QStringList());
    EXPECT_EQ(made.files_copied, 0U);
    EXPECT_EQ(m_dir.read("out/a.run"), pattern(10000, 7));
}

TEST_F(MakeRelease, ReplacesALinkInsteadOfWritingThroughIt)
{
    m_dir.write("a.run", "new");
    m_dir.write("precious", "old");
    m_dir.make_dir("out");
    std::filesystem::create_symlink(m_dir / "precious", m_dir / "out/a.run");
    const auto made = make(R"({"name": "a", "platform": "linux", "file": "a.run"})");
    ASSERT_EQ(made.faults, QStringList());
    EXPECT_EQ(m_dir.read("precious"), "old");
    EXPECT_EQ(m_dir.read("out/a.run"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(m_dir / "out/a.run"));
}

TEST_F(MakeRelease, KeepsTheEarlierManifestIfAFileCannotBeWritten)
{
    m_dir.write("a.run", "a");
    m_dir.write("out/manifest.json", "earlier");
    m_dir.make_dir("out/a.run");
    const auto made = make(R"({"name": "a", "platform": "linux", "file": "a.run"})");
    ASSERT_EQ(made.faults.size(), 1);
    EXPECT_THAT(made.faults[0].toStdString(),
                HasSubstr("cannot write '" + m_dir.str() + "/out/a.run': "));
    EXPECT_EQ(m_dir.read("out/manifest.json"), "earlier");
}

TEST_F(MakeRelease, ReportsFaultsOfTheDescriptionAndWritesNothing)
{
    const auto made = make(R"({"name": "a", "platform": "linux", "parent": "b"})");
    EXPECT_EQ(made.faults, QStringList("component 'a' (linux): its parent 'b' does not exist on "
                                       "its platform"));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "out"));
}

TEST_F(MakeRelease, UsesTheAddressesOfTheDescription)
{
    ASSERT_EQ(make(R"({"name": "a", "platform": "linux"})",
                   R"("download_url": "https://a.example/x/", "test_url": "https://b.example/t", )",
                   QString())
                  .faults,
              QStringList());
    const auto release = load();
    EXPECT_EQ(release->manifest_download_url, "https://a.example/x");
    EXPECT_EQ(release->test_url(), "https://b.example/t");
}

TEST_F(MakeRelease, PutsTheTestFileBelowTheBuiltInAddressIfNoneIsGiven)
{
    ASSERT_EQ(make(R"({"name": "a", "platform": "linux"})", "", QString()).faults, QStringList());
    const auto release = load();
    EXPECT_EQ(release->manifest_download_url, "");
    EXPECT_EQ(release->test_url(), release->download_url() + "/vinst_test_download.txt");
    EXPECT_EQ(release->test_md5sum(),
              sum_of(m_dir.read("out/vinst_test_download.txt"), QCryptographicHash::Md5));
    release->use_mirror("http://127.0.0.1:8080");
    EXPECT_EQ(release->test_url(), "http://127.0.0.1:8080/vinst_test_download.txt");
}

TEST_F(MakeRelease, RefusesAddressesOfThisMachine)
{
    for (const char* address :
         {"http://127.0.0.1:8080", "https://localhost/5.2", "http://LOCALHOST", "http://[::1]:80/x",
          "http://0.0.0.0:1", "http://127.1", "http://release.localhost/5.2"})
    {
        const QStringList fault(
            QString::fromLatin1("the address '%1' leads to this machine only. Leave it out, "
                                "and try the release with vinst --url")
                .arg(address));
        const char* component = R"({"name": "a", "platform": "linux"})";
        EXPECT_EQ(make(component, "", address).faults, fault);
        EXPECT_EQ(
            make(component, "\"download_url\": \"" + std::string(address) + "\", ", "").faults,
            fault);
        EXPECT_EQ(make(component, "\"test_url\": \"" + std::string(address) + "\", ").faults,
                  fault);
    }
    EXPECT_FALSE(std::filesystem::exists(m_dir / "out"));
    for (const char* address :
         {"http://127.example.org", "http://localhost.example", "http://128.0.0.1"})
        EXPECT_EQ(make(R"({"name": "a", "platform": "linux"})", "", address).faults, QStringList())
            << address;
}

TEST(ProcessFiles, ReportsItsProgressUntilTheEnd)
{
    const TEMP_DIR dir;
    std::vector<RELEASE_FILE_JOB> jobs;
    for (int i = 0; i < 20; ++i)
    {
        const std::string name = "file" + std::to_string(i);
        dir.write(name, pattern(100000, static_cast<std::uint64_t>(i)));
        jobs.push_back({dir.qstr() + '/' + QString::fromStdString(name), QString()});
    }
    RELEASE_FILE_PROGRESS last;
    const auto results = process_files(jobs, [&](const RELEASE_FILE_PROGRESS& now) { last = now; });
    EXPECT_EQ(last.files_done, 20U);
    EXPECT_EQ(last.files, 20U);
    EXPECT_EQ(last.bytes_done, 2000000U);
    EXPECT_EQ(last.bytes, 2000000U);
    for (std::size_t i = 0; i < results.size(); ++i)
        EXPECT_EQ(results[i].sums.md5, sum_of(pattern(100000, i), QCryptographicHash::Md5));
}

TEST(ProcessFiles, ReportsAnUnreadableFileAndContinues)
{
    const TEMP_DIR dir;
    dir.write("there", "abc");
    const auto results = process_files(
        {{dir.qstr() + "/none", QString()}, {dir.qstr() + "/there", QString()}}, ignore_progress);
    EXPECT_THAT(results[0].error.toStdString(), HasSubstr("cannot read '" + dir.str() + "/none'"));
    EXPECT_EQ(results[1].error, "");
    EXPECT_EQ(results[1].sums.md5, "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(results[1].sums.sha1, "a9993e364706816aba3e25717850c26c9cd0d89d");
}
