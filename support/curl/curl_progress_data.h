#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// The progress record of one file in one run, shared between the program and the library.
///
/// The atomic fields cross threads: the transfer thread writes them, the program's thread reads
/// them. `error_text` is written before `curl_code`, and `curl_code` before `http_code`, so whoever
/// has read a status may read the other two.
struct CURL_PROGRESS_DATA
{
    std::array<std::byte, 264> library_area{};    ///< the library's own
    std::atomic<std::uint64_t> reported_total{0}; ///< bytes; 0 while unknown
    std::atomic<std::uint64_t> bytes_received{0}; ///< written to the file in this run
    std::uint64_t bytes_seen = 0;                 ///< the program's: received at its last look
    std::atomic<std::int32_t> curl_code{-1};      ///< -1 until the transfer has ended
    std::atomic<std::int32_t> http_code{-1};      ///< -1 unless a server has answered
    std::int64_t reserved = -1;
    std::array<char, 256> error_text{}; ///< NUL-terminated
};

static_assert(sizeof(CURL_PROGRESS_DATA) == 264 + 3 * 8 + 2 * 4 + 8 + 256);

/// Called on the transfer threads with the file's whole size and the bytes written in this run;
/// -1 ends the transfer, 0 lets it go on.
using CURL_PROGRESS_CALLBACK = std::int64_t (*)(CURL_PROGRESS_DATA* data, std::uint64_t total,
                                                std::uint64_t received);
