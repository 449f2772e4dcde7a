#include "tests/integration/downloader_fixture.h"

#include "support/curl/curl_pieces.h"
#include "tests/harness/loopback.h"
#include "tests/harness/nginx_server.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/unanswering_port.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/failing_libcurl.h"
#include "tests/integration/slow_resolver.h"

#include <functional>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace
{

/// Starts a transfer, waits until `so_far` holds, requests a stop, and returns how long the stop
/// took.
MEASURED_TIME time_to_stop(const std::string& url, const std::string& path,
                           const std::function<bool()>& so_far, CURL_PROGRESS_DATA& data)
{
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    downloader.add_file(url, path, &data);
    downloader.download_files(1, false);
    EXPECT_TRUE(wait_until(so_far));
    const STOPWATCH since_stop;
    stop_asked = true;
    EXPECT_TRUE(wait_until([&] { return downloader.downloads_complete(); }));
    const MEASURED_TIME taken = since_stop.elapsed();
    EXPECT_EQ(downloader.finished_files(), 1U);
    EXPECT_EQ(data.curl_code, 42);
    return taken;
}

}

TEST_F(Downloader, FetchesAFile)
{
    server.serve("/f", body);
    EXPECT_EQ(fetch(), 200);
    expect_success(body);
    EXPECT_EQ(data->bytes_received, body.size());
    EXPECT_EQ(data->reported_total, body.size());
}

TEST_F(Downloader, RunsNoTransferWithoutAnOptionThatLibcurlRefuses)
{
    server.serve("/f", body);
    const std::string too_long(8'000'001, 'a'); // libcurl's limit of every text is 8 MB
    proxy = {"127.0.0.1", std::to_string(server.port()), too_long, "s3cret"};
    EXPECT_EQ(fetch(), -1);
    expect_failure(43, -1);
    EXPECT_NE(text_of(*data).find("libcurl refuses the option PROXY: "), std::string::npos)
        << text_of(*data);
    EXPECT_EQ(server.request_count("/f"), 0U);
}

TEST_F(Downloader, GivesEveryFileAResultIfLibcurlFails)
{
    server.serve("/f", body);
    for (const auto call :
         {FAILING_LIBCURL::CALL::multi_init, FAILING_LIBCURL::CALL::multi_add_handle})
    {
        const FAILING_LIBCURL failing(call);
        std::vector<CURL_PROGRESS_DATA> records(3);
        CURL_DOWNLOADER downloader("", {}, false, 10);
        for (std::size_t i = 0; i < records.size(); ++i)
            downloader.add_file(server.url("/f"), path() + std::to_string(i), &records[i]);
        downloader.download_files(2, true);
        EXPECT_EQ(downloader.finished_files(), 3U);
        for (const CURL_PROGRESS_DATA& record : records)
        {
            EXPECT_EQ(record.curl_code, 2);
            EXPECT_EQ(text_of(record), "Failed initialization");
            EXPECT_EQ(downloader.failure_of(&record).reason, "Failed initialization");
        }
    }
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(Downloader, ResumesAtTheEndOfTheFile)
{
    server.serve("/f", body);
    dir.write("f", body.substr(0, 30'000));
    EXPECT_EQ(fetch(), 206);
    expect_success(body);
    EXPECT_EQ(data->bytes_received, 70'000U);
    EXPECT_EQ(data->reported_total, body.size());
    EXPECT_EQ(server.requests("/f").at(0).range(), "bytes=30000-");
}

TEST_F(Downloader, RequestsNoBytesOfACompleteFile)
{
    server.serve("/f", body);
    dir.write("f", body);
    EXPECT_EQ(fetch(), 416);
    expect_success(body);
    EXPECT_EQ(data->bytes_received, 0U);
    EXPECT_LT(server.body_bytes("/f"), 100U); // the error page
}

TEST_F(Downloader, RequestsNoFileThatHasItsExpectedSize)
{
    const FAULT faults[] = {FAULT::status(404),    FAULT::status(403),
                            FAULT::status(503),    FAULT::range_not_satisfiable(false),
                            FAULT::ignore_range(), FAULT::other_body(body + "more")};
    for (const std::string& content : {body, body + "x"})
        for (const FAULT& fault : faults)
        {
            server.serve("/f", body, {fault});
            dir.write("f", content);
            EXPECT_EQ(fetch_sized(body.size()), -1);
            expect_success(content);
            EXPECT_EQ(data->bytes_received, 0U);
        }
    EXPECT_EQ(server.request_count(), 0U);
    EXPECT_EQ(server.connection_count(), 0U);
}

TEST_F(Downloader, ResumesAFileThatIsShorterThanItsExpectedSize)
{
    server.serve("/f", body);
    dir.write("f", body.substr(0, body.size() - 1));
    EXPECT_EQ(fetch_sized(body.size()), 206);
    expect_success(body);
    EXPECT_EQ(server.requests("/f").at(0).range(), "bytes=99999-");
}

TEST_F(Downloader, ChecksForAStopBeforeTheFilesSize)
{
    dir.write("f", body);
    stop_asked = true;
    EXPECT_EQ(fetch_sized(body.size()), -1);
    EXPECT_EQ(data->curl_code, 42);
}

TEST_F(Downloader, SkipsBytesOnDiskInAFullResponse)
{
    server.serve("/f", body, {FAULT::ignore_range()});
    dir.write("f", body.substr(0, 30'000));
    EXPECT_EQ(fetch(), 200);
    expect_success(body);
    EXPECT_EQ(data->bytes_received, 70'000U);
}

TEST_F(Downloader, DoesNotReadAFullResponseAsLongAsTheFile)
{
    const std::uint64_t size = 200'000'000;
    server.serve("/f", SERVED_BODY::of_pattern(size), {FAULT::ignore_range()});
    dir.write("f", "");
    std::filesystem::resize_file(path(), size);
    EXPECT_EQ(fetch(), 200);
    EXPECT_EQ(data->curl_code, 0) << text_of(*data);
    EXPECT_EQ(data->bytes_received, 0U);
    EXPECT_LT(server.body_bytes("/f"), size / 2);
}

TEST_F(Downloader, RefusesAFullResponseShorterThanTheFile)
{
    server.serve("/f", body, {FAULT::short_body(500)});
    dir.write("f", body.substr(0, 1000));
    fetch();
    expect_failure(18, 200);
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
}

/// Resumes a file, and expects that one request without a range follows the one with the fault.
class DownloaderRange : public Downloader
{
protected:
    void expect_repetition_after(const FAULT& fault)
    {
        const std::size_t before = server.request_count("/f");
        server.serve("/f", body, {fault});
        dir.write("f", body.substr(0, 1000));
        EXPECT_EQ(fetch(), 200);
        expect_success(body);
        EXPECT_EQ(data->bytes_received, 99'000U);
        ASSERT_EQ(server.request_count("/f"), before + 2);
        EXPECT_EQ(server.requests("/f").at(before).range(), "bytes=1000-");
        EXPECT_EQ(server.requests("/f").at(before + 1).range(), "");
    }
};

TEST_F(DownloaderRange, IsGivenUpAfterAnUnusablePart)
{
    expect_repetition_after(FAULT::wrong_range_start(-1));
    expect_repetition_after(FAULT::wrong_range_start(7));
    expect_repetition_after(FAULT::without_content_range());
}

TEST_F(Downloader, RefusesASecondUnusablePart)
{
    server.serve("/f", body, {FAULT::without_content_range(), FAULT::partial_unasked()});
    dir.write("f", body.substr(0, 1000));
    fetch();
    expect_failure(33, 206);
    EXPECT_EQ(text_of(*data), "The server sent the file from byte 0 instead of byte 1000");
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
    EXPECT_EQ(data->bytes_received, 0U);
    EXPECT_EQ(server.request_count("/f"), 2U);
}

TEST_F(DownloaderRange, IsGivenUpAfterA416ThatDoesNotFitTheFile)
{
    for (const bool with_content_range : {true, false})
        expect_repetition_after(FAULT::range_not_satisfiable(with_content_range));
}

TEST_F(Downloader, RefusesASecond416ThatDoesNotFitTheFile)
{
    server.serve("/f", body, {FAULT::status(416)});
    dir.write("f", body.substr(0, 1000));
    fetch();
    expect_failure(33, 416);
    EXPECT_EQ(text_of(*data), "The server has no data from byte 1000, where the file on disk ends");
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
    EXPECT_EQ(server.request_count("/f"), 2U);
}

TEST_F(Downloader, ReportsTheUnusablePartIfTheRequestCannotBeRepeated)
{
    server.serve("/f", body, {FAULT::without_content_range()});
    dir.write("f", body.substr(0, 1000));
    const FAILING_LIBCURL failing(FAILING_LIBCURL::CALL::multi_add_handle, 1);
    fetch();
    expect_failure(33, 206);
    EXPECT_EQ(text_of(*data), "The server sent a partial response without a valid range");
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
    EXPECT_EQ(server.request_count("/f"), 1U);
}

TEST_F(Downloader, WritesNothingOfAnErrorPage)
{
    for (const int status : {400, 401, 403, 404, 408, 410, 429, 500, 502, 503})
    {
        server.serve("/f", body, {FAULT::status(status)});
        EXPECT_EQ(fetch(), status);
        expect_failure(22, status);
        EXPECT_FALSE(exists()) << status;
    }
    dir.write("f", "kept");
    fetch();
    EXPECT_EQ(on_disk(), "kept");
}

TEST_F(Downloader, WritesNothingOfAResponseThatIsNotTheFile)
{
    server.serve("/f", body, {FAULT::redirect(302, "")});
    fetch();
    expect_failure(8, 302);
    EXPECT_FALSE(exists());
    server.serve("/f", body, {FAULT::status(202)});
    fetch();
    expect_failure(8, 202);
    EXPECT_FALSE(exists());
    server.serve("/f", body, {FAULT::content_encoding("gzip")});
    fetch();
    expect_failure(61, 200);
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, KeepsPartialDataForTheNextAttempt)
{
    server.serve("/f", body,
                 {FAULT::cut_after(10'000).times(1), FAULT::reset_after(20'000).times(1),
                  FAULT::chunked(30'000).times(1)});
    fetch();
    expect_failure(18, 200);
    EXPECT_EQ(on_disk(), body.substr(0, 10'000));
    fetch();
    EXPECT_NE(data->curl_code, 0);
    EXPECT_EQ(on_disk(), body.substr(0, 30'000));
    fetch();
    EXPECT_NE(data->curl_code, 0);
    EXPECT_EQ(on_disk(), body.substr(0, 60'000));
    fetch();
    expect_success(body);
}

TEST_F(Downloader, CannotDetectTruncationWithoutALength)
{
    server.serve("/f", body, {FAULT::without_length(10'000)});
    EXPECT_EQ(fetch(), 200);
    expect_success(body.substr(0, 10'000));
}

TEST_F(Downloader, SurvivesAWrongContentLength)
{
    server.serve("/f", body, {FAULT::claim_length(body.size() + 50)});
    fetch();
    expect_failure(18, 200);
    EXPECT_EQ(on_disk(), body);
    std::filesystem::remove(path());
    server.serve("/f", body, {FAULT::claim_length(1000)});
    fetch();
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
}

TEST_F(Downloader, EndsAStalledTransfer)
{
    stall_timeout = 1000ms;
    server.serve("/f", body, {FAULT::stall_after(5000)});
    const STOPWATCH watch;
    fetch();
    EXPECT_TRUE(watch.within(5s));
    expect_failure(28, 200);
    EXPECT_EQ(on_disk(), body.substr(0, 5000));
    server.serve("/f", body, {FAULT::stall_before_headers()});
    fetch();
    expect_failure(28, -1);
}

TEST_F(Downloader, KeepsASlowTransferRunning)
{
    stall_timeout = 1000ms;
    server.serve("/f", body.substr(0, 20'000), {FAULT::trickle(1000, 100ms)});
    fetch();
    expect_success(body.substr(0, 20'000));
}

TEST_F(Downloader, GivesUpOnHeadersThatKeepComing)
{
    stall_timeout = 1000ms;
    server.serve("/f", body, {FAULT::slow_headers(100ms)});
    const STOPWATCH watch;
    fetch();
    EXPECT_TRUE(watch.within(5s));
    expect_failure(28, 200);
    EXPECT_EQ(text_of(*data), "The server's headers did not end within 1 seconds");
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, GivesUpOnRedirectsThatTakeTooLongTogether)
{
    stall_timeout = 2000ms;
    server.serve("/f", body);
    for (int i = 1; i <= 10; ++i)
        server.serve(
            "/" + std::to_string(i), "",
            {FAULT::redirect(302, i == 1 ? "/f" : "/" + std::to_string(i - 1)).delayed(400ms)});
    fetch(server.url("/10"));
    EXPECT_EQ(data->curl_code, 28);
    EXPECT_EQ(text_of(*data), "The server's headers did not end within 2 seconds");
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, GivesUpOnABodyThatHardlyGrows)
{
    stall_timeout = 1000ms;
    server.serve("/f", body, {FAULT::trickle(10, 100ms)});
    const STOPWATCH watch;
    fetch();
    EXPECT_TRUE(watch.within(5s));
    expect_failure(28, 200);
    EXPECT_EQ(text_of(*data), "Less than 1 KiB received in 1 seconds");
    EXPECT_EQ(on_disk(), body.substr(0, data->bytes_received));
    EXPECT_GT(data->bytes_received, 0U);
}

TEST_F(Downloader, AbortsEndlessHeaders)
{
    server.serve("/f", body, {FAULT::endless_headers()});
    fetch();
    EXPECT_NE(data->curl_code, 0);
    EXPECT_NE(data->curl_code, 23);
    server.serve("/f", body, {FAULT::endless_header_line()});
    fetch();
    EXPECT_NE(data->curl_code, 0);
    EXPECT_NE(data->curl_code, 23);
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, FollowsTenRedirectsAndNoMore)
{
    server.serve("/f", body);
    for (int i = 1; i <= 11; ++i)
        server.serve("/" + std::to_string(i), "",
                     {FAULT::redirect(302, i == 1 ? "/f" : "/" + std::to_string(i - 1))});
    EXPECT_EQ(fetch(server.url("/10")), 200);
    expect_success(body);
    std::filesystem::remove(path());
    fetch(server.url("/11"));
    expect_failure(47, 302);
    server.serve("/loop", "", {FAULT::redirect(301, "/loop")});
    fetch(server.url("/loop"));
    expect_failure(47, 301);
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, ResumesThroughARedirect)
{
    server.serve("/f", body);
    server.serve("/old", "", {FAULT::redirect(307, "/f")});
    dir.write("f", body.substr(0, 100));
    EXPECT_EQ(fetch(server.url("/old")), 206);
    expect_success(body);
}

TEST_F(Downloader, RefusesProtocolsOtherThanHttp)
{
    for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/x", "gopher://127.0.0.1/x"})
    {
        server.serve("/f", body, {FAULT::redirect(302, target)});
        fetch();
        expect_failure(1, 302);
        EXPECT_FALSE(exists());
    }
    fetch("file:///etc/passwd");
    expect_failure(1, -1);
}

TEST_F(Downloader, StoresNoStatusWithoutAResponse)
{
    fetch("http://127.0.0.1:" + std::to_string(free_port()) + "/f");
    expect_failure(7, -1);
    server.serve("/f", body,
                 {FAULT::redirect(302, "http://127.0.0.1:" + std::to_string(free_port()) + "/")});
    fetch();
    expect_failure(7, -1);
    EXPECT_FALSE(exists());
}

TEST_F(Downloader, WritesThroughNoLinkPipeOrDirectory)
{
    server.serve("/f", body);
    dir.write("target", "precious");
    std::filesystem::create_symlink(dir / "target", path());
    fetch();
    EXPECT_EQ(data->curl_code, 23);
    EXPECT_EQ(text_of(*data), "Cannot write " + path() + ": it is a link. Remove it and try again");
    EXPECT_EQ(dir.read("target"), "precious");
    std::filesystem::remove(path());

    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    fetch();
    EXPECT_EQ(data->curl_code, 23);
    std::filesystem::remove(path());

    dir.make_dir("f");
    fetch();
    EXPECT_EQ(data->curl_code, 23);
    EXPECT_EQ(server.request_count("/f"), 0U);
}

TEST_F(Downloader, RefusesASecondWriterOfAFile)
{
    server.serve("/f", body, {FAULT::stall_after(100)});
    CURL_PROGRESS_DATA first;
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    downloader.add_file(server.url("/f"), path(), &first);
    downloader.download_files(1, false);
    EXPECT_TRUE(wait_until([&first] { return first.bytes_received >= 100; }));
    fetch();
    EXPECT_EQ(data->curl_code, 23);
    EXPECT_EQ(text_of(*data), "Cannot write " + path() + ": another process is writing it");
    EXPECT_EQ(on_disk(), body.substr(0, 100));
    stop_asked = true;
}

TEST_F(Downloader, ReportsAFullDiskAndKeepsWhatFits)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(1024 * 1024);
    server.serve("/f", SERVED_BODY::of_pattern(5'000'000));
    const std::string target = (disk.path() / "f").string();
    CURL_PROGRESS_DATA record;
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    EXPECT_EQ(downloader.download_one_file(server.url("/f"), target, &record), 200);
    EXPECT_EQ(record.curl_code, 23);
    EXPECT_EQ(text_of(record), "Cannot write " + target + ": No space left on device");
    EXPECT_EQ(record.bytes_received, std::filesystem::file_size(target));
    EXPECT_EQ(read_file(target), pattern(record.bytes_received));
}

TEST_F(Downloader, CountsFilesOver4GiB)
{
    const std::uint64_t size = 5'000'000'000;
    server.serve("/f", SERVED_BODY::of_pattern(size));
    dir.write("f", "");
    std::filesystem::resize_file(path(), size - 1000); // a hole
    EXPECT_EQ(fetch(), 206);
    EXPECT_EQ(data->curl_code, 0) << text_of(*data);
    EXPECT_EQ(data->bytes_received, 1000U);
    EXPECT_EQ(data->reported_total, size);
    EXPECT_EQ(std::filesystem::file_size(path()), size);
    EXPECT_EQ(server.requests("/f").at(0).range(), "bytes=4999999000-");
}

TEST_F(Downloader, CountsReceivedBytesOnceTheyAreOnDisk)
{
    server.serve("/f", body, {FAULT::trickle(2000, 10ms)});
    dir.write("f", body.substr(0, 10'000));
    CURL_PROGRESS_DATA record;
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    downloader.add_file(server.url("/f"), path(), &record);
    downloader.download_files(1, false);
    int seen_growing = 0;
    std::uint64_t last = 0;
    while (!downloader.downloads_complete())
    {
        const std::uint64_t before = record.bytes_received;
        const std::uint64_t size = std::filesystem::file_size(path());
        EXPECT_LE(10'000 + before, size);
        seen_growing += size > last ? 1 : 0;
        last = size;
        std::this_thread::yield();
    }
    EXPECT_GT(seen_growing, 1);
    EXPECT_EQ(10'000 + record.bytes_received, std::filesystem::file_size(path()));
    EXPECT_EQ(on_disk(), body);
}

TEST_F(Downloader, StopsWithinASecondWhileConnecting)
{
    const UNANSWERING_PORT port;
    CURL_PROGRESS_DATA record;
    const auto connecting = [&port] { return port.has_caller(); };
    EXPECT_TRUE(time_to_stop(port.url(), path(), connecting, record).within(1s));
    EXPECT_EQ(record.http_code, -1);
}

TEST_F(Downloader, StopsWithinASecondDuringNameResolution)
{
    const SLOW_RESOLVER resolver;
    CURL_PROGRESS_DATA record;
    const auto looking_up = [] { return slow_lookups() > 0; };
    const std::string url = std::string("http://") + slow_host_name + "/f";
    EXPECT_TRUE(time_to_stop(url, path(), looking_up, record).within(1s));
    EXPECT_EQ(slow_lookups(), 1);
    EXPECT_EQ(record.http_code, -1);
}

TEST_F(Downloader, LimitsTheConnectTime)
{
    const UNANSWERING_PORT port;
    CURL_PROGRESS_DATA record;
    CURL_DOWNLOADER downloader("", {}, false, 1);
    const STOPWATCH watch;
    EXPECT_EQ(downloader.download_one_file(port.url(), path(), &record), -1);
    const MEASURED_TIME taken = watch.elapsed();
    EXPECT_GE(taken.wall, 900ms);
    EXPECT_TRUE(taken.within(5s));
    EXPECT_EQ(record.curl_code, 28);
}

TEST_F(Downloader, StopsWithinASecondWhileWaitingForHeaders)
{
    server.serve("/f", body, {FAULT::stall_before_headers()});
    CURL_PROGRESS_DATA record;
    const auto asked = [this] { return server.request_count("/f") > 0; };
    EXPECT_TRUE(time_to_stop(server.url("/f"), path(), asked, record).within(1s));
}

TEST_F(Downloader, StopsWithinASecondInAStalledOrRunningBody)
{
    for (const FAULT& fault : {FAULT::stall_after(5000), FAULT::trickle(100, 10ms)})
    {
        stop_asked = false;
        std::filesystem::remove(path());
        server.serve("/f", body, {fault});
        CURL_PROGRESS_DATA record;
        const auto receiving = [&record] { return record.bytes_received > 0; };
        EXPECT_TRUE(time_to_stop(server.url("/f"), path(), receiving, record).within(1s));
        EXPECT_EQ(record.bytes_received, std::filesystem::file_size(path()));
        EXPECT_EQ(on_disk(), body.substr(0, record.bytes_received));
    }
}

TEST_F(Downloader, StopsQueuedTransfers)
{
    server.serve("/f", body, {FAULT::stall_after(10)});
    std::vector<CURL_PROGRESS_DATA> records(5);
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    for (std::size_t i = 0; i < records.size(); ++i)
        downloader.add_file(server.url("/f"), path() + std::to_string(i), &records[i]);
    downloader.download_files(2, false);
    ASSERT_TRUE(server.wait_for_requests("/f", 2, long_enough));
    stop_asked = true;
    const STOPWATCH since_stop;
    EXPECT_TRUE(wait_until([&] { return downloader.downloads_complete(); }));
    EXPECT_TRUE(since_stop.within(1s));
    for (const CURL_PROGRESS_DATA& record : records)
        EXPECT_EQ(record.curl_code, 42);
    EXPECT_EQ(server.request_count("/f"), 2U);
}

TEST_F(Downloader, IsStoppedByItsDestructor)
{
    server.serve("/f", body, {FAULT::stall_after(10)});
    CURL_PROGRESS_DATA record;
    std::optional<STOPWATCH> since_end;
    {
        CURL_DOWNLOADER downloader("", {}, false, 10);
        downloader.add_file(server.url("/f"), path(), &record);
        downloader.add_file(server.url("/f"), path() + "2", &record);
        downloader.download_files(1, false);
        ASSERT_TRUE(server.wait_for_requests("/f", 1, long_enough));
        since_end.emplace();
    }
    EXPECT_TRUE(since_end->within(2s));
}

TEST_F(Downloader, LimitsConcurrentTransfers)
{
    std::vector<CURL_PROGRESS_DATA> records(7);
    CURL_DOWNLOADER downloader("", {}, false, 10);
    downloader.set_progress_callback(count_progress);
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        const std::string route = "/" + std::to_string(i);
        server.serve(route, body.substr(0, 2000), {FAULT::trickle(200, 20ms)});
        downloader.add_file(server.url(route), path() + std::to_string(i), &records[i]);
    }
    downloader.download_files(3, true);
    EXPECT_TRUE(downloader.downloads_complete());
    EXPECT_EQ(downloader.finished_files(), 7U);
    EXPECT_EQ(server.peak_requests(), 3U);
    for (const CURL_PROGRESS_DATA& record : records)
        EXPECT_EQ(record.curl_code, 0);
}

TEST_F(Downloader, DoesNotCountQueueingTowardsTheConnectTimeout)
{
    server.serve("/slow", body.substr(0, 30), {FAULT::trickle(1, 100ms)});
    server.serve("/f", body);
    CURL_PROGRESS_DATA slow;
    CURL_PROGRESS_DATA queued;
    CURL_DOWNLOADER downloader("", {}, false, 1);
    downloader.add_file(server.url("/slow"), path() + "slow", &slow);
    downloader.add_file(server.url("/f"), path(), &queued);
    downloader.download_files(1, true);
    EXPECT_EQ(queued.curl_code, 0) << text_of(queued);
}

TEST_F(Downloader, CreatesAnEmptyFile)
{
    server.serve("/f", "");
    EXPECT_EQ(fetch(), 200);
    expect_success("");
    EXPECT_TRUE(exists());
}

TEST_F(Downloader, ResumesFromNginxAndAcceptsIts416ForACompleteFile)
{
    dir.write("www/f", body);
    NGINX_OPTIONS options;
    options.root = dir / "www";
    const NGINX_SERVER origin(options);
    dir.write("f", body.substr(0, 50'000));
    EXPECT_EQ(fetch(origin.url("/f")), 206);
    expect_success(body);
    EXPECT_EQ(fetch(origin.url("/f")), 416);
    expect_success(body);

    options.ranges = false;
    const NGINX_SERVER without_ranges(options);
    dir.write("f", body.substr(0, 50'000));
    EXPECT_EQ(fetch(without_ranges.url("/f")), 200);
    expect_success(body);
}

TEST_F(Downloader, MakesRoomByRemovingPiecesThatAreInTheFileAlready)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(2'200'000);
    const std::string content = pattern(2'000'000);
    const std::string file = (disk.path() / "f").string();
    server.serve("/f", content);
    server.set_etag("/f", "\"v1\"");
    write_file(file, content.substr(0, 1'000'000));
    const std::string version = curl_piece_version(file, content.size(), "\"v1\"");
    write_file(curl_piece_path(file, version, 400'000), content.substr(400'000, 500'000));
    data = std::make_unique<CURL_PROGRESS_DATA>();
    CURL_DOWNLOADER downloader("", proxy, false, 10);
    downloader.set_least_piece(100'000);
    downloader.add_file(server.url("/f"), file, data.get(), content.size());
    downloader.download_files(1, true);
    EXPECT_EQ(data->curl_code, 0) << text_of(*data);
    EXPECT_TRUE(read_file(file) == content);
    EXPECT_FALSE(std::filesystem::exists(disk.path() / ".pieces"));
}

TEST_F(Downloader, CompletesAFileWhosePiecesDoNotFitOnTheDiskTwice)
{
    if (!TMPFS_DIR::available())
        GTEST_SKIP() << "file systems can't be mounted here";
    const TMPFS_DIR disk(2'200'000);
    const std::string content = pattern(2'000'000);
    const std::string file = (disk.path() / "f").string();
    server.serve("/f", content, {FAULT::trickle(20'000, 20ms)});
    server.set_etag("/f", "\"v1\"");
    int attempts = 0;
    do
    {
        data = std::make_unique<CURL_PROGRESS_DATA>();
        CURL_DOWNLOADER downloader("", proxy, false, 10);
        downloader.set_least_piece(100'000);
        downloader.add_file(server.url("/f"), file, data.get(), content.size());
        downloader.download_files(4, true);
        ++attempts;
    } while (data->curl_code != 0 && attempts < 3);
    EXPECT_EQ(data->curl_code, 0) << text_of(*data);
    EXPECT_TRUE(read_file(file) == content);
    EXPECT_FALSE(std::filesystem::exists(disk.path() / ".pieces"));
}
