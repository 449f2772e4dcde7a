#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

/// An upper limit of what several transfers together receive: a token bucket. Bytes are counted
/// when they have been received, and a debt must be paid off before more may be received. The
/// caller passes in the time. Any thread: the limit is set on another one than the transfers'.
class CURL_RATE_LIMIT
{
public:
    using TIME = std::chrono::steady_clock::time_point;

    /// What may be saved up while less is received than permitted.
    static constexpr std::chrono::milliseconds longest_saving{100};

    /// \param bytes_per_second  0: no limit. A debt from the previous limit is cancelled
    void set(std::uint64_t bytes_per_second);

    /// Counts bytes that have been received.
    void take(std::size_t bytes, TIME now);
    /// How long nothing may be received from now on.
    [[nodiscard]] std::chrono::nanoseconds wait(TIME now);

    /// The most bytes to receive at once, so that the rate is even; at most `largest`.
    [[nodiscard]] std::size_t block(std::size_t largest) const;

private:
    void save_up(TIME now);

    mutable std::mutex m_mutex; ///< guards all below
    std::uint64_t m_rate = 0;   ///< bytes per second; 0: no limit
    double m_balance = 0;       ///< bytes; negative: a debt
    std::optional<TIME> m_last; ///< when the balance was updated
};
