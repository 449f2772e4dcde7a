#pragma once

#include "support/curl/curl_downloader.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

using namespace std::chrono_literals;
using CLOCK = std::chrono::steady_clock;

/// Makes `count_progress` end every transfer.
inline std::atomic<bool> stop_asked{false};

inline std::int64_t count_progress(CURL_PROGRESS_DATA* data, std::uint64_t total,
                                   std::uint64_t received)
{
    data->reported_total = total;
    data->bytes_received = received;
    return stop_asked ? -1 : 0;
}

inline std::string text_of(const CURL_PROGRESS_DATA& data)
{
    return data.error_text.data();
}

/// Fetches files into a directory, mostly "/f" into "f".
class Downloader : public ::testing::Test
{
protected:
    Downloader() { stop_asked = false; }

    int fetch(const std::string& url)
    {
        data = std::make_unique<CURL_PROGRESS_DATA>();
        CURL_DOWNLOADER downloader("", proxy, false, 10);
        downloader.set_progress_callback(count_progress);
        downloader.set_stall_timeout(stall_timeout);
        return downloader.download_one_file(url, path(), data.get());
    }

    /// Fetches "/f" with a known size of the complete file.
    int fetch_sized(std::uint64_t expected_size)
    {
        data = std::make_unique<CURL_PROGRESS_DATA>();
        CURL_DOWNLOADER downloader("", proxy, false, 10);
        downloader.set_progress_callback(count_progress);
        downloader.set_stall_timeout(stall_timeout);
        downloader.add_file(server.url("/f"), path(), data.get(), expected_size);
        downloader.download_files(1, true);
        return data->http_code;
    }

    int fetch() { return fetch(server.url("/f")); }

    std::string path() const { return (dir / "f").string(); }
    std::string on_disk() const { return dir.read("f"); }
    bool exists() const { return std::filesystem::exists(path()); }

    void expect_failure(int curl_code, int http_code)
    {
        EXPECT_EQ(data->curl_code, curl_code) << text_of(*data);
        EXPECT_EQ(data->http_code, http_code) << text_of(*data);
        EXPECT_NE(text_of(*data), "");
    }

    void expect_success(const std::string& content)
    {
        EXPECT_EQ(data->curl_code, 0) << text_of(*data);
        EXPECT_EQ(on_disk(), content);
        EXPECT_EQ(text_of(*data), "");
    }

    const std::string body = pattern(100'000);
    TEMP_DIR dir;
    FAULT_SERVER server;
    CURL_PROXY_INFO proxy;
    std::chrono::milliseconds stall_timeout{60'000};
    std::unique_ptr<CURL_PROGRESS_DATA> data;
};
