#include "tests/harness/wait_until.h"
#include "tests/integration/downloader_fixture.h"
#include "tests/integration/faulty_disk.h"

#include <optional>

namespace
{

/// Fetches "/f" and watches the flushes of the growing file.
class DownloaderFlush : public Downloader
{
protected:
    void start(std::chrono::milliseconds interval)
    {
        downloader.emplace("", proxy, false, 10);
        downloader->set_progress_callback(count_progress);
        downloader->set_flush_interval(interval);
        downloader->add_file(server.url("/f"), path(), &record);
        downloader->download_files(1, false);
    }

    bool wait_for_end()
    {
        return wait_until([this] { return downloader->downloads_complete(); });
    }

    int flushes() const { return begun_file_flushes() - flushes_before; }

    bool wait_for_flush()
    {
        return wait_until([this] { return flushes() > 0; });
    }

    const int flushes_before = begun_file_flushes();
    CURL_PROGRESS_DATA record;
    std::optional<CURL_DOWNLOADER> downloader; ///< destroyed before its progress data
};

}

TEST_F(DownloaderFlush, RepeatsWhileAFileGrowsSlowly)
{
    server.serve("/f", body, {FAULT::trickle(1000, 10ms)});
    start(100ms);
    ASSERT_TRUE(wait_until([this] { return flushes() >= 3; }));
    EXPECT_FALSE(downloader->downloads_complete());
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(record.curl_code, 0) << text_of(record);
}

TEST_F(DownloaderFlush, RunsAfterEach64Mebibytes)
{
    server.serve("/f", SERVED_BODY::of_pattern(70 * 1024 * 1024), {FAULT::stall_after(66'000'000)});
    start(1h);
    ASSERT_TRUE(wait_until([this] { return record.bytes_received == 66'000'000; }));
    EXPECT_EQ(flushes(), 0);
    downloader.reset();

    std::filesystem::remove(path());
    server.set_faults("/f", {FAULT::stall_after(68'000'000)});
    start(1h);
    EXPECT_TRUE(wait_for_flush());
    downloader.reset();
    EXPECT_EQ(flushes(), 1);
}

TEST_F(DownloaderFlush, SkipsBytesThatWereAlreadyFlushed)
{
    server.serve("/f", body, {FAULT::stall_after(1000)});
    start(50ms);
    ASSERT_TRUE(wait_for_flush());
    constexpr auto ten_intervals = 500ms;
    EXPECT_FALSE(wait_until([&] { return flushes() != 1; }, ten_intervals));
    stop_asked = true;
    ASSERT_TRUE(wait_for_end());
}

TEST_F(DownloaderFlush, DoesNotDelayATransfer)
{
    server.serve("/f", body, {FAULT::trickle(2000, 10ms)});
    {
        const FAULTY_DISK disk(FAULTY_DISK::FAULT::never_ready);
        start(50ms);
        ASSERT_TRUE(wait_for_flush());
        ASSERT_TRUE(wait_for_end());
        EXPECT_EQ(record.curl_code, 0) << text_of(record);
        EXPECT_EQ(on_disk(), body);
        EXPECT_EQ(flushes(), 1);
    }
    downloader.reset();
    EXPECT_EQ(flushes(), 1); // later queued flushes are dropped with the transfer
}

TEST_F(DownloaderFlush, DoesNotDelayAStop)
{
    server.serve("/f", body, {FAULT::trickle(100, 10ms)});
    {
        const FAULTY_DISK disk(FAULTY_DISK::FAULT::never_ready);
        start(50ms);
        ASSERT_TRUE(wait_for_flush());
        const auto asked = CLOCK::now();
        stop_asked = true;
        ASSERT_TRUE(wait_for_end());
        EXPECT_LT(CLOCK::now() - asked, 1s);
        EXPECT_EQ(record.curl_code, 42);
    }
    // The file's lock was released with the downloader.
    downloader.reset();
    stop_asked = false;
    server.set_faults("/f", {});
    EXPECT_EQ(fetch(), 206);
    expect_success(body);
}

TEST_F(DownloaderFlush, EndsATransferWhenItFails)
{
    const FAULTY_DISK disk(FAULTY_DISK::FAULT::io_error);
    server.serve("/f", body, {FAULT::trickle(100, 10ms)});
    start(50ms);
    ASSERT_TRUE(wait_for_end());
    EXPECT_EQ(record.http_code, 200);
    EXPECT_EQ(record.curl_code, 23);
    EXPECT_EQ(text_of(record), "Cannot write " + path() + ": Input/output error");
    EXPECT_LT(std::filesystem::file_size(path()), body.size());
}
