#include "support/curl/curl_answer.h"

#include "support/curl/curl_easy.h"

#include <algorithm>

namespace
{

constexpr std::size_t head_limit = 256 * 1024; // bytes

}

CURL_ANSWER::LINE CURL_ANSWER::take_line(CURL* handle, std::string_view line)
{
    m_head_bytes += line.size();
    if (m_head_bytes > head_limit)
        return LINE::too_many;
    m_is_in_head = line != "\r\n" && line != "\n";
    if (m_is_in_head)
        return LINE::in_head;
    m_head = curl_read_head(handle);
    return LINE::end_of_head;
}

void CURL_ANSWER::read_unended_head(CURL* handle)
{
    if (m_is_in_head)
        m_head = curl_read_head(handle);
}

bool CURL_ANSWER::is_written() const
{
    return m_decision && m_decision->action == CURL_BODY_DECISION::ACTION::write;
}

std::size_t CURL_ANSWER::skip(std::size_t size)
{
    const std::uint64_t rest = m_decision->skip - std::min(m_decision->skip, m_skipped);
    const std::uint64_t skipped = std::min<std::uint64_t>(size, rest);
    m_skipped += skipped;
    return static_cast<std::size_t>(skipped);
}
