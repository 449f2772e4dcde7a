#pragma once

#include "support/curl/curl_answer.h"
#include "support/curl/curl_base_connection.h"
#include "support/curl/curl_failure.h"
#include "support/curl/curl_handle.h"
#include "support/curl/curl_pace.h"
#include "support/curl/curl_request.h"
#include "support/curl/curl_route.h"
#include "support/curl/curl_target.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

class FIO_FLUSHER;

/// The transfer of one file, or of a part of it: the request, the response and the growing file.
/// Used by one thread.
class CURL_TRANSFER
{
public:
    using CLOCK = std::chrono::steady_clock;

    CURL_TRANSFER(CURL_REQUEST request, const CURL_CONNECTION_SETTINGS& settings,
                  FIO_FLUSHER& flusher);

    /// Opens the local file if it exists, and sets up the request. \return false when the transfer
    /// has already ended: with an error, or because the file has its expected size
    bool prepare();
    CURL* handle() const { return m_handle.get(); }

    /// To be called several times per second while the transfer runs: reports progress, writes
    /// buffered data, and requests a flush of the file from time to time. \return false when the
    /// transfer must be ended now
    bool keep_going(CLOCK::time_point now);

    /// Receives no more of the body until `resume`, once the body has begun. A transfer that
    /// receives more than the rate limit permits also pauses itself.
    void pause();
    /// \return whether it was paused
    bool resume();

    /// To be called when libcurl has ended the request. Sets up another one if the server refused
    /// the range or its partial response was unusable (without a range), if the proxy refused to
    /// log in (with another scheme), or if a redirect leads to an address with another proxy.
    /// \return whether the handle is to be run again, after `start_repeat`, instead of finishing
    ///         the transfer. That is still possible, with the result of the first request
    bool prepare_repeat(CURLcode result);
    void start_repeat();

    /// Called when a body has begun that will be written, before its first byte is.
    void set_body_callback(std::function<void()> callback) { m_on_body = std::move(callback); }
    /// The file, or the part of it, that it writes. Its end may be moved while the transfer runs,
    /// but not to before its position.
    CURL_TARGET& target() { return m_target; }
    /// What identifies the version of the file that is received; empty before the body has begun,
    /// or when the server offers no such thing or the file has another size.
    std::string validator() const;

    bool has_body() const { return m_answer.is_written(); }
    /// Whether `take_over` may be called.
    bool can_take_over() const { return has_body() && !m_own_outcome; }
    /// Lets the transfer of a piece continue in the file itself, which is open and ends where the
    /// piece does.
    /// \param request  of the file
    void take_over(const CURL_REQUEST& request, FIO_APPEND_FILE& file);

    /// Ends the transfer.
    void finish(CURLcode result);

    /// Whether no other transfer should log in to the proxy before this one has succeeded.
    bool is_logging_in() const { return m_route.is_login_untried(); }
    /// Of a transfer that has ended.
    const CURL_RESULT& result() const { return m_result; }

private:
    static std::size_t on_header(char* text, std::size_t size, std::size_t count, void* self);
    static std::size_t on_body(char* bytes, std::size_t size, std::size_t count, void* self);

    void set_options(CURL_OPTIONS& options);
    bool take_header(std::string_view line);
    bool take_head();
    bool take_body(const char* bytes, std::size_t size);
    void obey_rate_limit(std::size_t received);
    bool start_body();
    bool may_be_a_page() const;
    bool write_collected();
    bool report_progress();
    /// The first outcome of several counts. \return false
    bool end_with(CURL_OUTCOME outcome);
    CURL_OUTCOME judge(const CURL_OUTCOME& result);
    bool follow_redirect(CURL_OPTIONS& options);
    bool drop_range(CURLcode result, CURL_OPTIONS& options);
    bool try_another_login(CURL_OPTIONS& options);
    int answered_status(CURLcode result) const;
    void store(const CURL_OUTCOME& outcome, int status);

    CURL_REQUEST m_request;
    const CURL_CONNECTION_SETTINGS& m_settings;
    const CURL_FILE_SIZE m_size;
    const std::uint64_t m_requested_end; ///< of the range that was requested; 0: with the file
    CURL_HANDLE m_handle;

    CURL_TARGET m_target;
    CURL_PACE m_pace;
    CURL_ROUTE m_route;
    CLOCK::time_point m_start; ///< of the first request

    CURL_ANSWER m_answer;
    bool m_follows_redirect = false; ///< the request was ended to follow it by another proxy
    bool m_is_paused = false;
    bool m_had_turn = true; ///< since the last call of `keep_going`, libcurl could receive
    bool m_requests_range = false;
    std::optional<CURL_OUTCOME> m_own_outcome; ///< why this side ended the transfer
    std::function<void()> m_on_body;
    CURL_RESULT m_result;
};
