#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// "20 seconds", rounded down.
std::string curl_seconds_text(std::chrono::milliseconds time);

/// Decides when to give up on a server that sends nothing, headers without an end, or a body that
/// hardly grows. The caller passes in the time.
class CURL_PACE
{
public:
    using TIME = std::chrono::steady_clock::time_point;

    /// Bytes of a body that are the least within the limit.
    static constexpr std::uint64_t least_bytes = 1024;

    explicit CURL_PACE(std::chrono::milliseconds limit) : m_limit(limit) {}

    /// A request starts.
    void start(TIME now);
    /// A line of the headers was received. The limit is for the headers of all responses to the
    /// request together, interim ones and redirects included.
    void take_header(TIME now);
    void take_body(std::size_t bytes, TIME now);

    TIME last_activity() const { return m_last_activity; }
    /// Why the transfer has to be ended now; empty otherwise.
    std::string reason_to_give_up(TIME now);

private:
    const std::chrono::milliseconds m_limit;
    TIME m_last_activity;
    std::optional<TIME> m_head_start;
    std::optional<TIME> m_body_start; ///< of the current measurement of the body
    std::uint64_t m_body_bytes = 0;   ///< since then
};
