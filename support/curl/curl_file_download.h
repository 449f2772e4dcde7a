#pragma once

#include "support/curl/curl_failure.h"
#include "support/curl/curl_split.h"
#include "support/curl/curl_transfer.h"

#include <memory>
#include <string>
#include <vector>

/// The download of one file over one or more connections.
///
/// The main transfer appends to the file itself. A connection that is idle otherwise fetches a
/// later part, a piece, into a file of its own; when the main transfer arrives where that begins,
/// its bytes are appended, and its connection becomes the main transfer. So the file on disk is the
/// beginning of the complete one at any time, and what a run leaves, the next one takes over. A
/// piece is removed once its bytes are flushed in the file. Used by one thread.
class CURL_FILE_DOWNLOAD
{
public:
    using CLOCK = CURL_TRANSFER::CLOCK;

    CURL_FILE_DOWNLOAD(CURL_REQUEST request, const CURL_CONNECTION_SETTINGS& settings,
                       FIO_FLUSHER& flusher);
    ~CURL_FILE_DOWNLOAD();
    CURL_FILE_DOWNLOAD(const CURL_FILE_DOWNLOAD&) = delete;
    CURL_FILE_DOWNLOAD& operator=(const CURL_FILE_DOWNLOAD&) = delete;

    /// Whether the next bytes of the file wait for a connection.
    bool needs_main_transfer() const;
    /// To be run, then passed to `take_end`, as all transfers that this class returns.
    std::unique_ptr<CURL_TRANSFER> start_main_transfer();

    /// Bytes that another connection would take over; 0 when it must not.
    std::uint64_t bytes_to_share() const;
    /// A transfer for these; null when no piece can be created.
    std::unique_ptr<CURL_TRANSFER> share();

    /// Takes the result of a transfer that has ended.
    void take_end(const CURL_TRANSFER& transfer);

    /// To be called as often as transfers make progress: joins pieces to the file, a part at a
    /// time.
    void work();
    /// Ends the joining of pieces; transfers are ended by the caller.
    void stop();
    /// Whether `work` has more to do at once. Otherwise the end of a flush may give it some.
    bool has_work() const { return m_is_joining && !m_waits_for_flush; }
    /// Whether this transfer is to be ended now, because the file has failed or its piece is about
    /// to be joined.
    bool is_unwanted(const CURL_TRANSFER& transfer) const;

    /// Whether the file is complete or has failed, and no transfer is running.
    bool has_ended() const;
    const CURL_PROGRESS_DATA* data() const { return m_request.data; }
    /// Of a file that has ended.
    const CURL_FAILURE& failure() const { return m_failure; }
    /// From the first request to the end; empty if nothing was requested.
    std::optional<CLOCK::duration> duration() const { return m_duration; }

private:
    struct PIECE;
    /// All its bytes are in the file, but perhaps not on the disk there; or it overlaps with
    /// others, and isn't needed.
    struct JOINED_PIECE
    {
        std::string path;
        std::uint64_t begin = 0; ///< in the complete file
        std::uint64_t end = 0;
    };

    std::uint64_t end_of(std::size_t piece) const;
    std::uint64_t end_of_main() const;
    std::uint64_t size() const;
    void move_ends();
    void take_over_pieces();
    std::unique_ptr<CURL_TRANSFER> start_piece(PIECE& piece);
    PIECE* piece_to_resume() const;
    std::vector<CURL_PART> running_parts() const;
    void take_end_of_main(const CURL_TRANSFER& transfer);
    void take_end_of_piece(PIECE& piece, const CURL_TRANSFER& transfer);
    bool is_caught_up() const;
    void join_some();
    bool open_to_join();
    bool would_flush_remove_pieces() const;
    bool must_flush_joined_pieces() const;
    void wait_for_flush();
    void remove_flushed_pieces();
    void leave_joined_file();
    void make_room_after(const CURL_OUTCOME& outcome);
    void append_from(const PIECE& piece, std::uint64_t offset);
    void leave_first_piece();
    void count_bytes_ahead() const;
    bool report_progress() const;
    void end_joining(const CURL_OUTCOME& outcome);
    void end(const CURL_RESULT& result);

    CURL_REQUEST m_request;
    const CURL_CONNECTION_SETTINGS& m_settings;
    FIO_FLUSHER& m_flusher;
    CURL_TRANSFER* m_main = nullptr; ///< while it runs
    FIO_APPEND_FILE m_file;          ///< open while pieces are joined
    std::string m_validator;         ///< empty until a transfer has received it
    std::string m_version;
    std::vector<std::unique_ptr<PIECE>> m_pieces; ///< not joined yet, by their beginnings
    std::vector<JOINED_PIECE> m_joined;           ///< not removed yet
    bool m_was_piece = false;                     ///< the main transfer, or the last one
    bool m_may_split = true;
    bool m_is_joining = false;
    bool m_waits_for_flush = false;
    bool m_is_over = false; ///< complete or failed; pieces may still be running
    CURL_FAILURE m_failure;
    std::optional<CLOCK::time_point> m_start; ///< of the first request
    std::optional<CLOCK::duration> m_duration;
};
