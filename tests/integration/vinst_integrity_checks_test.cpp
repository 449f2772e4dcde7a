#include "install/vinst/download/vinst_integrity_checks.h"

#include "install/vinst/download/vinst_file_check.h"
#include "tests/integration/manager_fixture.h"
#include "tests/integration/recording_view.h"

#include <algorithm>
#include <regex>

namespace
{

using std::filesystem::perms;

class Integrity : public ManagerTest
{
protected:
    void load_one(std::size_t size = 3000)
    {
        builder.component("one").pattern_content(size, 1);
        builder.component("two").filename("two.vdz").pattern_content(2000, 2);
        load();
        one = component("one");
        manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release, quiet_view);
        manager->set_components({one}, false);
    }

    void put(const std::string& content) { dir.write("dl/one.run", content); }

    bool check()
    {
        manager->get_progress_percentage(one, true, true, 0);
        return manager->check_integrity();
    }

    VINST_COMPONENT* one = nullptr;
    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
};

class CHECK_RECORDER final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_pending_checks(int files, quint64 bytes) override
    {
        pending.emplace_back(files, bytes);
    }

    std::vector<std::pair<int, quint64>> pending;
};

}

TEST_F(Integrity, AcceptsAFileWithTheRightChecksum)
{
    load_one();
    put(content_of("one"));
    EXPECT_TRUE(check());
    EXPECT_EQ(manager->passed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_TRUE(one->file.has_passed());
    EXPECT_TRUE(one->file.is_checked());
    EXPECT_FALSE(manager->errors().write_error());
}

TEST_F(Integrity, FailsForAMissingFileWithoutAWriteError)
{
    load_one();
    EXPECT_FALSE(check());
    EXPECT_EQ(manager->failed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_FALSE(manager->errors().write_error());
    EXPECT_TRUE(log_holds("[debug] add failed component: one\n"));
    EXPECT_FALSE(log_holds("MD5 =>"));
}

TEST_F(Integrity, FailsForAWrongChecksumWithAWriteError)
{
    load_one();
    put(std::string(3000, 'x'));
    EXPECT_FALSE(check());
    EXPECT_EQ(manager->failed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_TRUE(manager->errors().write_error());
    EXPECT_TRUE(log_holds("MD5 => " + (dir / "dl/one.run").string() +
                          ", actual md5:" + calc_md5sum(one->file.path()).toStdString() +
                          ", expected md5:" + one->md5sum.toStdString() + "\n"));
}

TEST_F(Integrity, RejectsAFileThatGrewAfterItsCheck)
{
    load_one();
    put(content_of("one"));
    ASSERT_TRUE(check());
    put(content_of("one") + "x");
    EXPECT_FALSE(manager->check_integrity());
    EXPECT_EQ(manager->failed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_TRUE(manager->errors().write_error());
}

TEST_F(Integrity, ComparesChecksumsCaseSensitively)
{
    load_one();
    put(content_of("one"));
    EXPECT_TRUE(check_md5(one));
    one->md5sum = one->md5sum.toUpper();
    EXPECT_FALSE(check_md5(one));
    one->md5sum.clear();
    EXPECT_FALSE(check_md5(one));
}

TEST_F(Integrity, AppliesOnlyToTheDirectoryOfTheCheck)
{
    load_one();
    put(content_of("one"));
    ASSERT_TRUE(check());
    release->set_download_dir(QString::fromStdString((dir / "other").string()));
    EXPECT_FALSE(manager->check_integrity());
    EXPECT_EQ(manager->failed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_FALSE(manager->errors().write_error());
    dir.write("other/one.run", content_of("one"));
    EXPECT_TRUE(check());
}

TEST_F(Integrity, DropsAResultForAnotherDirectory)
{
    load_one();
    put(content_of("one"));
    manager->get_progress_percentage(one, true, true, 0);
    release->set_download_dir(QString::fromStdString((dir / "other").string()));
    EXPECT_FALSE(manager->check_integrity());
    EXPECT_FALSE(one->file.is_checked());
}

TEST_F(Integrity, ReturnsImmediatelyAfterAStop)
{
    load_one();
    put(std::string(3000, 'x'));
    manager->stop();
    EXPECT_TRUE(manager->check_integrity());
    EXPECT_TRUE(manager->failed_components().empty());
}

TEST_F(Integrity, ReturnsImmediatelyWhenTheProcessIsToStop)
{
    load_one();
    put(std::string(3000, 'x'));
    request_shutdown();
    EXPECT_TRUE(manager->check_integrity());
    EXPECT_TRUE(manager->failed_components().empty());
    EXPECT_FALSE(log_holds("Checking file integrity"));
}

TEST_F(Integrity, MakesOnlyVerifiedInstallersExecutable)
{
    load_one();
    put(content_of("one"));
    dir.write("dl/two.vdz", content_of("two"));
    const perms before = std::filesystem::status(dir / "dl/two.vdz").permissions();
    VINST_COMPONENT* two = component("two");
    manager->set_components({one, two}, true);
    EXPECT_TRUE(manager->check_integrity());
    EXPECT_EQ(std::filesystem::status(dir / "dl/one.run").permissions(), perms::owner_all);
    EXPECT_EQ(std::filesystem::status(dir / "dl/two.vdz").permissions(), before);
}

TEST_F(Integrity, LeavesNoTaskRunning)
{
    load_one();
    put(content_of("one"));
    manager->get_progress_percentage(one, true, true, 0);
    EXPECT_TRUE(manager->has_pending_integrity_tasks());
    manager->get_progress_percentage(one, true, true, 0);
    EXPECT_TRUE(manager->check_integrity());
    EXPECT_FALSE(manager->has_pending_integrity_tasks());
}

TEST_F(Integrity, WritesNoResultOfACancelledCheck)
{
    load_one(50'000'000);
    put(content_of("one"));
    manager->get_progress_percentage(one, true, true, 0);
    manager->cancel_integrity_tasks();
    EXPECT_FALSE(manager->has_pending_integrity_tasks());
    manager.reset(); // waits for the worker
    EXPECT_FALSE(one->file.is_checked());
}

TEST_F(Integrity, IsShownByAView)
{
    load_one();
    put(content_of("one"));
    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR windowed(*release, view);
    windowed.set_components({one}, true);
    EXPECT_TRUE(windowed.check_integrity());
    EXPECT_EQ(view.states.back(), std::pair(one, VINST_INTEGRITY_STATE::passed));
    put(std::string(3000, 'x'));
    one->file.forget_check();
    windowed.set_components({one}, true);
    EXPECT_FALSE(windowed.check_integrity());
    EXPECT_EQ(view.states.back(), std::pair(one, VINST_INTEGRITY_STATE::failed));
}

TEST_F(Integrity, LogsHowLongAChecksumTook)
{
    load_one();
    const std::string path = dir.write("file", "abc").string();
    EXPECT_EQ(calc_md5sum(QString::fromStdString(path)), "900150983cd24fb0d6963f7d28e17f72");
    const std::string start = "[debug] calc_md5sum for file: " + path + ", took: ";
    const std::size_t at = log().find(start);
    ASSERT_NE(at, std::string::npos) << log();
    EXPECT_TRUE(std::regex_search(log().substr(at + start.size()), std::regex("^[0-9]+ ms\\.\n")));
    EXPECT_EQ(calc_md5sum(QString::fromStdString((dir / "none").string())), "");
    EXPECT_EQ(calc_md5sum(dir.qstr()), "");
}

TEST_F(Integrity, ReportsWhatIsLeftToCheck)
{
    constexpr std::uint64_t size = 256 * 1024 * 1024; // takes a while to hash
    builder.component("one").pattern_content(3000, 1).raw_key("size", std::to_string(size));
    load();
    put("");
    std::filesystem::resize_file(dir / "dl/one.run", size);
    CHECK_RECORDER view;
    VINST_DOWNLOADER_MGR watched(*release, view);
    begin_stoppable_work();
    watched.set_components({component("one")}, true);
    EXPECT_FALSE(watched.check_integrity());
    ASSERT_GE(view.pending.size(), 2U);
    EXPECT_EQ(view.pending.front().first, 1);
    EXPECT_GT(view.pending.front().second, 0U);
    EXPECT_LE(view.pending.front().second, size);
    EXPECT_EQ(view.pending.back(), (std::pair<int, quint64>{0, 0}));
    EXPECT_TRUE(std::is_sorted(view.pending.rbegin(), view.pending.rend()));
}
