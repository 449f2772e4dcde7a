#pragma once

#include <string>

/// An integer that the user can set. The command-line options, the settings dialog and their texts
/// are generated from it.
struct VINST_NUMBER_LIMITS
{
    int initial; ///< the value when nothing is set
    int lowest;
    int highest;

    constexpr bool contain(int value) const { return value >= lowest && value <= highest; }
    /// "1-6".
    std::string range_text() const
    {
        return std::to_string(lowest) + '-' + std::to_string(highest);
    }
};

inline constexpr VINST_NUMBER_LIMITS vinst_parallel_downloads{4, 1, 6};
inline constexpr VINST_NUMBER_LIMITS vinst_retry_minutes{60, 0, 10000};
