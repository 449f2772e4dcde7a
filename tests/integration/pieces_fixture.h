#pragma once

#include "support/curl/curl_pieces.h"
#include "support/curl/curl_split_refusals.h"
#include "tests/harness/wait_until.h"
#include "tests/integration/downloader_fixture.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

/// Fetches "/f" over several connections, each of which is slow.
class Pieces : public Downloader
{
protected:
    Pieces()
    {
        server.serve("/f", content);
        server.set_etag("/f", "\"v1\"");
    }

    void slow_down(std::vector<FAULT> before = {})
    {
        before.push_back(slow);
        server.set_faults("/f", std::move(before));
    }

    void start(int connections = 4)
    {
        data = std::make_unique<CURL_PROGRESS_DATA>();
        downloader = std::make_unique<CURL_DOWNLOADER>("", proxy, false, 10);
        downloader->set_progress_callback(count_progress);
        downloader->set_stall_timeout(stall_timeout);
        downloader->set_least_piece(least_piece);
        downloader->set_split_refusals(&refusals);
        downloader->add_file(server.url("/f"), path(), data.get(), content.size());
        downloader->download_files(connections, false);
    }

    void fetch_all(int connections = 4)
    {
        start(connections);
        ASSERT_TRUE(wait_until([&] { return downloader->downloads_complete(); }));
    }

    /// Of the range that is requested.
    static std::uint64_t first_byte(const HTTP_REQUEST& request)
    {
        return std::stoull(request.range().substr(std::string("bytes=").size()));
    }

    /// Leaves a piece as an interrupted run does.
    void store_piece(std::uint64_t begin, std::uint64_t end) const
    {
        const std::string version = curl_piece_version(path(), content.size(), "\"v1\"");
        std::ofstream(curl_piece_path(path(), version, begin), std::ios::binary)
            << content.substr(begin, end - begin);
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path()))
            names.push_back(entry.path().lexically_relative(dir.path()).generic_string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::uint64_t least_piece = 100'000;
    const std::string content = pattern(2'000'000);
    const FAULT slow = FAULT::trickle(20'000, 20ms);
    CURL_SPLIT_REFUSALS refusals; ///< of all attempts of a test
    std::unique_ptr<CURL_DOWNLOADER> downloader;
};
