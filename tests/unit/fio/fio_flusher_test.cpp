#include "support/fio/fio_flusher.h"

#include "support/fio/fio_append_file.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using OPENING = FIO_APPEND_FILE::OPENING;

/// A disk that flushes only when permitted.
class GATE
{
public:
    std::error_code flush()
    {
        std::unique_lock lock(m_mutex);
        ++m_begun;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
        return m_error;
    }
    FIO_FLUSHER::FLUSH as_flush()
    {
        return [this](const FIO_FLUSH_HANDLE&) { return flush(); };
    }

    void open(std::error_code error = {})
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_error = error;
        m_changed.notify_all();
    }
    bool wait_for_begun(int count)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, 30s, [&] { return m_begun >= count; });
    }
    int begun()
    {
        const std::lock_guard lock(m_mutex);
        return m_begun;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
    int m_begun = 0;
    std::error_code m_error;
};

class Flusher : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(a.open((dir / "a").string(), OPENING::create_if_missing));
        ASSERT_TRUE(b.open((dir / "b").string(), OPENING::create_if_missing));
    }

    /// Whether the file is unlocked after its writer has closed it.
    static bool is_free(const FIO_APPEND_FILE& file)
    {
        FIO_APPEND_FILE other;
        return other.open(file.path(), OPENING::existing_only);
    }

    TEMP_DIR dir;
    FIO_APPEND_FILE a;
    FIO_APPEND_FILE b;
    GATE gate;
};

}

TEST_F(Flusher, FlushesOnTheRealDisk)
{
    FIO_FLUSHER flusher;
    ASSERT_TRUE(a.append("abc", 3));
    flusher.request(a);
    a.close();
    EXPECT_TRUE(wait_until([&] { return is_free(a); }));
    EXPECT_FALSE(flusher.error_of(a));
}

TEST_F(Flusher, FlushesOneFileAfterTheOther)
{
    FIO_FLUSHER flusher(gate.as_flush());
    flusher.request(a);
    flusher.request(b);
    ASSERT_TRUE(gate.wait_for_begun(1));
    EXPECT_EQ(gate.begun(), 1);
    gate.open();
    EXPECT_TRUE(gate.wait_for_begun(2));
}

TEST_F(Flusher, MergesRequestsForOneFile)
{
    FIO_FLUSHER flusher(gate.as_flush());
    flusher.request(a);
    ASSERT_TRUE(gate.wait_for_begun(1));
    for (int i = 0; i < 5; ++i) // for bytes that the running flush might miss
        flusher.request(a);
    flusher.request(b);
    gate.open();
    ASSERT_TRUE(gate.wait_for_begun(3));
    b.close();
    EXPECT_TRUE(wait_until([&] { return is_free(b); })); // the last one has ended
    EXPECT_EQ(gate.begun(), 3);
}

TEST_F(Flusher, KnowsWhichFileItFlushes)
{
    FIO_FLUSHER flusher(gate.as_flush());
    EXPECT_FALSE(flusher.is_flushing(a.path()));
    flusher.request(a);
    ASSERT_TRUE(gate.wait_for_begun(1));
    EXPECT_TRUE(flusher.is_flushing(a.path()));
    EXPECT_FALSE(flusher.is_flushing(b.path()));
    gate.open();
    EXPECT_TRUE(wait_until([&] { return !flusher.is_flushing(a.path()); }));
}

TEST_F(Flusher, ReleasesAWithdrawnFile)
{
    FIO_FLUSHER flusher(gate.as_flush());
    flusher.request(a);
    ASSERT_TRUE(gate.wait_for_begun(1));
    flusher.request(b);
    b.close();
    EXPECT_FALSE(is_free(b));
    flusher.withdraw(b);
    EXPECT_TRUE(is_free(b));
    // A running flush continues.
    a.close();
    flusher.withdraw(a);
    EXPECT_FALSE(is_free(a));
    gate.open();
    EXPECT_TRUE(wait_until([&] { return is_free(a); }));
    EXPECT_EQ(gate.begun(), 1);
}

TEST_F(Flusher, DropsItsQueueAndWaitsForTheRunningFlushOnDestruction)
{
    auto flusher = std::make_unique<FIO_FLUSHER>(gate.as_flush());
    flusher->request(a);
    ASSERT_TRUE(gate.wait_for_begun(1));
    flusher->request(b);
    a.close();
    b.close();
    std::thread destroyer([&] { flusher.reset(); });
    EXPECT_TRUE(wait_until([&] { return is_free(b); }));
    EXPECT_FALSE(is_free(a));
    gate.open();
    destroyer.join();
    EXPECT_TRUE(is_free(a));
    EXPECT_EQ(gate.begun(), 1);
}

TEST_F(Flusher, RemembersTheFailureOfEachFile)
{
    FIO_FLUSHER flusher(gate.as_flush());
    flusher.request(a);
    gate.open(std::make_error_code(std::errc::io_error));
    EXPECT_TRUE(wait_until([&] { return static_cast<bool>(flusher.error_of(a)); }));
    EXPECT_EQ(flusher.error_of(a), std::errc::io_error);
    EXPECT_FALSE(flusher.error_of(b));
    a.close();
    EXPECT_EQ(flusher.error_of(a), std::errc::io_error);
}

TEST_F(Flusher, IgnoresAFileThatIsNotOpen)
{
    FIO_FLUSHER flusher(gate.as_flush());
    a.close();
    flusher.request(a);
    flusher.request(b);
    ASSERT_TRUE(gate.wait_for_begun(1));
    gate.open();
    b.close();
    EXPECT_TRUE(wait_until([&] { return is_free(b); }));
    EXPECT_EQ(gate.begun(), 1);
}

TEST_F(Flusher, KnowsHowMuchOfAFileIsOnTheDisk)
{
    FIO_FLUSHER flusher(gate.as_flush());
    ASSERT_TRUE(a.append("123", 3));
    EXPECT_TRUE(flusher.request(a));
    ASSERT_TRUE(gate.wait_for_begun(1));
    ASSERT_TRUE(a.append("45", 2)); // the running flush might miss them
    EXPECT_EQ(flusher.flushed_size(a.path()), 0U);
    gate.open();
    EXPECT_TRUE(wait_until([&] { return flusher.flushed_size(a.path()) == 3; }));
    EXPECT_TRUE(flusher.request(a));
    EXPECT_TRUE(wait_until([&] { return flusher.flushed_size(a.path()) == 5; }));
}

TEST_F(Flusher, CountsWhatWasAppendedWhileARequestWasQueued)
{
    FIO_FLUSHER flusher(gate.as_flush());
    flusher.request(b);
    ASSERT_TRUE(gate.wait_for_begun(1));
    flusher.request(a);
    ASSERT_TRUE(a.append("123", 3));
    flusher.request(a);
    gate.open();
    EXPECT_TRUE(wait_until([&] { return flusher.flushed_size(a.path()) == 3; }));
    EXPECT_EQ(gate.begun(), 2);
}

TEST_F(Flusher, CountsNothingWhenAFlushFails)
{
    FIO_FLUSHER flusher(gate.as_flush());
    ASSERT_TRUE(a.append("123", 3));
    flusher.request(a);
    gate.open(std::make_error_code(std::errc::io_error));
    EXPECT_TRUE(wait_until([&] { return !flusher.is_flushing(a.path()); }));
    EXPECT_EQ(flusher.flushed_size(a.path()), 0U);
    a.close();
    EXPECT_FALSE(flusher.request(a));
}

TEST_F(Flusher, AnnouncesTheEndOfEachFlush)
{
    std::atomic<int> ends{0};
    FIO_FLUSHER flusher(gate.as_flush(), [&] { ++ends; });
    flusher.request(a);
    ASSERT_TRUE(gate.wait_for_begun(1));
    EXPECT_EQ(ends, 0);
    gate.open();
    EXPECT_TRUE(wait_until([&] { return ends == 1; }));
}
