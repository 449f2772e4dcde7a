#include "support/curl/curl_split.h"

#include <algorithm>

namespace
{

// Bytes. File systems share blocks only where they begin at a multiple of their size.
constexpr std::uint64_t alignment = 64 * 1024;

}

std::optional<CURL_SPLIT> curl_choose_split(const std::vector<CURL_PART>& parts,
                                            std::uint64_t least_piece)
{
    const auto longest = std::max_element(parts.begin(), parts.end(),
                                          [](const CURL_PART& a, const CURL_PART& b)
                                          { return a.left() < b.left(); });
    if (longest == parts.end() || longest->left() / 2 < least_piece)
        return std::nullopt;
    std::uint64_t at = longest->end - longest->left() / 2;
    if (const std::uint64_t aligned = at - at % alignment;
        aligned >= longest->position + least_piece)
        at = aligned;
    return CURL_SPLIT{static_cast<std::size_t>(longest - parts.begin()), at};
}
