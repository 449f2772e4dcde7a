#include "tests/harness/stopwatch.h"
#include "tests/integration/downloader_fixture.h"

#include <vector>

namespace
{

/// The size of a file that a server can't have sent completely before its first bytes are refused.
constexpr std::uint64_t huge = 5'000'000'000;

class SizedDownload : public Downloader
{
protected:
    int fetch_listed() { return fetch_sized(body.size()); }

    const std::string portal_page = "<html>Welcome, please log in</html>";
};

}

TEST_F(SizedDownload, RefusesAnAnswerThatIsTooShort)
{
    server.serve("/f", portal_page);
    fetch_listed();
    expect_failure(18, 200);
    EXPECT_EQ(text_of(*data), "The server offers 35 bytes, but the release lists 100000");
    EXPECT_FALSE(exists());
    EXPECT_EQ(data->bytes_received, 0U);
}

TEST_F(SizedDownload, RefusesAnAnswerThatIsTooLong)
{
    server.serve("/f", SERVED_BODY::of_pattern(huge));
    fetch_listed();
    expect_failure(63, 200);
    EXPECT_EQ(text_of(*data), "The server offers 5000000000 bytes, but the release lists 100000");
    EXPECT_FALSE(exists());
    EXPECT_LT(server.body_bytes("/f"), huge / 2);
}

TEST_F(SizedDownload, RefusesARestOfAnotherFile)
{
    for (const auto& [total, code] : {std::pair{90'000U, 18}, std::pair{100'001U, 63}})
    {
        server.serve("/f", pattern(total));
        dir.write("f", body.substr(0, 1000));
        fetch_listed();
        expect_failure(code, 206);
        EXPECT_EQ(text_of(*data), "The server offers " + std::to_string(total) +
                                      " bytes, but the release lists 100000");
        EXPECT_EQ(on_disk(), body.substr(0, 1000));
    }
}

TEST_F(SizedDownload, RefusesAFullAnswerOfAnotherSizeBeforeSkippingIt)
{
    server.serve("/f", SERVED_BODY::of_pattern(huge), {FAULT::ignore_range()});
    dir.write("f", body.substr(0, 1000));
    fetch_listed();
    expect_failure(63, 200);
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
    EXPECT_LT(server.body_bytes("/f"), huge / 2);
}

TEST_F(SizedDownload, ComparesTheTotalOfA416)
{
    server.serve("/f", body.substr(0, 500));
    dir.write("f", body.substr(0, 1000));
    fetch_listed();
    expect_failure(18, 416);
    EXPECT_EQ(text_of(*data), "The server offers 500 bytes, but the release lists 100000");
    EXPECT_EQ(on_disk(), body.substr(0, 1000));
}

TEST_F(SizedDownload, RefusesAnEmptyAnswer)
{
    server.serve("/f", "");
    fetch_listed();
    expect_failure(18, 200);
}

TEST_F(SizedDownload, StopsWritingAtTheExpectedSize)
{
    for (const FAULT& endless : {FAULT::without_length(), FAULT::chunked()})
    {
        std::filesystem::remove(path());
        server.serve("/f", SERVED_BODY::of_pattern(huge), {endless});
        fetch_listed();
        expect_failure(63, 200);
        EXPECT_EQ(text_of(*data),
                  "The server sends more than the 100000 bytes that the release lists");
        EXPECT_EQ(std::filesystem::file_size(path()), body.size());
        EXPECT_EQ(data->bytes_received, body.size());
        EXPECT_LT(server.body_bytes("/f"), huge / 2);
    }
}

TEST_F(SizedDownload, AcceptsABodyWithoutATotalThatHasTheExpectedSize)
{
    for (const FAULT& unsized_body : {FAULT::without_length(), FAULT::chunked()})
    {
        std::filesystem::remove(path());
        server.serve("/f", body, {unsized_body});
        EXPECT_EQ(fetch_listed(), 200);
        expect_success(body);
    }
}

TEST_F(SizedDownload, WritesNothingOfAShortPageWithoutATotal)
{
    for (const FAULT& unsized_body : {FAULT::without_length(), FAULT::chunked()})
    {
        server.serve("/f", portal_page, {unsized_body});
        fetch_listed();
        expect_failure(18, 200);
        EXPECT_EQ(text_of(*data), "The server sent 35 of the 100000 bytes that the release lists");
        EXPECT_EQ(on_disk(), "");
        EXPECT_EQ(data->bytes_received, 0U);
    }
}

TEST_F(SizedDownload, KeepsNothingOfALongPageWithoutATotal)
{
    const std::string large = pattern(600'000);
    const std::string long_page = pattern(306'000, 2);
    for (const FAULT& unsized_body : {FAULT::without_length(), FAULT::chunked()})
    {
        std::filesystem::remove(path());
        server.serve("/f", long_page, {unsized_body});
        fetch_sized(large.size());
        expect_failure(18, 200);
        EXPECT_EQ(text_of(*data),
                  "The server sent 306000 of the 600000 bytes that the release lists");
        EXPECT_EQ(on_disk(), "");
        EXPECT_EQ(data->bytes_received, 0U);
        server.serve("/f", large);
        fetch_sized(large.size());
        expect_success(large);
    }
}

TEST_F(SizedDownload, KeepsTheEarlierBytesWhenALongPageWithoutATotalEnds)
{
    const std::string large = pattern(600'000);
    const FAULT refused_part = FAULT::without_content_range();
    server.serve("/f", pattern(306'000, 2), {refused_part, FAULT::chunked().for_ranges(false)});
    dir.write("f", large.substr(0, 1000));
    fetch_sized(large.size());
    expect_failure(18, 200);
    EXPECT_EQ(on_disk(), large.substr(0, 1000));
    EXPECT_EQ(data->bytes_received, 0U);
    server.serve("/f", large);
    EXPECT_EQ(fetch_sized(large.size()), 206);
    expect_success(large);
}

TEST_F(SizedDownload, KeepsTheStartOfABodyWithoutATotalWhoseConnectionBreaks)
{
    const std::string large = pattern(2'000'000);
    server.serve("/f", large, {FAULT::chunked(1'500'000)});
    fetch_sized(large.size());
    expect_failure(18, 200);
    EXPECT_EQ(on_disk(), large.substr(0, 1'500'000));
    server.set_faults("/f", {});
    EXPECT_EQ(fetch_sized(large.size()), 206);
    expect_success(large);
}

TEST_F(SizedDownload, SucceedsWhateverHappensToTheConnectionAfterTheLastByte)
{
    for (const bool with_reset : {true, false})
    {
        std::filesystem::remove(path());
        server.serve("/f", body, {FAULT::chunks_without_end(with_reset)});
        const STOPWATCH watch;
        EXPECT_EQ(fetch_listed(), 200);
        expect_success(body);
        EXPECT_TRUE(watch.within(5s));
    }
}

TEST_F(SizedDownload, LimitsAFileOfUnknownSize)
{
    const std::vector<std::vector<FAULT>> answers = {{}, {FAULT::chunked()}};
    for (const std::vector<FAULT>& faults : answers)
    {
        server.serve("/f", SERVED_BODY::of_pattern(huge), faults);
        std::filesystem::remove(path());
        CURL_PROGRESS_DATA record;
        CURL_DOWNLOADER downloader("", {}, false, 10);
        downloader.set_progress_callback(count_progress);
        downloader.set_size_limit(1000);
        downloader.download_one_file(server.url("/f"), path(), &record);
        EXPECT_EQ(record.curl_code, 63);
        EXPECT_EQ(text_of(record),
                  faults.empty() ? "The server offers 5000000000 bytes, but at most 1000 are read"
                                 : "The server sends more than the 1000 bytes that are read");
        EXPECT_LE(exists() ? std::filesystem::file_size(path()) : 0, 1000U);
    }
}
