#include "tests/integration/failing_libcurl.h"
#include "tests/integration/faulty_disk.h"
#include "tests/integration/pieces_fixture.h"

namespace
{

class PiecesOnASlowDisk : public Pieces
{
protected:
    PiecesOnASlowDisk()
    {
        least_piece = 900'000; // one piece
        server.set_faults("/f", {FAULT::trickle(100'000, 10ms).for_ranges(false)});
    }

    bool wait_for_flush() const
    {
        return wait_until([this] { return begun_file_flushes() > flushes_before; });
    }

    bool has_piece() const { return files().size() == 3; }

    const int flushes_before = begun_file_flushes();
};

}

TEST_F(Pieces, NeverUseMoreConnectionsThanPermitted)
{
    for (const int connections : {1, 2, 4, 7})
    {
        const OPEN_TRANSFERS transfers;
        std::filesystem::remove(path());
        slow_down();
        fetch_all(connections);
        expect_success(content);
        EXPECT_EQ(transfers.most(), connections);
    }
}

TEST_F(PiecesOnASlowDisk, DoNotDelayAStopWhileTheyAreFlushed)
{
    {
        const FAULTY_DISK disk(FAULTY_DISK::FAULT::never_ready);
        start(2);
        ASSERT_TRUE(wait_for_flush());
        const auto asked = CLOCK::now();
        stop_asked = true;
        ASSERT_TRUE(wait_until([&] { return downloader->downloads_complete(); }));
        EXPECT_LT(CLOCK::now() - asked, 1s);
        EXPECT_EQ(data->curl_code, 42) << text_of(*data);
        EXPECT_TRUE(has_piece());
    }
    downloader.reset();
    stop_asked = false;
    fetch_all(2);
    expect_success(content);
}

TEST_F(PiecesOnASlowDisk, AreRemovedAfterTheirBytesAreOnTheDiskInTheFile)
{
    {
        const FAULTY_DISK disk(FAULTY_DISK::FAULT::never_ready);
        start(2);
        ASSERT_TRUE(wait_until([&] { return exists() && on_disk() == content; }));
        EXPECT_TRUE(has_piece());
        EXPECT_FALSE(downloader->downloads_complete());
        EXPECT_EQ(data->curl_code, -1);
    }
    ASSERT_TRUE(wait_until([&] { return downloader->downloads_complete(); }));
    expect_success(content);
    EXPECT_EQ(files(), std::vector<std::string>{"f"});
}

TEST_F(PiecesOnASlowDisk, AreKeptWhenTheFlushFails)
{
    const FAULTY_DISK disk(FAULTY_DISK::FAULT::io_error);
    fetch_all(2);
    EXPECT_EQ(data->curl_code, 23);
    EXPECT_EQ(text_of(*data), "Cannot write " + path() + ": Input/output error");
    EXPECT_TRUE(has_piece());
}

TEST_F(PiecesOnASlowDisk, DoNotDelayTheOtherConnections)
{
    least_piece = 400'000;
    server.set_faults("/f", {FAULT::trickle(100'000, 10ms).for_ranges(false),
                             FAULT::trickle(20'000, 20ms).for_ranges()});
    const FAULTY_DISK disk(FAULTY_DISK::FAULT::never_ready);
    start(4);
    ASSERT_TRUE(wait_for_flush());
    EXPECT_TRUE(
        wait_until([&] { return data->bytes_received + data->bytes_ahead == content.size(); }));
    EXPECT_FALSE(downloader->downloads_complete());
    stop_asked = true;
}
