#include "install/vinst/console/vinst_rate.h"

#include <QByteArray>

#include <algorithm>
#include <cctype>
#include <string>

namespace
{

constexpr double kibi = 1024;
constexpr double lowest_rate = kibi;
constexpr double highest_rate = kibi * kibi * kibi * kibi;

/// 0 for an unknown suffix.
double factor_of(char suffix)
{
    switch (std::toupper(static_cast<unsigned char>(suffix)))
    {
    case 'K':
        return kibi;
    case 'M':
        return kibi * kibi;
    case 'G':
        return kibi * kibi * kibi;
    default:
        return 0;
    }
}

bool is_digit_or_point(char character)
{
    return (character >= '0' && character <= '9') || character == '.';
}

}

std::optional<std::uint64_t> parse_rate(std::string_view text)
{
    double factor = 1;
    if (!text.empty() && !is_digit_or_point(text.back()))
    {
        factor = factor_of(text.back());
        text.remove_suffix(1);
    }
    if (!std::all_of(text.begin(), text.end(), is_digit_or_point))
        return std::nullopt;
    bool is_number = false; // Qt's conversion doesn't depend on the locale
    const double rate =
        QByteArray(text.data(), static_cast<int>(text.size())).toDouble(&is_number) * factor;
    if (!is_number || rate < lowest_rate || rate > highest_rate)
        return std::nullopt;
    return static_cast<std::uint64_t>(rate);
}
