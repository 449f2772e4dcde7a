#include "tests/integration/downloader_fixture.h"

#include "support/curl/curl_rate_limit.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"

#include <array>

namespace
{

constexpr std::size_t kibi = 1024;
constexpr int timed_out = 28;

/// Fetches several files with a common limit.
class DownloaderRate : public Downloader
{
protected:
    static std::string name(std::size_t index) { return "f" + std::to_string(index); }

    std::unique_ptr<CURL_DOWNLOADER> start(std::size_t count, std::size_t size)
    {
        auto downloader = std::make_unique<CURL_DOWNLOADER>("", proxy, false, 10);
        downloader->set_progress_callback(count_progress);
        downloader->set_stall_timeout(stall_timeout);
        downloader->set_rate_limit(&limit);
        for (std::size_t i = 0; i < count; ++i)
        {
            if (!is_served)
                server.serve("/" + name(i), SERVED_BODY::of_pattern(size, i + 1));
            downloader->add_file(server.url("/" + name(i)), (dir / name(i)).string(), &records[i],
                                 size);
        }
        downloader->download_files(static_cast<int>(count), false);
        return downloader;
    }

    void expect_complete(std::size_t count, std::size_t size)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            EXPECT_EQ(records[i].curl_code, 0) << text_of(records[i]);
            EXPECT_TRUE(dir.read(name(i)) == SERVED_BODY::of_pattern(size, i + 1).part(0, size));
        }
    }

    CURL_RATE_LIMIT limit;
    std::array<CURL_PROGRESS_DATA, 4> records;
    bool is_served = false;
};

bool ends(const CURL_DOWNLOADER& downloader)
{
    return wait_until([&] { return downloader.downloads_complete(); });
}

}

TEST_F(DownloaderRate, IsLimitedForAllFilesTogether)
{
    constexpr std::size_t size = 768 * kibi;
    limit.set(1024 * kibi);
    const auto before = CLOCK::now();
    const auto downloader = start(4, size);
    ASSERT_TRUE(ends(*downloader));
    const auto taken = CLOCK::now() - before;
    expect_complete(4, size);
    EXPECT_GE(taken, 2700ms) << "3 MiB at 1 MiB per second, less a tenth";
}

TEST_F(DownloaderRate, LosesNothingOfABodyInChunks)
{
    constexpr std::size_t size = 512 * kibi;
    limit.set(512 * kibi);
    is_served = true;
    server.serve("/f0", SERVED_BODY::of_pattern(size, 1), {FAULT::chunked()});
    server.serve("/f1", SERVED_BODY::of_pattern(size, 2), {FAULT::without_length()});
    const auto downloader = start(2, size);
    ASSERT_TRUE(ends(*downloader));
    expect_complete(2, size);
}

TEST_F(DownloaderRate, MayBeChangedDuringATransfer)
{
    constexpr std::size_t size = 64 * 1024 * kibi;
    limit.set(64 * kibi);
    const auto downloader = start(2, size);
    ASSERT_TRUE(wait_until([this] { return records[0].bytes_received > 0; }));
    EXPECT_FALSE(downloader->downloads_complete()); // it would take half an hour
    limit.set(0);
    ASSERT_TRUE(ends(*downloader));
    expect_complete(2, size);
}

TEST_F(DownloaderRate, MayBeLimitedDuringATransfer)
{
    // More than the buffers of both sides can hold.
    constexpr std::size_t size = 1024 * 1024 * kibi;
    const auto downloader = start(1, size);
    ASSERT_TRUE(wait_until([this] { return records[0].bytes_received > 0; }));
    limit.set(1024 * kibi);
    const auto before = CLOCK::now();
    const std::uint64_t first = records[0].bytes_received;
    ASSERT_TRUE(wait_until([&] { return records[0].bytes_received >= first + 4096 * kibi; }));
    // Two buffers of 512 KiB, and what is collected for one write, may not have been limited.
    EXPECT_GE(CLOCK::now() - before, 2500ms);
    stop_asked = true;
    ASSERT_TRUE(ends(*downloader));
}

TEST_F(DownloaderRate, IsNoReasonToGiveUp)
{
    // Each file has its turn every 2 s, twice the time after which a server is given up.
    constexpr std::size_t size = 3 * kibi;
    stall_timeout = 1s;
    limit.set(2 * kibi);
    const auto downloader = start(4, size);
    ASSERT_TRUE(ends(*downloader));
    expect_complete(4, size);
}

TEST_F(DownloaderRate, DoesNotProtectASilentServer)
{
    constexpr std::size_t size = 64 * 1024 * kibi;
    stall_timeout = 1s;
    limit.set(256 * kibi);
    is_served = true;
    server.serve("/f0", SERVED_BODY::of_pattern(size));
    server.serve("/f1", SERVED_BODY::of_pattern(size), {FAULT::stall_after(2000)});
    const auto downloader = start(2, size);
    ASSERT_TRUE(wait_until([this] { return records[1].curl_code != -1; }));
    EXPECT_EQ(records[1].curl_code, timed_out);
    EXPECT_EQ(text_of(records[1]), "No data received for 1 seconds");
    EXPECT_EQ(records[1].bytes_received, 2000U);
    EXPECT_EQ(records[0].curl_code, -1) << text_of(records[0]);
    stop_asked = true;
    ASSERT_TRUE(ends(*downloader));
}

TEST_F(DownloaderRate, DoesNotProtectAServerThatSendsHardlyAnything)
{
    constexpr std::size_t size = 64 * 1024 * kibi;
    stall_timeout = 1s;
    limit.set(256 * kibi);
    is_served = true;
    server.serve("/f0", SERVED_BODY::of_pattern(size));
    server.serve("/f1", SERVED_BODY::of_pattern(size), {FAULT::trickle(10, 50ms)});
    const auto downloader = start(2, size);
    ASSERT_TRUE(wait_until([this] { return records[1].curl_code != -1; }));
    EXPECT_EQ(records[1].curl_code, timed_out);
    EXPECT_EQ(text_of(records[1]), "Less than 1 KiB received in 1 seconds");
    EXPECT_EQ(records[0].curl_code, -1) << text_of(records[0]);
    stop_asked = true;
    ASSERT_TRUE(ends(*downloader));
}

TEST_F(DownloaderRate, DoesNotDelayAStop)
{
    constexpr std::size_t size = 1024 * kibi;
    limit.set(1 * kibi);
    const auto downloader = start(4, size);
    ASSERT_TRUE(wait_until([this] { return records[0].bytes_received > 0; }));
    const STOPWATCH since_stop;
    stop_asked = true;
    ASSERT_TRUE(ends(*downloader));
    EXPECT_TRUE(since_stop.within(1s));
}
