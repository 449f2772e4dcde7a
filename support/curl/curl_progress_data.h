#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// The progress record of one file in one run, shared between the program and the library.
///
/// The atomic fields are written by the transfer thread and read by the program's thread.
/// `error_text` is written before `curl_code`, and `curl_code` before `http_code`, so a reader that
/// has seen a status may read the other two.
struct CURL_PROGRESS_DATA
{
    std::array<std::byte, 248> library_area{}; ///< reserved for the library
    /// On the disk in pieces that have not been joined to the file yet.
    std::atomic<std::uint64_t> bytes_ahead{0};
    /// Of these and of the received ones: fetched by an earlier run.
    std::atomic<std::uint64_t> bytes_taken_over{0};
    std::atomic<std::uint64_t> reported_total{0}; ///< bytes; 0 while unknown
    std::atomic<std::uint64_t> bytes_received{0}; ///< written to the file in this run
    std::uint64_t bytes_seen = 0;            ///< used by the program: received at its last pass
    std::atomic<std::int32_t> curl_code{-1}; ///< -1 until the transfer has ended
    std::atomic<std::int32_t> http_code{-1}; ///< -1 unless a server has responded; 407 also if
                                             ///< the proxy requires a login for CONNECT
    std::int64_t reserved = -1;
    std::array<char, 256> error_text{}; ///< NUL-terminated
};

static_assert(sizeof(CURL_PROGRESS_DATA) == 248 + 5 * 8 + 2 * 4 + 8 + 256);

/// Called on the transfer thread with the size of the complete file and the bytes written in this
/// run. Returns 0 to continue, -1 to end the transfer.
using CURL_PROGRESS_CALLBACK = std::int64_t (*)(CURL_PROGRESS_DATA* data, std::uint64_t total,
                                                std::uint64_t received);
