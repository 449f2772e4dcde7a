#include "support/curl/curl_plain_text.h"

#include <algorithm>
#include <array>

namespace
{

constexpr std::string_view replacement = "\xef\xbf\xbd";

struct RANGE
{
    char32_t first;
    char32_t last;
};

constexpr std::array<RANGE, 6> controls = {{{0x00, 0x1f},
                                            {0x7f, 0x9f},
                                            {0x061c, 0x061c}, // Arabic letter mark
                                            {0x200e, 0x200f},
                                            {0x2028, 0x202e},   // separators, embeddings, overrides
                                            {0x2066, 0x2069}}}; // isolates

/// A character of UTF-8; its length is 0 if the bytes are none.
struct DECODED
{
    char32_t character = 0;
    std::size_t length = 0;
};

DECODED decode(std::string_view bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4 || bytes.size() < length)
        return {};
    char32_t character = lead & (0x7fU >> length);
    for (const char byte : bytes.substr(1, length - 1))
    {
        const auto bits = static_cast<unsigned char>(byte);
        if ((bits & 0xc0U) != 0x80U)
            return {};
        character = (character << 6U) | (bits & 0x3fU);
    }
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    const bool is_surrogate = character >= 0xd800 && character <= 0xdfff;
    if (character < smallest[length] || character > 0x10ffff || is_surrogate)
        return {};
    return {character, length};
}

}

bool curl_is_control(char32_t character)
{
    const bool is_printable_ascii = character >= 0x20 && character < 0x7f;
    if (is_printable_ascii)
        return false;
    return std::any_of(controls.begin(), controls.end(),
                       [character](const RANGE& range)
                       { return character >= range.first && character <= range.last; });
}

std::string curl_plain_text(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const DECODED next = decode(text);
        const std::size_t length = std::max<std::size_t>(next.length, 1);
        const bool ends_line_twice = text.substr(0, 2) == "\r\n";
        const bool is_plain = next.length > 0 && (!curl_is_control(next.character) ||
                                                  next.character == '\n' || next.character == '\t');
        if (!ends_line_twice)
            result += is_plain ? text.substr(0, length) : replacement;
        text.remove_prefix(length);
    }
    return result;
}
