#include "tests/integration/manager_fixture.h"
#include "tests/integration/recording_view.h"

#include <QElapsedTimer>

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

class OneProcessor : public ManagerTest
{
};

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
