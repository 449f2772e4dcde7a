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

bool is_blank(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

constexpr std::string_view scheme_end = "://";

/// Where the next URL of the text begins, at or after a position; the end if there is none. A
/// password may contain "://", but then not after a blank or quote.
std::size_t next_url(std::string_view text, std::size_t from)
{
    for (std::size_t at = from; (at = text.find(scheme_end, at)) != std::string_view::npos; ++at)
    {
        std::size_t begin = at;
        while (begin > from && std::isalnum(static_cast<unsigned char>(text[begin - 1])) != 0)
            --begin;
        if (begin < at &&
            (begin == 0 || is_blank(text[begin - 1]) ||
             std::string_view("'\"<(").find(text[begin - 1]) != std::string_view::npos))
            return begin;
    }
    return text.size();
}

/// \param text  from the authority of a URL to the next URL or the end of the line
std::string_view without_user_information(std::string_view text)
{
    const std::size_t at = text.rfind('@');
    const std::size_t colon = text.find(':');
    if (at == std::string_view::npos || colon > at ||
        text.find_first_of("/?# \t") < colon) // then the colon is not after a user name
        return text;
    return text.substr(at + 1);
}

/// Where "user:" begins in a text without URLs; the end if nowhere.
std::size_t user_without_scheme(std::string_view text)
{
    std::size_t word = 0;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
    {
        if (is_blank(text[i]) ||
            std::string_view("'\"(/?#").find(text[i]) != std::string_view::npos)
            word = i + 1;
        else if (text[i] == ':' && i > word && !is_blank(text[i + 1]))
            return word;
    }
    return text.size();
}

std::string without_unmarked_user_information(std::string_view text)
{
    const std::size_t at = text.rfind('@');
    const std::size_t user = user_without_scheme(text);
    if (at == std::string_view::npos || user > at)
        return std::string(text);
    return std::string(text.substr(0, user)).append(text.substr(at + 1));
}

std::string without_credentials(std::string_view line)
{
    std::size_t url = next_url(line, 0);
    std::string result = without_unmarked_user_information(line.substr(0, url));
    while (url < line.size())
    {
        const std::size_t authority = line.find(scheme_end, url) + scheme_end.size();
        const std::size_t next = next_url(line, authority);
        result += line.substr(url, authority - url);
        result += without_user_information(line.substr(authority, next - authority));
        url = next;
    }
    return result;
}

std::string redact_line(std::string_view line)
{
    for (const std::string_view header : secret_headers)
        if (starts_with_ignoring_case(line, header))
            return std::string(line.substr(0, header.size())) + " ***";
    return without_credentials(line);
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
