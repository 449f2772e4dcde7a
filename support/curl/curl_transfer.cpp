#include "support/curl/curl_transfer.h"

#include "support/curl/curl_rate_limit.h"
#include "support/curl/curl_redact.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

// A body of unknown length that pauses at the expected size has probably ended.
constexpr auto longest_wait_for_end = std::chrono::seconds(1);

}

CURL_TRANSFER::CURL_TRANSFER(CURL_REQUEST request, const CURL_CONNECTION_SETTINGS& settings,
                             FIO_FLUSHER& flusher)
    : m_request(std::move(request)),
      m_settings(settings), m_size{m_request.expected_size, settings.size_limit},
      m_requested_end(m_request.end), m_target(m_request, flusher, settings.flush_interval),
      m_pace(settings.stall_timeout), m_route(m_request.url, settings)
{
}

bool CURL_TRANSFER::prepare()
{
    const bool is_complete = m_target.is_complete_on_disk();
    if (!report_progress())
    {
        store(*m_own_outcome, 0);
        return false;
    }
    if (is_complete)
    {
        store({}, 0);
        return false;
    }
    if (!m_target.open_existing())
    {
        store({CURLE_WRITE_ERROR, m_target.error()}, 0);
        return false;
    }

    if (!m_handle.create())
    {
        store({CURLE_FAILED_INIT, curl_easy_strerror(CURLE_FAILED_INIT)}, 0);
        return false;
    }
    CURL_OPTIONS options(handle());
    set_options(options);
    if (options.refusal())
    {
        store(*options.refusal(), 0);
        return false;
    }
    if (m_route.is_login_refused())
    {
        store({CURLE_HTTP_RETURNED_ERROR, "The proxy has refused the user name and password"},
              curl_proxy_authentication_required);
        return false;
    }
    m_start = CLOCK::now();
    m_pace.start(m_start);
    return true;
}

void CURL_TRANSFER::set_options(CURL_OPTIONS& options)
{
    m_handle.set_common_options(options, m_settings);
    m_route.set_options(options);
    m_requests_range = m_target.position() > 0;
    if (m_requests_range)
        m_handle.request_range(options, m_target.position(), m_requested_end);
    if (m_request.is_piece())
        m_handle.request_version(options, m_request.validator);

    options.set(CURLOPT_PRIVATE, this);
    options.set(CURLOPT_HEADERFUNCTION, &CURL_TRANSFER::on_header);
    options.set(CURLOPT_HEADERDATA, this);
    options.set(CURLOPT_WRITEFUNCTION, &CURL_TRANSFER::on_body);
    options.set(CURLOPT_WRITEDATA, this);
}

std::size_t CURL_TRANSFER::on_header(char* text, std::size_t size, std::size_t count, void* self)
{
    const std::size_t bytes = size * count;
    const bool taken =
        static_cast<CURL_TRANSFER*>(self)->take_header(std::string_view(text, bytes));
    return taken ? bytes : 0;
}

bool CURL_TRANSFER::take_header(std::string_view line)
{
    m_pace.take_header(CLOCK::now());
    const CURL_ANSWER::LINE kind = m_answer.take_line(handle(), line);
    if (kind == CURL_ANSWER::LINE::too_many)
        return end_with({CURLE_WEIRD_SERVER_REPLY, "The server's headers are too long"});
    if (kind == CURL_ANSWER::LINE::end_of_head && !take_head())
        return false;
    return report_progress();
}

bool CURL_TRANSFER::take_head()
{
    const CURL_RESPONSE_HEAD& head = m_answer.head();
    if (head.status != curl_proxy_authentication_required)
        m_route.note_response();
    const char* text = nullptr;
    if (head.redirects())
        curl_easy_getinfo(handle(), CURLINFO_EFFECTIVE_URL, &text);
    if (text == nullptr)
        return true;
    const std::string here = text;
    if (head.redirects_to_http() && curl_has_scheme(here, "https"))
        return end_with({CURLE_UNSUPPORTED_PROTOCOL, "The server redirects from https to http"});
    m_follows_redirect = m_route.leaves_by(head, handle(), here);
    return !m_follows_redirect;
}

std::size_t CURL_TRANSFER::on_body(char* bytes, std::size_t size, std::size_t count, void* self)
{
    const std::size_t total = size * count;
    auto& transfer = *static_cast<CURL_TRANSFER*>(self);
    if (!transfer.take_body(bytes, total))
        return 0;
    transfer.obey_rate_limit(total);
    return total;
}

/// libcurl reads a socket until it is empty, up to 100 buffers at once, unless the transfer is
/// paused in this callback. It still delivers what it has read.
void CURL_TRANSFER::obey_rate_limit(std::size_t received)
{
    if (m_settings.rate_limit == nullptr)
        return;
    const CLOCK::time_point now = m_pace.last_activity();
    m_settings.rate_limit->take(received, now);
    if (m_settings.rate_limit->wait(now).count() > 0)
        pause();
}

bool CURL_TRANSFER::take_body(const char* bytes, std::size_t size)
{
    m_pace.take_body(size, CLOCK::now());
    if (!m_answer.decision() && !start_body())
        return false;

    const std::size_t skipped = m_answer.skip(size);
    bytes += skipped;
    size -= skipped;
    if (size == 0)
        return report_progress();

    const std::uint64_t most =
        std::min(m_size.most(),
                 m_target.end() != 0 ? m_target.end() : std::numeric_limits<std::uint64_t>::max());
    const auto wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(size, most - std::min(most, m_target.position())));
    m_target.collect(bytes, wanted, m_pace.last_activity());
    const bool is_too_long = wanted < size;
    if ((m_target.has_block() || is_too_long) && !write_collected())
        return false;
    if (is_too_long)
        return end_with(most < m_size.most() ? CURL_OUTCOME() : m_size.too_long());
    return report_progress();
}

bool CURL_TRANSFER::start_body()
{
    m_answer.decide(m_request.is_piece()
                        ? curl_decide_on_piece(m_answer.head(), m_target.position(), m_size,
                                               m_request.validator)
                        : curl_decide_on_body(m_answer.head(), m_target.position(), m_size));
    const CURL_BODY_DECISION& decision = *m_answer.decision();
    if (decision.action == CURL_BODY_DECISION::ACTION::refuse)
        return end_with(decision.refusal);
    if (decision.action == CURL_BODY_DECISION::ACTION::already_whole)
        return end_with({});
    if (!m_target.open_for_body(CURL_MAX_WRITE_SIZE))
        return end_with({CURLE_WRITE_ERROR, m_target.error()});
    if (m_on_body)
        m_on_body();
    return true;
}

/// Whether only the end of the body will show whether it is the file or a page in its place.
bool CURL_TRANSFER::may_be_a_page() const
{
    return m_answer.head().has_whole_file() && m_answer.decision() && !m_answer.decision()->total &&
           m_target.position() < m_request.expected_size;
}

bool CURL_TRANSFER::write_collected()
{
    return m_target.write() || end_with({CURLE_WRITE_ERROR, m_target.error()});
}

std::string CURL_TRANSFER::validator() const
{
    const bool is_right =
        m_answer.is_written() && m_answer.decision()->total == m_request.expected_size;
    return is_right ? m_answer.head().validator() : std::string();
}

bool CURL_TRANSFER::report_progress()
{
    if (m_settings.progress_callback == nullptr)
        return true;
    if (m_settings.progress_callback(m_request.data, m_answer.total(), m_target.received()) == 0)
        return true;
    return end_with({CURLE_ABORTED_BY_CALLBACK, "Stopped"});
}

bool CURL_TRANSFER::keep_going(CLOCK::time_point now)
{
    if (m_own_outcome)
        return false;
    // The start of a body that may be a page is held back, because most pages fit into memory. What
    // was written of a longer one is removed when it ends.
    const bool is_held_back = may_be_a_page() && m_target.is_as_before();
    if (m_target.is_overdue(now) && !is_held_back && !write_collected())
        return false;
    if (!m_target.flush_now_and_then(now))
        return end_with({CURLE_WRITE_ERROR, m_target.error()});
    if (m_target.end() != 0 && m_target.position() >= m_target.end() &&
        now - m_pace.last_activity() >= longest_wait_for_end)
        return end_with({});
    // A pause is not the server's fault. When it is over, libcurl reads what the server has sent
    // meanwhile before this is called.
    const bool had_turn = std::exchange(m_had_turn, !m_is_paused);
    if (std::string reason = had_turn ? m_pace.reason_to_give_up(now) : std::string();
        !reason.empty())
        return end_with({CURLE_OPERATION_TIMEDOUT, std::move(reason)});
    if (const auto limit = m_settings.time_limit; limit && now - m_start >= *limit)
        return end_with({CURLE_OPERATION_TIMEDOUT,
                         "The transfer did not end within " + curl_seconds_text(*limit)});
    return report_progress();
}

void CURL_TRANSFER::pause()
{
    // Both directions: if only one is paused, libcurl reads the socket once more.
    if (!m_is_paused && m_answer.decision())
        m_is_paused = curl_easy_pause(handle(), CURLPAUSE_ALL) == CURLE_OK;
}

bool CURL_TRANSFER::resume()
{
    if (!std::exchange(m_is_paused, false))
        return false;
    m_had_turn = true;
    // Delivers what libcurl has received in chunks and kept during the pause.
    if (const CURLcode result = curl_easy_pause(handle(), CURLPAUSE_CONT); result != CURLE_OK)
        end_with({result, curl_easy_strerror(result)});
    return true;
}

bool CURL_TRANSFER::end_with(CURL_OUTCOME outcome)
{
    if (!m_own_outcome)
        m_own_outcome = std::move(outcome);
    return false;
}

int CURL_TRANSFER::answered_status(CURLcode result) const
{
    // A redirect that was followed is not the final response; one that could not be followed is.
    const bool stayed = result == CURLE_TOO_MANY_REDIRECTS ||
                        result == CURLE_UNSUPPORTED_PROTOCOL || result == CURLE_URL_MALFORMAT ||
                        m_own_outcome.has_value();
    return m_answer.head().redirects() && !stayed ? 0 : m_answer.head().status;
}

CURL_OUTCOME CURL_TRANSFER::judge(const CURL_OUTCOME& result)
{
    if (m_own_outcome && (m_own_outcome->curl_code == CURLE_WRITE_ERROR ||
                          m_own_outcome->curl_code == CURLE_FILESIZE_EXCEEDED))
        return *m_own_outcome;
    if (m_target.has_flush_error())
        return {CURLE_WRITE_ERROR, m_target.error()};
    if (m_target.has_reached_end())
        return {};
    if (m_own_outcome)
        return *m_own_outcome;
    if (result.curl_code == CURLE_OK && m_requested_end != 0 &&
        m_target.position() >= m_requested_end)
        return {}; // the part has become longer since the request
    CURL_OUTCOME outcome = curl_judge_end(result, m_answer.head(), m_size, m_target.start(),
                                          m_answer.skipped(), m_answer.decision().has_value());
    return outcome.curl_code == CURLE_OK ? m_size.judge_end(m_target.position()) : outcome;
}

bool CURL_TRANSFER::prepare_repeat(CURLcode result)
{
    m_answer.read_unended_head(handle());
    if (result == CURLE_ABORTED_BY_CALLBACK)
        return false;
    CURL_OPTIONS options(handle());
    // Nothing was written in any of these cases, so the file still has its size.
    return (follow_redirect(options) || drop_range(result, options) ||
            try_another_login(options)) &&
           !options.refusal();
}

bool CURL_TRANSFER::follow_redirect(CURL_OPTIONS& options)
{
    if (!m_follows_redirect || m_own_outcome)
        return false;
    m_route.set_options(options);
    return true;
}

bool CURL_TRANSFER::drop_range(CURLcode result, CURL_OPTIONS& options)
{
    if (!m_requests_range || m_request.is_piece() ||
        judge(m_handle.outcome(result)).curl_code != CURLE_RANGE_ERROR)
        return false;
    m_requests_range = false;
    options.set(CURLOPT_RANGE, static_cast<const char*>(nullptr));
    return true;
}

bool CURL_TRANSFER::try_another_login(CURL_OPTIONS& options)
{
    return !m_own_outcome &&
           m_route.is_login_required(curl_read_exchange(handle(), m_answer.head().status)) &&
           m_route.try_another_login(handle(), options);
}

void CURL_TRANSFER::start_repeat()
{
    m_follows_redirect = false;
    m_own_outcome.reset();
    m_is_paused = false;
    m_had_turn = true;
    m_answer = {};
    m_handle.forget_error();
    m_pace.start(CLOCK::now());
}

void CURL_TRANSFER::take_over(const CURL_REQUEST& request, FIO_APPEND_FILE& file)
{
    m_target.close();
    m_request = request;
    m_target.continue_in(file);
}

void CURL_TRANSFER::finish(CURLcode result)
{
    if (m_start != CLOCK::time_point())
        m_result.duration = CLOCK::now() - m_start;
    m_answer.read_unended_head(handle());
    // The server has declared a body as complete that isn't the file. One that was cut off, on the
    // other hand, may be the start of the file.
    const bool is_page = result == CURLE_OK && may_be_a_page();
    if (!is_page)
        write_collected();
    CURL_OUTCOME outcome = judge(m_handle.outcome(result));
    // An empty body must still create the file.
    if ((is_page && !m_target.undo()) ||
        (outcome.curl_code == CURLE_OK && !m_target.create_if_missing()))
        outcome = {CURLE_WRITE_ERROR, m_target.error()};
    m_result.is_part = outcome.curl_code == CURLE_OK && m_request.expected_size != 0 &&
                       m_target.position() < m_request.expected_size;
    // Closed before the result is published, so that readers see the final modification time.
    m_target.close();

    if (m_settings.progress_callback != nullptr)
        m_settings.progress_callback(m_request.data, m_answer.total(), m_target.received());
    store(outcome, answered_status(result));
}

void CURL_TRANSFER::store(const CURL_OUTCOME& outcome, int status)
{
    CURL_EXCHANGE exchange;
    const char* url = nullptr;
    if (handle() != nullptr)
    {
        exchange = curl_read_exchange(handle(), status);
        curl_easy_getinfo(handle(), CURLINFO_EFFECTIVE_URL, &url);
    }
    CURL_FAILURE& failure = m_result.failure;
    failure = curl_failure_of(outcome, exchange);
    failure.server = curl_host_and_port(url != nullptr ? url : m_request.url);
    failure.proxy = curl_redact(m_route.proxy().address());
    failure.proxy_source = m_route.proxy().source();
    if (handle() != nullptr && m_route.is_login_required(exchange))
    {
        failure.proxy_schemes = m_route.offered_schemes();
        failure.login_refused = m_route.has_failed_login() || m_route.is_login_refused();
    }
    m_result.outcome = outcome;
    // After CONNECT, too.
    const bool is_login = failure.status == curl_proxy_authentication_required;
    m_result.status = is_login ? curl_proxy_authentication_required : status;
}
