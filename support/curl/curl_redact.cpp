#include "support/curl/curl_redact.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace
{

constexpr std::array<std::string_view, 5> secret_headers = {
    "authorization:", "proxy-authorization:", "cookie:", "set-cookie:", "www-authenticate:"};

bool starts_with_ignoring_case(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](char expected, char actual)
                      { return std::tolower(static_cast<unsigned char>(actual)) == expected; });
}

/// Whether the character ends the authority part of a URL, where the search for user information
/// stops. Quotes and brackets don't, because a password may contain them.
bool ends_authority(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0 || c == '/' || c == '?' || c == '#';
}

std::string without_user_information(std::string_view line)
{
    std::string result;
    std::size_t start = 0; // of the part that may be an authority
    for (std::size_t i = 0; i <= line.size(); ++i)
    {
        if (i < line.size() && !ends_authority(line[i]))
            continue;
        const std::string_view part = line.substr(start, i - start);
        const std::size_t at = part.rfind('@');
        const bool holds_secret =
            at != std::string_view::npos && part.substr(0, at).find(':') != std::string_view::npos;
        result += holds_secret ? part.substr(at + 1) : part;
        if (i < line.size())
            result += line[i];
        start = i + 1;
    }
    return result;
}

std::string redact_line(std::string_view line)
{
    for (const std::string_view header : secret_headers)
        if (starts_with_ignoring_case(line, header))
            return std::string(line.substr(0, header.size())) + " ***";
    return without_user_information(line);
}

}

std::string curl_redact(std::string_view text)
{
    std::string result;
    for (std::size_t start = 0; start <= text.size();)
    {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        result += redact_line(text.substr(start, end - start));
        if (end < text.size())
            result += '\n';
        start = end + 1;
    }
    return result;
}
