#pragma once

#include "support/fio/fio_flush.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

class FIO_APPEND_FILE;

/// Flushes growing files to the disk, one after another, on a background thread, so that the thread
/// that writes them never waits for the disk. The background thread starts with the first request.
/// A queued or running flush holds its file's lock. All members are called on the writing thread.
class FIO_FLUSHER final
{
public:
    using FLUSH = std::function<std::error_code(const FIO_FLUSH_HANDLE& file)>;

    /// \param flush   runs on the background thread; replaceable in tests
    /// \param on_end  called on the background thread after each flush
    explicit FIO_FLUSHER(FLUSH flush = &FIO_FLUSH_HANDLE::flush, std::function<void()> on_end = {});
    /// Discards the queue and waits for the running flush.
    ~FIO_FLUSHER();
    FIO_FLUSHER(const FIO_FLUSHER&) = delete;
    FIO_FLUSHER& operator=(const FIO_FLUSHER&) = delete;

    /// Requests a flush of the file's current content. Does nothing if one is already queued for
    /// this file, since that one will include it.
    /// \return false when the system lacks the resources
    bool request(const FIO_APPEND_FILE& file);

    /// Discards the file's queued flush; a running one continues.
    void withdraw(const FIO_APPEND_FILE& file);

    /// Whether a flush of the file at this path is queued or running. It holds the file's lock.
    [[nodiscard]] bool is_flushing(const std::string& path);

    /// How many bytes the file at this path had when its last successful flush was requested.
    [[nodiscard]] std::uint64_t flushed_size(const std::string& path);

    /// The error of this file's last failed flush; none if all have succeeded so far.
    [[nodiscard]] std::error_code error_of(const FIO_APPEND_FILE& file);

private:
    struct REQUEST
    {
        std::string path;
        std::unique_ptr<FIO_FLUSH_HANDLE> file;
        std::uint64_t size = 0; ///< bytes in the file
    };

    bool start_thread();
    void run();
    std::deque<REQUEST>::iterator find(const std::string& path);

    const FLUSH m_flush;
    const std::function<void()> m_on_end;
    std::thread m_thread;

    std::mutex m_mutex; ///< guards the members below
    std::condition_variable m_changed;
    std::deque<REQUEST> m_queue;
    std::string m_running; ///< the path of the file that is being flushed; empty without one
    std::map<std::string, std::error_code> m_errors; ///< by path
    std::map<std::string, std::uint64_t> m_flushed;  ///< bytes, by path
    bool m_stop = false;
};
