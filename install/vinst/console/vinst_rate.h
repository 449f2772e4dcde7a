#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Bytes per second as given by the user: "500K", "1.5m", "8M", "1G", or a plain number. The
/// suffixes are multiples of 1024, as in all sizes that the program prints. Empty if it is not a
/// rate of at least 1K.
[[nodiscard]] std::optional<std::uint64_t> parse_rate(std::string_view text);
