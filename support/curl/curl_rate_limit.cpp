#include "support/curl/curl_rate_limit.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr std::uint64_t blocks_per_second = 64;
constexpr std::size_t smallest_block = 1024; // bytes; libcurl has no smaller receive buffer

}

void CURL_RATE_LIMIT::set(std::uint64_t bytes_per_second)
{
    const std::lock_guard lock(m_mutex);
    if (bytes_per_second == m_rate)
        return;
    m_rate = bytes_per_second;
    m_balance = 0;
    m_last.reset();
}

void CURL_RATE_LIMIT::take(std::size_t bytes, TIME now)
{
    const std::lock_guard lock(m_mutex);
    if (m_rate == 0)
        return;
    save_up(now);
    m_balance -= static_cast<double>(bytes);
}

std::chrono::nanoseconds CURL_RATE_LIMIT::wait(TIME now)
{
    const std::lock_guard lock(m_mutex);
    if (m_rate == 0)
        return std::chrono::nanoseconds::zero();
    save_up(now);
    if (m_balance >= 0)
        return std::chrono::nanoseconds::zero();
    const double seconds = -m_balance / static_cast<double>(m_rate);
    return std::chrono::nanoseconds(static_cast<std::int64_t>(std::ceil(seconds * 1e9)));
}

std::size_t CURL_RATE_LIMIT::block(std::size_t largest) const
{
    const std::lock_guard lock(m_mutex);
    if (m_rate == 0)
        return largest;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(m_rate / blocks_per_second, largest));
    return std::max(wanted, smallest_block);
}

void CURL_RATE_LIMIT::save_up(TIME now)
{
    const std::chrono::duration<double> elapsed = now - m_last.value_or(now);
    const double rate = static_cast<double>(m_rate);
    const double most = rate * std::chrono::duration<double>(longest_saving).count();
    m_balance = std::min(m_balance + elapsed.count() * rate, most);
    m_last = now;
}
