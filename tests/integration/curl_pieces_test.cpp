#include "support/curl/curl_pieces.h"

#include "tests/integration/pieces_fixture.h"

TEST_F(Pieces, MakeUseOfIdleConnections)
{
    slow_down();
    fetch_all();
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    EXPECT_GE(server.peak_requests(), 2U);
    EXPECT_EQ(data->bytes_received, content.size());
    EXPECT_EQ(data->bytes_ahead, 0U);
    EXPECT_EQ(data->bytes_taken_over, 0U);
    const std::vector<HTTP_REQUEST> requests = server.requests("/f");
    ASSERT_GE(requests.size(), 4U);
    EXPECT_EQ(requests.front().range(), "");
    for (std::size_t i = 1; i < 4; ++i)
    {
        EXPECT_NE(requests[i].range(), "");
        EXPECT_EQ(requests[i].header("if-range"), "\"v1\"");
    }
}

TEST_F(Pieces, AreNotMadeOfAFileThatTheServerCannotIdentify)
{
    server.set_etag("/f", "W/\"v1\"");
    slow_down();
    fetch_all();
    expect_success(content);
    EXPECT_EQ(server.request_count("/f"), 1U);
}

TEST_F(Pieces, AreNotMadeWithoutADirectory)
{
    dir.write(".pieces", "a file");
    slow_down();
    fetch_all();
    expect_success(content);
    EXPECT_EQ(server.request_count("/f"), 1U);
    EXPECT_EQ(dir.read(".pieces"), "a file");
}

TEST_F(Pieces, AreNotMadeWhileAFileWaits)
{
    server.serve("/g", "other");
    slow_down();
    CURL_PROGRESS_DATA other;
    data = std::make_unique<CURL_PROGRESS_DATA>();
    downloader = std::make_unique<CURL_DOWNLOADER>("", proxy, false, 10);
    downloader->set_least_piece(least_piece);
    downloader->add_file(server.url("/f"), path(), data.get(), content.size());
    downloader->add_file(server.url("/g"), (dir / "g").string(), &other, 5);
    downloader->download_files(2, true);
    expect_success(content);
    ASSERT_GE(server.request_count(), 3U);
    EXPECT_EQ(server.requests()[0].range() + server.requests()[1].range(), "");
    EXPECT_NE(server.requests()[0].path, server.requests()[1].path);
}

TEST_F(Pieces, LeaveTheFileAsTheBeginningOfTheCompleteOne)
{
    slow_down();
    start();
    int looks = 0;
    while (!downloader->downloads_complete())
    {
        const std::string now = exists() ? on_disk() : std::string();
        ASSERT_EQ(now, content.substr(0, now.size()));
        ++looks;
    }
    EXPECT_GT(looks, 10);
    expect_success(content);
}

TEST_F(Pieces, CountEveryByteOnce)
{
    slow_down();
    start();
    std::uint64_t most = 0;
    while (!downloader->downloads_complete())
        most = std::max(most, data->bytes_received + data->bytes_ahead);
    // Between the two looks, a block may be counted here and there.
    EXPECT_LE(most, content.size() + 4 * 1024 * 1024);
    EXPECT_EQ(data->bytes_received + data->bytes_ahead, content.size());
}

TEST_F(Pieces, ContinueAsTheMainTransferWhenThatReachesThem)
{
    least_piece = 900'000; // one piece
    server.set_faults("/f", {FAULT::trickle(100'000, 10ms).for_ranges(false),
                             FAULT::trickle(20'000, 20ms).for_ranges()});
    fetch_all(2);
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    EXPECT_EQ(server.request_count("/f"), 2U);
    EXPECT_EQ(data->bytes_received, content.size());
    EXPECT_EQ(data->bytes_ahead, 0U);
}

TEST_F(Pieces, AreFetchedAgainFromWhereTheConnectionWasLostAfterJoining)
{
    least_piece = 900'000;
    server.set_faults("/f", {FAULT::trickle(100'000, 10ms).for_ranges(false),
                             FAULT::cut_after(300'000).for_ranges().times(1)});
    fetch_all(2);
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    const std::vector<HTTP_REQUEST> requests = server.requests("/f");
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(first_byte(requests[2]), first_byte(requests[1]) + 300'000);
}

TEST_F(Pieces, KeepTheFileWhenAConnectionIsLostThatHasContinuedAsTheMainTransfer)
{
    least_piece = 900'000;
    stall_timeout = 1s;
    server.set_faults("/f", {FAULT::trickle(100'000, 10ms).for_ranges(false),
                             FAULT::stall_after(300'000).for_ranges().times(1)});
    fetch_all(2);
    expect_success(content);
    const std::vector<HTTP_REQUEST> requests = server.requests("/f");
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(first_byte(requests[2]), first_byte(requests[1]) + 300'000);
}

TEST_F(Pieces, AreRequestedUpToTheNextPiece)
{
    slow_down();
    fetch_all();
    std::vector<HTTP_REQUEST> requests = server.requests("/f");
    requests.erase(requests.begin());
    const auto has_end = [](const HTTP_REQUEST& each) { return each.range().back() != '-'; };
    EXPECT_TRUE(std::any_of(requests.begin(), requests.end(), has_end));
    EXPECT_FALSE(std::all_of(requests.begin(), requests.end(), has_end)) << "the last piece";
}

/// What goes wrong with all requests for a piece.
struct REFUSAL
{
    const char* name;
    FAULT fault;
};

class RefusedPieces : public Pieces, public ::testing::WithParamInterface<REFUSAL>
{
};

TEST_P(RefusedPieces, LeaveTheFileToOneConnection)
{
    slow_down({GetParam().fault.for_ranges()});
    server.set_faults("/f", {GetParam().fault.for_ranges(), slow});
    fetch_all();
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    EXPECT_LE(server.request_count("/f"), 4U);
}

TEST_P(RefusedPieces, AreNotRequestedAgainInTheSameRun)
{
    server.set_faults("/f", {GetParam().fault.for_ranges(), FAULT::trickle(100'000, 20ms)});
    fetch_all();
    const std::size_t before = server.request_count("/f");
    EXPECT_GT(before, 1U);
    std::filesystem::remove(path());
    fetch_all();
    expect_success(content);
    EXPECT_EQ(server.request_count("/f"), before + 1);

    std::filesystem::remove(path());
    refusals = {};
    fetch_all();
    EXPECT_GT(server.request_count("/f"), before + 2) << "the next run";
}

INSTANTIATE_TEST_SUITE_P(Answers, RefusedPieces,
                         ::testing::Values(REFUSAL{"Forbidden", FAULT::status(403)},
                                           REFUSAL{"TooManyRequests", FAULT::status(429)},
                                           REFUSAL{"Unavailable", FAULT::status(503)},
                                           REFUSAL{"Whole", FAULT::ignore_range()},
                                           REFUSAL{"FromElsewhere", FAULT::wrong_range_start(-1)},
                                           REFUSAL{"WithoutRange", FAULT::without_content_range()},
                                           REFUSAL{"Reset", FAULT::reset_after(0)}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Pieces, AreRequestedAgainAfterALostConnection)
{
    least_piece = 900'000;
    server.set_faults("/f", {FAULT::cut_after(100'000).for_ranges().times(1), slow});
    fetch_all(2);
    const std::size_t before = server.request_count("/f");
    std::filesystem::remove(path());
    fetch_all(2);
    expect_success(content);
    EXPECT_GT(server.request_count("/f"), before + 1);
}

class InterruptedPieces : public Pieces
{
protected:
    /// Stops when several pieces have some bytes.
    void interrupt()
    {
        slow_down();
        start();
        ASSERT_TRUE(wait_until([&] { return data->bytes_ahead > 300'000; }));
        stop_asked = true;
        ASSERT_TRUE(wait_until([&] { return downloader->downloads_complete(); }));
        stop_asked = false;
        EXPECT_EQ(data->curl_code, 42);
        kept = on_disk().size() + data->bytes_ahead;
        EXPECT_GE(files().size(), 4U);
    }

    std::uint64_t kept = 0;
};

TEST_F(InterruptedPieces, AreTakenOverByTheNextRun)
{
    interrupt();
    const std::uint64_t in_file = on_disk().size();
    const std::uint64_t sent = server.body_bytes("/f");
    fetch_all();
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    EXPECT_GT(data->bytes_taken_over, 0U);
    EXPECT_EQ(data->bytes_received, content.size() - in_file);
    EXPECT_EQ(data->bytes_taken_over, kept - in_file);
    // A connection is sent some bytes beyond its end before it is closed.
    EXPECT_LT(server.body_bytes("/f") - sent, content.size() - kept + 300'000);
}

TEST_F(InterruptedPieces, AreRemovedWhenTheServerHasAnotherVersion)
{
    interrupt();
    const std::string other = pattern(2'000'000, 2);
    server.serve("/f", other);
    server.set_etag("/f", "\"v2\"");
    std::filesystem::remove(path());
    fetch_all();
    expect_success(other);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
    EXPECT_EQ(data->bytes_taken_over, 0U);
}

/// As after a run that could not remove a piece.
TEST_F(Pieces, ThatOverlapAreJoinedAndRemoved)
{
    store_piece(100'000, 200'000);
    store_piece(150'000, 300'000);
    store_piece(250'000, 400'000);
    store_piece(350'000, 500'000);
    fetch_all(1);
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
}

TEST_F(InterruptedPieces, AreRemovedOnRequest)
{
    interrupt();
    dir.write("g", "another file");
    curl_remove_pieces((dir / "g").string());
    EXPECT_GE(files().size(), 5U);
    curl_remove_pieces(path());
    EXPECT_EQ(files(), (std::vector<std::string>{"f", "g"}));
}
