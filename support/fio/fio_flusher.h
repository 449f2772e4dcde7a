#pragma once

#include "support/fio/fio_flush.h"

#include <condition_variable>
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
/// A queued or running flush keeps its file's lock. All members are for the writing thread.
class FIO_FLUSHER final
{
public:
    using FLUSH = std::function<std::error_code(const FIO_FLUSH_HANDLE& file)>;

    /// \param flush  runs on the background thread; other than by default in tests
    explicit FIO_FLUSHER(FLUSH flush = &FIO_FLUSH_HANDLE::flush);
    /// Drops the queue and waits for the flush that runs.
    ~FIO_FLUSHER();
    FIO_FLUSHER(const FIO_FLUSHER&) = delete;
    FIO_FLUSHER& operator=(const FIO_FLUSHER&) = delete;

    /// Asks for a flush of what the file has now. Does nothing when one of this file is queued
    /// already: it will include that.
    void request(const FIO_APPEND_FILE& file);

    /// Drops the file's queued flush; one that runs goes on.
    void withdraw(const FIO_APPEND_FILE& file);

    /// The error of this file's last flush that failed; none when all have succeeded so far.
    [[nodiscard]] std::error_code error_of(const FIO_APPEND_FILE& file);

private:
    struct REQUEST
    {
        std::string path;
        std::unique_ptr<FIO_FLUSH_HANDLE> file;
    };

    bool start_thread();
    void run();
    std::deque<REQUEST>::iterator find(const FIO_APPEND_FILE& file);

    const FLUSH m_flush;
    std::thread m_thread;

    std::mutex m_mutex; ///< guards all below, for the background thread
    std::condition_variable m_changed;
    std::deque<REQUEST> m_queue;
    std::map<std::string, std::error_code> m_errors; ///< by path
    bool m_stop = false;
};
