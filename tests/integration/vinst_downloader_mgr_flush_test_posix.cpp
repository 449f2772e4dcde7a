#include "tests/harness/wait_until.h"
#include "tests/integration/faulty_disk.h"
#include "tests/integration/manager_fixture.h"

#include <QCoreApplication>

namespace
{

class ManagerFlush : public ManagerTest
{
protected:
    void load_one()
    {
        builder.component("one").pattern_content(3000, 1);
        load();
        one = component("one");
        manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release, quiet_view);
        manager->set_components({one}, false);
    }

    VINST_COMPONENT* one = nullptr;
    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
};

}

TEST_F(ManagerFlush, FlushesAVerifiedFileAndItsDirectory)
{
    load_one();
    const int files = begun_file_flushes();
    const int directories = begun_directory_flushes();
    EXPECT_TRUE(manager->download(1));
    EXPECT_EQ(begun_file_flushes() - files, 1);
    EXPECT_EQ(begun_directory_flushes() - directories, 1);
}

TEST_F(ManagerFlush, VerifiesNoFileBeforeItIsFlushed)
{
    load_one();
    dir.write("dl/one.run", content_of("one"));
    const int before = begun_file_flushes();
    auto disk = std::make_unique<FAULTY_DISK>(FAULTY_DISK::FAULT::never_ready);
    manager->get_progress_percentage(one, true, true, 0);
    ASSERT_TRUE(wait_until([&] { return begun_file_flushes() > before; }));
    manager->get_progress_percentage(one, true, true, 0);
    QCoreApplication::processEvents();
    EXPECT_TRUE(manager->has_pending_integrity_tasks());
    EXPECT_FALSE(one->file.has_passed());
    disk.reset();
    EXPECT_TRUE(manager->check_integrity());
    EXPECT_TRUE(one->file.has_passed());
}

TEST_F(ManagerFlush, FailsAndRefetchesAFileThatCannotBeFlushed)
{
    load_one();
    {
        const FAULTY_DISK disk(FAULTY_DISK::FAULT::io_error);
        EXPECT_FALSE(manager->download(1));
    }
    EXPECT_EQ(manager->failed_components(), VINST_COMPONENT_LIST{one});
    EXPECT_TRUE(manager->errors().write_error());
    EXPECT_TRUE(log_holds("[error] Cannot flush " + (dir / "dl/one.run").string() +
                          " to the disk: Input/output error\n"))
        << log();
    EXPECT_TRUE(manager->download(1));
    EXPECT_EQ(server.request_count("/one.run"), 2U);
}

TEST_F(ManagerFlush, IsLimitedToFilesWithTheRightChecksum)
{
    load_one();
    dir.write("dl/one.run", std::string(3000, 'x'));
    const int before = begun_file_flushes();
    EXPECT_FALSE(manager->download(1));
    EXPECT_EQ(begun_file_flushes(), before);
}
