#pragma once

#include "support/curl/curl_base_connection.h"
#include "support/curl/curl_failure.h"
#include "support/curl/curl_request.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

class CURL_FILE_DOWNLOAD;

/// Downloads files over http and https, several at a time, on a separate thread.
///
/// A partial file is resumed; bytes are only ever appended. A transfer ends when it is complete,
/// fails, receives nothing for a minute, or is stopped by the progress callback. What it has
/// written is kept. The results are in the progress records.
class CURL_DOWNLOADER final : public CURL_BASE_CONNECTION
{
public:
    /// \param trace            write libcurl's trace to the log as debug lines
    /// \param connect_seconds  timeout of each connection attempt
    CURL_DOWNLOADER(const char* name, const CURL_PROXY_INFO& proxy, bool trace,
                    long connect_seconds);
    /// Stops running transfers and waits for them.
    ~CURL_DOWNLOADER() override;

    void set_progress_callback(CURL_PROGRESS_CALLBACK callback);
    /// The callback is called on the transfer thread after each file has ended, successfully or
    /// not, and once more when all have ended. To be set before `download_files`.
    void set_file_end_callback(std::function<void()> callback);

    /// Queues a file. To be called before `download_files`.
    /// \param expected_size  bytes of the complete file, 0 when unknown. A file that already has
    ///                       this size on disk is not requested: its transfer succeeds without an
    ///                       HTTP status
    void add_file(const std::string& url, const std::string& path, CURL_PROGRESS_DATA* data,
                  std::uint64_t expected_size = 0);

    /// Starts the queued transfers, at most `parallel` at a time.
    void download_files(int parallel, bool wait);

    bool downloads_complete() const { return m_complete; }

    /// Why a file's transfer failed. To be called once the downloads are complete; of kind `none`
    /// for a file that was transferred or is unknown.
    CURL_FAILURE failure_of(const CURL_PROGRESS_DATA* data) const;
    /// How long the file was requested. To be called once the downloads are complete; empty for a
    /// file that was not requested.
    std::optional<std::chrono::nanoseconds> request_time(const CURL_PROGRESS_DATA* data) const;

    /// The number of files that have ended, successfully or not.
    std::size_t finished_files() const { return m_finished; }

    /// Downloads one file and waits for it. \return the HTTP status; -1 when no server responded
    int download_one_file(const std::string& url, const std::string& path,
                          CURL_PROGRESS_DATA* data);

private:
    void run(std::size_t parallel);
    struct FILE_END
    {
        CURL_FAILURE failure;
        std::optional<std::chrono::nanoseconds> request_time;
    };

    void count_file(const CURL_FILE_DOWNLOAD& file);

    std::function<void()> m_on_file_end; ///< unchanged while the thread runs
    std::deque<CURL_REQUEST> m_queue; ///< the caller's until the thread starts, then the thread's
    std::map<const CURL_PROGRESS_DATA*, FILE_END> m_ends; ///< the thread's until complete
    std::thread m_thread;

    std::mutex m_mutex; ///< for the waits on the two counters below
    std::condition_variable m_changed;
    std::atomic<std::size_t> m_finished{0}; ///< written by the thread, read by any thread
    std::atomic<bool> m_complete{false};    ///< the same
    std::atomic<bool> m_stop{false};        ///< written by the destructor, read by the thread
};
