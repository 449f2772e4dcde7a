#include "support/curl/curl_pace.h"

std::string curl_seconds_text(std::chrono::milliseconds time)
{
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) +
           " seconds";
}

void CURL_PACE::start(TIME now)
{
    m_last_activity = now;
    m_head_start.reset();
    m_body_start.reset();
}

void CURL_PACE::take_header(TIME now)
{
    m_last_activity = now;
    if (!m_head_start)
        m_head_start = now;
}

void CURL_PACE::take_body(std::size_t bytes, TIME now)
{
    m_last_activity = now;
    if (!m_body_start)
    {
        m_body_start = now;
        m_body_bytes = 0;
    }
    m_body_bytes += bytes;
}

std::string CURL_PACE::reason_to_give_up(TIME now)
{
    const std::string limit = curl_seconds_text(m_limit);
    if (now - m_last_activity >= m_limit)
        return "No data received for " + limit;
    if (!m_body_start)
        return m_head_start && now - *m_head_start >= m_limit
                   ? "The server's headers did not end within " + limit
                   : std::string();
    if (now - *m_body_start < m_limit)
        return {};
    const bool is_too_slow = m_body_bytes < least_bytes;
    m_body_start = now;
    m_body_bytes = 0;
    return is_too_slow ? "Less than 1 KiB received in " + limit : std::string();
}
