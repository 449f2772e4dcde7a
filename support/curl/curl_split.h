#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// A part of a file that a connection is receiving, as offsets in the complete file.
struct CURL_PART
{
    std::uint64_t position = 0; ///< where the next byte belongs
    std::uint64_t end = 0;

    std::uint64_t left() const { return end > position ? end - position : 0; }
};

struct CURL_SPLIT
{
    std::size_t part = 0; ///< the index of the part that is split
    std::uint64_t at = 0; ///< where it ends from now on, and the new one begins
};

/// Where an idle connection takes over the second half of what is left of a part: of the one with
/// the most left. The beginning is aligned where both halves stay long enough. Nothing when no half
/// would have `least_piece` bytes.
std::optional<CURL_SPLIT> curl_choose_split(const std::vector<CURL_PART>& parts,
                                            std::uint64_t least_piece);
