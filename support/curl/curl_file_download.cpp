#include "support/curl/curl_file_download.h"

#include "support/curl/curl_pieces.h"
#include "support/curl/curl_split_refusals.h"
#include "support/fio/fio_file_system.h"
#include "support/fio/fio_flush.h"
#include "support/fio/fio_flusher.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

constexpr std::size_t join_block = 4 * 1024 * 1024; // bytes joined between two looks at the network

constexpr int partial_content = 206;

std::uint64_t size_on_disk(const std::string& path)
{
    const auto file = FIO_FILE_SYSTEM::identity(path);
    return file ? file->size : 0;
}

bool is_lasting(CURL_FAILURE::KIND kind)
{
    return kind == CURL_FAILURE::KIND::stopped || kind == CURL_FAILURE::KIND::write;
}

/// Whether the server may send this file over one connection only: it has answered with something
/// else than the piece, or has ended the connection at once.
bool is_refusal(const CURL_TRANSFER& transfer)
{
    constexpr std::array ends = {CURLE_COULDNT_CONNECT, CURLE_GOT_NOTHING, CURLE_SEND_ERROR,
                                 CURLE_RECV_ERROR};
    const CURL_RESULT& result = transfer.result();
    if (result.outcome.curl_code == CURLE_OK || is_lasting(transfer.result().failure.kind) ||
        transfer.has_body())
        return false;
    return result.status > 0 ||
           std::find(ends.begin(), ends.end(), result.outcome.curl_code) != ends.end();
}

}

/// A part of the file that is fetched ahead.
struct CURL_FILE_DOWNLOAD::PIECE
{
    std::uint64_t begin = 0;
    std::string path;
    CURL_TRANSFER* transfer = nullptr; ///< while it runs
    CURL_PROGRESS_DATA data;
    std::uint64_t size_at_rest = 0; ///< bytes while no transfer runs

    /// Where the bytes end that are written and not in a buffer.
    std::uint64_t end() const
    {
        return transfer != nullptr ? transfer->target().written() : begin + size_at_rest;
    }
};

CURL_FILE_DOWNLOAD::CURL_FILE_DOWNLOAD(CURL_REQUEST request,
                                       const CURL_CONNECTION_SETTINGS& settings,
                                       FIO_FLUSHER& flusher)
    : m_request(std::move(request)), m_settings(settings), m_flusher(flusher)
{
    m_request.counted_from = size_on_disk(m_request.path);
    m_may_split = m_settings.least_piece != 0;
}

CURL_FILE_DOWNLOAD::~CURL_FILE_DOWNLOAD() = default;

bool CURL_FILE_DOWNLOAD::needs_main_transfer() const
{
    // A flush that is still running holds the file's lock.
    return m_main == nullptr && !m_is_joining && !m_is_over &&
           !m_flusher.is_flushing(m_request.path);
}

std::unique_ptr<CURL_TRANSFER> CURL_FILE_DOWNLOAD::start_main_transfer()
{
    m_was_piece = false;
    CURL_REQUEST request = m_request;
    request.end = end_of_main();
    auto transfer = std::make_unique<CURL_TRANSFER>(std::move(request), m_settings, m_flusher);
    m_main = transfer.get();
    if (m_request.expected_size != 0 && m_request.data != nullptr && m_validator.empty())
        m_main->set_body_callback([this] { take_over_pieces(); });
    return transfer;
}

/// 0: with the file.
std::uint64_t CURL_FILE_DOWNLOAD::end_of(std::size_t piece) const
{
    return piece + 1 < m_pieces.size() ? m_pieces[piece + 1]->begin : 0;
}

std::uint64_t CURL_FILE_DOWNLOAD::end_of_main() const
{
    return m_pieces.empty() ? 0 : m_pieces.front()->begin;
}

std::uint64_t CURL_FILE_DOWNLOAD::size() const
{
    if (m_main != nullptr)
        return m_main->target().written();
    return m_file.is_open() ? m_file.size() : size_on_disk(m_request.path);
}

void CURL_FILE_DOWNLOAD::move_ends()
{
    if (m_main != nullptr)
        m_main->target().set_end(
            m_pieces.empty() ? 0 : std::max(end_of_main(), m_main->target().position()));
    for (std::size_t i = 0; i < m_pieces.size(); ++i)
        if (m_pieces[i]->transfer != nullptr)
            m_pieces[i]->transfer->target().set_end(end_of(i));
}

void CURL_FILE_DOWNLOAD::take_over_pieces()
{
    m_validator = m_main->validator();
    if (m_validator.empty())
        return;
    m_version = curl_piece_version(m_request.path, m_request.expected_size, m_validator);
    for (const CURL_STORED_PIECE& stored : curl_take_over_pieces(m_request.path, m_version))
    {
        const std::uint64_t size = size_on_disk(stored.path);
        const std::uint64_t end =
            m_pieces.empty() ? m_main->target().position() : m_pieces.back()->end();
        if (size == 0 || stored.begin + size > m_request.expected_size)
        {
            curl_remove_piece(stored.path);
            continue;
        }
        if (stored.begin + size <= end || (!m_pieces.empty() && stored.begin < end))
        {
            m_joined.push_back({stored.path, stored.begin, stored.begin + size}); // it adds nothing
            continue;
        }
        auto piece = std::make_unique<PIECE>();
        piece->begin = stored.begin;
        piece->path = stored.path;
        piece->size_at_rest = size;
        m_request.data->bytes_taken_over +=
            stored.begin + size - std::max(stored.begin, m_main->target().position());
        m_pieces.push_back(std::move(piece));
    }
    move_ends();
}

CURL_FILE_DOWNLOAD::PIECE* CURL_FILE_DOWNLOAD::piece_to_resume() const
{
    for (std::size_t i = 0; i < m_pieces.size(); ++i)
    {
        PIECE& piece = *m_pieces[i];
        const std::uint64_t end = end_of(i) != 0 ? end_of(i) : m_request.expected_size;
        const bool is_free = piece.transfer == nullptr && !(i == 0 && m_is_joining) &&
                             !m_flusher.is_flushing(piece.path);
        if (is_free && piece.end() < end)
            return &piece;
    }
    return nullptr;
}

/// The main transfer's first, then those of the pieces; a piece that isn't running has nothing
/// left.
std::vector<CURL_PART> CURL_FILE_DOWNLOAD::running_parts() const
{
    const auto end_or_all = [this](std::uint64_t end)
    { return end != 0 ? end : m_request.expected_size; };
    std::vector<CURL_PART> parts;
    parts.push_back(m_main != nullptr
                        ? CURL_PART{m_main->target().position(), end_or_all(end_of_main())}
                        : CURL_PART());
    for (std::size_t i = 0; i < m_pieces.size(); ++i)
        parts.push_back(
            m_pieces[i]->transfer != nullptr
                ? CURL_PART{m_pieces[i]->transfer->target().position(), end_or_all(end_of(i))}
                : CURL_PART());
    return parts;
}

std::uint64_t CURL_FILE_DOWNLOAD::bytes_to_share() const
{
    if (!m_may_split || m_is_over || m_validator.empty() ||
        m_settings.split_refusals->contains(curl_host_and_port(m_request.url)))
        return 0;
    if (const PIECE* const piece = piece_to_resume())
        return m_request.expected_size - piece->end();
    const std::vector<CURL_PART> parts = running_parts();
    const auto split = curl_choose_split(parts, m_settings.least_piece);
    return split ? parts[split->part].end - split->at : 0;
}

std::unique_ptr<CURL_TRANSFER> CURL_FILE_DOWNLOAD::share()
{
    if (PIECE* const piece = piece_to_resume())
        return start_piece(*piece);
    const auto split = curl_choose_split(running_parts(), m_settings.least_piece);
    if (!split)
        return nullptr;
    auto piece = std::make_unique<PIECE>();
    piece->begin = split->at;
    piece->path = curl_piece_path(m_request.path, m_version, split->at);
    if (piece->path.empty())
    {
        m_may_split = false;
        return nullptr;
    }
    PIECE& added = **m_pieces.insert(m_pieces.begin() + static_cast<std::ptrdiff_t>(split->part),
                                     std::move(piece));
    std::unique_ptr<CURL_TRANSFER> transfer = start_piece(added);
    move_ends();
    return transfer;
}

std::unique_ptr<CURL_TRANSFER> CURL_FILE_DOWNLOAD::start_piece(PIECE& piece)
{
    const auto index = std::find_if(m_pieces.begin(), m_pieces.end(),
                                    [&](const auto& each) { return each.get() == &piece; }) -
                       m_pieces.begin();
    CURL_REQUEST request{m_request.url, piece.path, &piece.data, m_request.expected_size};
    request.begin = piece.begin;
    request.end = end_of(static_cast<std::size_t>(index));
    request.validator = m_validator;
    auto transfer = std::make_unique<CURL_TRANSFER>(std::move(request), m_settings, m_flusher);
    piece.transfer = transfer.get();
    return transfer;
}

void CURL_FILE_DOWNLOAD::take_end(const CURL_TRANSFER& transfer)
{
    if (&transfer == m_main)
    {
        take_end_of_main(transfer);
        return;
    }
    const auto piece = std::find_if(m_pieces.begin(), m_pieces.end(),
                                    [&](const auto& each) { return each->transfer == &transfer; });
    if (piece != m_pieces.end())
        take_end_of_piece(**piece, transfer);
}

void CURL_FILE_DOWNLOAD::take_end_of_main(const CURL_TRANSFER& transfer)
{
    m_main = nullptr;
    if (!m_start && transfer.result().duration)
        m_start = CLOCK::now() - *transfer.result().duration;
    if (m_is_over)
        return;
    const CURL_FAILURE::KIND kind = transfer.result().failure.kind;
    // On a full disk, removing joined pieces makes room, for which they have to be flushed.
    m_is_joining = (kind == CURL_FAILURE::KIND::none && transfer.result().is_part) ||
                   ((kind == CURL_FAILURE::KIND::none || kind == CURL_FAILURE::KIND::write) &&
                    !m_joined.empty());
    if (m_is_joining)
        return;
    // A server that has stopped sending a piece is asked again, also when that was the main
    // transfer by then.
    if (m_was_piece && kind != CURL_FAILURE::KIND::none && !is_lasting(kind))
        m_may_split = false;
    else
        end(transfer.result());
}

void CURL_FILE_DOWNLOAD::take_end_of_piece(PIECE& piece, const CURL_TRANSFER& transfer)
{
    const bool is_refused = is_refusal(transfer);
    piece.transfer = nullptr;
    piece.size_at_rest = size_on_disk(piece.path);
    const CURL_FAILURE::KIND kind = transfer.result().failure.kind;
    // A server may allow one connection, or the file may have changed: the main transfer will tell.
    if (kind != CURL_FAILURE::KIND::none && kind != CURL_FAILURE::KIND::stopped)
        m_may_split = false;
    if (is_refused)
        m_settings.split_refusals->add(curl_host_and_port(m_request.url));
    if (piece.size_at_rest > 0)
        return count_bytes_ahead();
    curl_remove_piece(piece.path);
    m_pieces.erase(std::find_if(m_pieces.begin(), m_pieces.end(),
                                [&](const auto& each) { return each.get() == &piece; }));
    move_ends();
}

/// Whether all that the first piece has is in the file.
bool CURL_FILE_DOWNLOAD::is_caught_up() const
{
    return m_is_joining && m_file.is_open() && !m_pieces.empty() &&
           m_file.size() >= m_pieces.front()->end();
}

bool CURL_FILE_DOWNLOAD::is_unwanted(const CURL_TRANSFER& transfer) const
{
    return m_is_over ||
           (is_caught_up() && m_pieces.front()->transfer == &transfer && !transfer.can_take_over());
}

bool CURL_FILE_DOWNLOAD::has_ended() const
{
    return m_is_over && m_main == nullptr &&
           std::all_of(m_pieces.begin(), m_pieces.end(),
                       [](const auto& piece) { return piece->transfer == nullptr; });
}

void CURL_FILE_DOWNLOAD::work()
{
    remove_flushed_pieces();
    if (m_is_joining && !m_is_over)
        join_some();
    count_bytes_ahead();
}

void CURL_FILE_DOWNLOAD::stop()
{
    if (m_is_joining && !m_is_over)
        end_joining({CURLE_ABORTED_BY_CALLBACK, "Stopped"});
}

void CURL_FILE_DOWNLOAD::join_some()
{
    if (!report_progress())
        return stop();
    if (!m_file.is_open() && !open_to_join())
        return;
    if (must_flush_joined_pieces())
        return wait_for_flush();
    m_waits_for_flush = false;
    if (m_pieces.empty() || m_pieces.front()->begin > m_file.size())
        return leave_joined_file();
    const PIECE& first = *m_pieces.front();
    if (!is_caught_up())
        append_from(first, m_file.size() - first.begin);
    else if (first.transfer == nullptr || first.transfer->can_take_over())
        leave_first_piece();
}

/// \return false while a flush that the last transfer has requested is running, or after a failure
bool CURL_FILE_DOWNLOAD::open_to_join()
{
    m_waits_for_flush = m_flusher.is_flushing(m_request.path);
    if (m_waits_for_flush)
        return false;
    if (!m_file.open(m_request.path, FIO_APPEND_FILE::OPENING::existing_only))
        end_joining({CURLE_WRITE_ERROR, m_file.error()});
    else if (const std::error_code error = m_flusher.error_of(m_file); error)
        end_joining({CURLE_WRITE_ERROR, "Cannot write " + m_request.path + ": " + error.message()});
    return !m_is_over;
}

/// Those that overlap with others may end beyond the bytes that are in the file now.
bool CURL_FILE_DOWNLOAD::would_flush_remove_pieces() const
{
    return std::any_of(m_joined.begin(), m_joined.end(),
                       [this](const auto& piece) { return piece.end <= m_file.size(); });
}

/// The joined pieces and the next one may take as much space twice as the largest piece could have:
/// half of what was missing when the run began. So there is seldom more than one flush to wait for.
bool CURL_FILE_DOWNLOAD::must_flush_joined_pieces() const
{
    if (!would_flush_remove_pieces())
        return false;
    if (m_pieces.empty() || m_pieces.front()->begin > m_file.size())
        return true; // nothing more to join now
    std::uint64_t twice = m_pieces.front()->end() - m_pieces.front()->begin;
    for (const JOINED_PIECE& piece : m_joined)
        twice += piece.end - piece.begin;
    return twice > (m_request.expected_size - *m_request.counted_from) / 2;
}

void CURL_FILE_DOWNLOAD::wait_for_flush()
{
    m_waits_for_flush = true;
    if (const std::error_code error = m_flusher.error_of(m_file); error)
        end_joining({CURLE_WRITE_ERROR, "Cannot write " + m_request.path + ": " + error.message()});
    else if (!m_flusher.is_flushing(m_request.path) && !m_flusher.request(m_file))
        end_joining({CURLE_WRITE_ERROR, "Cannot flush " + m_request.path});
}

void CURL_FILE_DOWNLOAD::remove_flushed_pieces()
{
    if (m_joined.empty())
        return;
    const std::uint64_t flushed = m_flusher.flushed_size(m_request.path);
    const auto last =
        std::stable_partition(m_joined.begin(), m_joined.end(),
                              [flushed](const auto& piece) { return piece.end > flushed; });
    std::for_each(last, m_joined.end(), [](const auto& piece) { curl_remove_piece(piece.path); });
    m_joined.erase(last, m_joined.end());
}

/// What follows, if anything, is in no piece.
void CURL_FILE_DOWNLOAD::leave_joined_file()
{
    if (m_file.size() >= m_request.expected_size)
        return end_joining({});
    m_file.close();
    m_is_joining = false;
}

void CURL_FILE_DOWNLOAD::append_from(const PIECE& piece, std::uint64_t offset)
{
    const std::uint64_t before = m_file.size();
    const auto most = static_cast<std::size_t>(
        std::min<std::uint64_t>(join_block, piece.end() - piece.begin - offset));
    if (!m_file.append_from(piece.path, offset, most))
        // Removing joined pieces may make room.
        return would_flush_remove_pieces() ? wait_for_flush()
                                           : make_room_after({CURLE_WRITE_ERROR, m_file.error()});
    // The end of a piece is flushed in any case; before, no more should be left to flush than
    // usual.
    if (before / curl_flush_block != m_file.size() / curl_flush_block)
        m_flusher.request(m_file);
}

/// A piece takes its space twice until it is joined. On a full disk the last ones are given up, so
/// that the file can be completed over one connection.
void CURL_FILE_DOWNLOAD::make_room_after(const CURL_OUTCOME& outcome)
{
    m_may_split = false;
    const PIECE& last = *m_pieces.back();
    if (last.transfer != nullptr)
        return end_joining(outcome);
    curl_remove_piece(last.path);
    m_pieces.pop_back();
    if (m_pieces.empty())
        end_joining(outcome);
}

/// If it is still being received, its transfer continues in the file.
void CURL_FILE_DOWNLOAD::leave_first_piece()
{
    PIECE& first = *m_pieces.front();
    m_flusher.request(m_file);
    m_joined.push_back({first.path, first.begin, first.end()});
    if (first.transfer != nullptr)
    {
        m_main = first.transfer;
        m_main->take_over(m_request, m_file);
        m_was_piece = true;
        m_is_joining = false;
    }
    m_pieces.erase(m_pieces.begin());
    move_ends();
}

void CURL_FILE_DOWNLOAD::count_bytes_ahead() const
{
    if (m_request.data == nullptr)
        return;
    if (m_pieces.empty())
    {
        m_request.data->bytes_ahead = 0;
        return;
    }
    const std::uint64_t position = size();
    std::uint64_t ahead = 0;
    for (const auto& piece : m_pieces)
        ahead += piece->end() - std::clamp(position, piece->begin, piece->end());
    m_request.data->bytes_ahead = ahead;
}

bool CURL_FILE_DOWNLOAD::report_progress() const
{
    const std::uint64_t on_disk = size();
    return m_settings.progress_callback == nullptr ||
           m_settings.progress_callback(m_request.data, m_request.expected_size,
                                        on_disk - std::min(on_disk, *m_request.counted_from)) == 0;
}

void CURL_FILE_DOWNLOAD::end_joining(const CURL_OUTCOME& outcome)
{
    m_flusher.withdraw(m_file);
    m_file.close();
    report_progress();
    end({outcome, partial_content, curl_failure_of(outcome, {true, partial_content, 0})});
}

void CURL_FILE_DOWNLOAD::end(const CURL_RESULT& result)
{
    m_is_over = true;
    m_is_joining = false;
    m_failure = result.failure;
    if (m_start)
        m_duration = CLOCK::now() - *m_start;
    // What is left is of another version. The pieces of a file that was complete already may not be
    // flushed in it: they are left to whoever verifies it and flushes it then.
    if (result.outcome.curl_code == CURLE_OK && m_start)
        curl_remove_pieces(m_request.path);
    count_bytes_ahead();
    if (m_request.data != nullptr)
        curl_store_result(*m_request.data, result);
}
