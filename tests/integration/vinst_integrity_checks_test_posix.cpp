#include "install/vinst/download/vinst_integrity_checks.h"

#include "tests/harness/wait_until.h"
#include "tests/integration/manager_fixture.h"
#include "tests/integration/recording_view.h"

#include <QElapsedTimer>

#include <fstream>
#include <sched.h>

namespace
{

/// Limits this process to one processor during its lifetime, like a small virtual machine.
class ONE_PROCESSOR
{
public:
    ONE_PROCESSOR()
    {
        ::sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++cpu)
            if (CPU_ISSET(cpu, &m_before))
                CPU_SET(cpu, &one);
        m_is_set = ::sched_setaffinity(0, sizeof one, &one) == 0;
    }
    ~ONE_PROCESSOR() { ::sched_setaffinity(0, sizeof m_before, &m_before); }
    ONE_PROCESSOR(const ONE_PROCESSOR&) = delete;
    ONE_PROCESSOR& operator=(const ONE_PROCESSOR&) = delete;

    bool is_set() const { return m_is_set; }

private:
    cpu_set_t m_before{};
    bool m_is_set = false;
};

constexpr quint64 mebibyte = quint64{1024} * 1024;

/// By this process, from files and pipes.
quint64 bytes_read()
{
    std::ifstream counters("/proc/self/io");
    std::string name;
    quint64 count = 0;
    counters >> name >> count; // the first line is "rchar: COUNT"
    return count;
}

class FollowedFile : public ManagerTest
{
protected:
    FollowedFile()
    {
        builder.component("one").pattern_content(40 * mebibyte, 1);
        load();
        content = content_of("one");
        append(0, 39 * mebibyte);
    }

    void append(std::size_t begin, std::size_t end) const
    {
        std::filesystem::create_directories(dir / "dl");
        std::ofstream(dir / "dl/one.run", std::ios::app | std::ios::binary)
            << content.substr(begin, end - begin);
    }

    /// What the check of the complete file reads.
    quint64 read_by_check()
    {
        const quint64 before = bytes_read();
        checks.start(*component("one"));
        checks.wait();
        return bytes_read() - before;
    }

    void follow_everything()
    {
        const quint64 before = bytes_read();
        checks.follow(*component("one"), 39 * mebibyte);
        ASSERT_TRUE(wait_until([&] { return bytes_read() >= before + 39 * mebibyte; }));
    }

    std::string content;
    VINST_INTEGRITY_CHECKS checks{quiet_view};
};

class OneProcessor : public ManagerTest
{
};

}

TEST_F(FollowedFile, IsReadInStepsOfSomeSize)
{
    checks.follow(*component("one"), 15 * mebibyte);
    append(39 * mebibyte, 40 * mebibyte);
    EXPECT_GE(read_by_check(), 40 * mebibyte);
    EXPECT_TRUE(component("one")->file.has_passed());
}

TEST_F(FollowedFile, LeavesOnlyTheRestToItsCheck)
{
    follow_everything();
    append(39 * mebibyte, 40 * mebibyte);
    EXPECT_LT(read_by_check(), 8 * mebibyte) << "with what a sanitizer reads";
    EXPECT_TRUE(component("one")->file.has_passed());
}

TEST_F(FollowedFile, FailsWithAWrongRest)
{
    follow_everything();
    append(0, mebibyte);
    read_by_check();
    EXPECT_TRUE(component("one")->file.is_checked());
    EXPECT_FALSE(component("one")->file.has_passed());
}

TEST_F(FollowedFile, IsReadFromItsStartAfterAnEarlierAttempt)
{
    follow_everything();
    checks.finish();
    append(39 * mebibyte, 40 * mebibyte);
    EXPECT_GE(read_by_check(), 40 * mebibyte);
}

TEST_F(OneProcessor, IsEnoughForTheChecksOfAWindow)
{
    const ONE_PROCESSOR processor;
    ASSERT_TRUE(processor.is_set());
    builder.component("one").pattern_content(3000, 1);
    load();
    dir.write("dl/one.run", content_of("one"));
    VINST_COMPONENT* const one = component("one");

    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR manager(*release, view);
    QElapsedTimer clock;
    clock.start();
    view.on_events = [&]
    {
        if (clock.hasExpired(60'000))
            manager.cancel_integrity_tasks();
    };
    manager.set_components({one}, true);
    EXPECT_TRUE(manager.check_integrity());
    EXPECT_TRUE(one->file.has_passed());
    EXPECT_LT(clock.elapsed(), 60'000) << "the check was abandoned";
}
