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

/// Whether a URL consists of "user:password" without a host: what follows its colon is no port.
///
/// \param text  from the authority of a URL to the next URL or the end of the line
bool lacks_host(std::string_view text)
{
    const std::size_t colon = text.find_first_of(":[/?# \t");
    if (colon == std::string_view::npos || text[colon] != ':' ||
        text.find('@') != std::string_view::npos)
        return false;
    const std::size_t end = text.find_first_not_of("0123456789", colon + 1);
    return end != std::string_view::npos && !is_blank(text[end]) &&
           std::string_view("/?#'\"<>()[],;:.").find(text[end]) == std::string_view::npos;
}

/// Where a URL ends. If it lacks a host, what looks like the next URL is a part of its password.
///
/// \param last_at  the last "@" of the line
std::size_t end_of_url(std::string_view line, std::size_t authority, std::size_t last_at)
{
    std::size_t end = next_url(line, authority);
    if (last_at == std::string_view::npos || last_at < end ||
        !lacks_host(line.substr(authority, end - authority)))
        return end;
    const std::size_t at = line.find('@', end);
    while (end < at)
        end = next_url(line, line.find(scheme_end, end) + scheme_end.size());
    return end;
}

/// Removes a URL that lacks its host up to the quote that ends it, or to the end of the text.
///
/// \param before  the character before the URL
std::string masked(std::string_view text, char before)
{
    const bool is_quoted = before == '\'' || before == '"';
    std::size_t end = is_quoted ? text.rfind(before) : std::string_view::npos;
    if (end == std::string_view::npos)
        end = text.find_last_not_of(" \t\r") + 1;
    return std::string("***").append(text.substr(end));
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
    const std::size_t last_at = line.rfind('@');
    std::size_t url = next_url(line, 0);
    std::string result = without_unmarked_user_information(line.substr(0, url));
    while (url < line.size())
    {
        const std::size_t authority = line.find(scheme_end, url) + scheme_end.size();
        const std::size_t next = end_of_url(line, authority, last_at);
        const std::string_view rest = line.substr(authority, next - authority);
        result += line.substr(url, authority - url);
        if (lacks_host(rest))
            result += masked(rest, url > 0 ? line[url - 1] : '\0');
        else
            result += without_user_information(rest);
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
