#pragma once

#include "support/curl/curl_request.h"
#include "support/fio/fio_append_file.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class FIO_FLUSHER;

/// A growing file is flushed after this many bytes.
inline constexpr std::uint64_t curl_flush_block = 64 * 1024 * 1024;

/// The file that a transfer writes: the complete one, or a piece of it. Received bytes are
/// collected and written in blocks; the file is flushed in the background. Positions are offsets in
/// the complete file. Used by one thread.
class CURL_TARGET
{
public:
    using TIME = std::chrono::steady_clock::time_point;

    /// \param request  outlives the target
    CURL_TARGET(const CURL_REQUEST& request, FIO_FLUSHER& flusher,
                std::chrono::milliseconds flush_interval);

    /// The file on the disk, which isn't opened for this: a complete one may be read-only.
    bool is_complete_on_disk();
    /// Opens the file if it exists. \return false when it can't be written
    bool open_existing();
    /// Opens or creates it for a body. \return false also when it has changed since `open_existing`
    bool open_for_body(std::size_t largest_delivery);
    bool create_if_missing();
    /// Ends the background flushes of the file, and closes it.
    void close();
    /// Continues a closed target in another file, which is open and ends where the former one does;
    /// the request has become that of the other file. What was collected is kept.
    void continue_in(FIO_APPEND_FILE& file);
    /// Why one of these or of the functions below returned false.
    const std::string& error() const { return m_error; }

    /// Where the file on the disk ended when it was opened.
    std::uint64_t start() const { return m_start; }
    /// Where the next received byte belongs.
    std::uint64_t position() const { return written() + m_pending.size(); }
    /// Where the bytes in the file end.
    std::uint64_t written() const { return m_request.begin + m_file.size(); }
    /// Where the part that is written ends; 0: unknown.
    std::uint64_t end() const { return m_end != 0 ? m_end : m_request.expected_size; }
    /// 0: with the complete file.
    void set_end(std::uint64_t end) { m_end = end; }
    /// Whether all bytes are in the file.
    bool has_reached_end() const;
    /// Whether nothing has been written yet.
    bool is_as_before() const { return written() == m_start; }
    /// Bytes written in this run.
    std::uint64_t received() const { return m_received; }

    void collect(const char* bytes, std::size_t size, TIME now);
    /// Whether what was collected should be written now, because it is much or old.
    bool has_block() const;
    bool is_overdue(TIME now) const;
    /// Writes what was collected.
    [[nodiscard]] bool write();
    /// Restores the file as it was when it was opened.
    [[nodiscard]] bool undo();

    /// Requests a flush of the file from time to time. \return false when an earlier one failed
    [[nodiscard]] bool flush_now_and_then(TIME now);
    /// Whether a flush has failed.
    bool has_flush_error();

private:
    bool fail(std::string error);
    std::uint64_t received_at(std::uint64_t size) const;

    const CURL_REQUEST& m_request;
    FIO_FLUSHER& m_flusher;
    const std::chrono::milliseconds m_flush_interval;
    FIO_APPEND_FILE m_file;
    std::string m_error;
    std::uint64_t m_end;              ///< of the part that is written; 0: that of the file
    std::uint64_t m_start = 0;        ///< where the file on the disk ended when it was opened
    std::uint64_t m_counted_from = 0; ///< bytes on disk that were received by earlier runs
    std::uint64_t m_received = 0;
    std::vector<char> m_pending; ///< received, not yet written
    TIME m_pending_since;
    std::uint64_t m_flushed = 0; ///< the part of `m_received` for which a flush was requested
    TIME m_last_flush;           ///< the last request for a flush
};
