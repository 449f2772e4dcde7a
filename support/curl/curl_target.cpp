#include "support/curl/curl_target.h"

#include "support/fio/fio_file_system.h"
#include "support/fio/fio_flusher.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr std::size_t write_block = 256 * 1024; // bytes collected for one write

constexpr auto longest_in_memory = std::chrono::milliseconds(300);

}

CURL_TARGET::CURL_TARGET(const CURL_REQUEST& request, FIO_FLUSHER& flusher,
                         std::chrono::milliseconds flush_interval)
    : m_request(request), m_flusher(flusher), m_flush_interval(flush_interval), m_end(request.end)
{
}

bool CURL_TARGET::fail(std::string error)
{
    m_error = std::move(error);
    return false;
}

std::uint64_t CURL_TARGET::received_at(std::uint64_t size) const
{
    return size - std::min(size, m_counted_from);
}

bool CURL_TARGET::is_complete_on_disk()
{
    const auto file = FIO_FILE_SYSTEM::identity(m_request.path);
    const std::uint64_t size = file ? file->size : 0;
    m_counted_from = m_request.counted_from.value_or(size);
    m_received = received_at(size);
    return file && end() != 0 && m_request.begin + size >= end();
}

bool CURL_TARGET::open_existing()
{
    if (!m_file.open(m_request.path, FIO_APPEND_FILE::OPENING::existing_only) &&
        !m_file.error().empty())
        return fail(m_file.error());
    m_start = written();
    m_counted_from = m_request.counted_from.value_or(m_file.size());
    m_received = received_at(m_file.size());
    m_flushed = m_received;
    m_last_flush = std::chrono::steady_clock::now();
    return true;
}

bool CURL_TARGET::create_if_missing()
{
    return m_file.is_open() ||
           m_file.open(m_request.path, FIO_APPEND_FILE::OPENING::create_if_missing) ||
           fail(m_file.error());
}

bool CURL_TARGET::open_for_body(std::size_t largest_delivery)
{
    if (!create_if_missing())
        return false;
    if (!is_as_before())
        return fail("Cannot write " + m_request.path + ": another process has changed it");
    m_pending.reserve(write_block + largest_delivery);
    return true;
}

void CURL_TARGET::close()
{
    m_flusher.withdraw(m_file);
    m_file.close();
}

void CURL_TARGET::continue_in(FIO_APPEND_FILE& file)
{
    m_file.swap(file);
    m_counted_from = m_request.counted_from.value_or(0);
    m_received = received_at(m_file.size());
    m_flushed = m_received;
    m_last_flush = std::chrono::steady_clock::now();
}

bool CURL_TARGET::has_reached_end() const
{
    return end() != 0 && written() >= end();
}

void CURL_TARGET::collect(const char* bytes, std::size_t size, TIME now)
{
    if (m_pending.empty())
        m_pending_since = now;
    m_pending.insert(m_pending.end(), bytes, bytes + size);
}

bool CURL_TARGET::has_block() const
{
    return m_pending.size() >= write_block;
}

bool CURL_TARGET::is_overdue(TIME now) const
{
    return !m_pending.empty() && now - m_pending_since >= longest_in_memory;
}

bool CURL_TARGET::write()
{
    if (m_pending.empty())
        return true;
    const bool is_written = m_file.append(m_pending.data(), m_pending.size());
    m_pending.clear();
    m_received = received_at(m_file.size());
    return is_written || fail(m_file.error());
}

bool CURL_TARGET::undo()
{
    m_pending.clear();
    if (!m_file.shorten(m_start - m_request.begin))
        return fail(m_file.error());
    m_received = received_at(m_file.size());
    return true;
}

bool CURL_TARGET::flush_now_and_then(TIME now)
{
    const std::uint64_t unflushed = m_received - m_flushed;
    if (unflushed >= curl_flush_block || (unflushed > 0 && now - m_last_flush >= m_flush_interval))
    {
        m_flusher.request(m_file);
        m_flushed = m_received;
        m_last_flush = now;
    }
    return !has_flush_error();
}

bool CURL_TARGET::has_flush_error()
{
    const std::error_code error = m_flusher.error_of(m_file);
    return error && !fail("Cannot write " + m_request.path + ": " + error.message());
}
