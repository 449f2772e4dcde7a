#include "support/curl/curl_response.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>

namespace
{

std::string_view trimmed(std::string_view text)
{
    const auto is_blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::optional<std::uint64_t> whole_number(std::string_view text)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::string lower_case(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

CURL_BODY_DECISION refusal(CURL_OUTCOME outcome)
{
    CURL_BODY_DECISION decision;
    decision.action = CURL_BODY_DECISION::ACTION::refuse;
    decision.refusal = std::move(outcome);
    return decision;
}

CURL_BODY_DECISION decide_on_part(const CURL_RESPONSE_HEAD& head, std::uint64_t offset)
{
    if (!head.content_range || !head.content_range->start)
        return refusal(
            {CURLE_RANGE_ERROR, "The server sent a partial response without a valid range"});
    if (*head.content_range->start != offset)
        return refusal({CURLE_RANGE_ERROR, "The server sent the file from byte " +
                                               std::to_string(*head.content_range->start) +
                                               " instead of byte " + std::to_string(offset)});
    CURL_BODY_DECISION decision;
    decision.total = head.content_range->total;
    return decision;
}

CURL_BODY_DECISION decide_on_whole(const CURL_RESPONSE_HEAD& head, std::uint64_t offset)
{
    CURL_BODY_DECISION decision;
    decision.skip = offset;
    decision.total = head.content_length;
    if (offset > 0 && head.content_length == offset)
        decision.action = CURL_BODY_DECISION::ACTION::already_whole;
    return decision;
}

CURL_OUTCOME judge_unsatisfiable_range(const CURL_RESPONSE_HEAD& head, const CURL_FILE_SIZE& size,
                                       std::uint64_t offset)
{
    const std::optional<std::uint64_t> total =
        head.content_range ? head.content_range->total : std::nullopt;
    if (total)
        if (CURL_OUTCOME offer = size.judge_offer(*total); offer.curl_code != CURLE_OK)
            return offer;
    if (total == offset)
        return {};
    return {CURLE_RANGE_ERROR, "The server has no data from byte " + std::to_string(offset) +
                                   ", where the file on disk ends"};
}

}

bool curl_has_scheme(std::string_view url, std::string_view scheme)
{
    return url.size() > scheme.size() && url[scheme.size()] == ':' &&
           lower_case(url.substr(0, scheme.size())) == scheme;
}

std::optional<CURL_CONTENT_RANGE> curl_parse_content_range(std::string_view value)
{
    value = trimmed(value);
    if (lower_case(value.substr(0, 5)) != "bytes")
        return std::nullopt;
    value = trimmed(value.substr(5));
    const std::size_t slash = value.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;

    CURL_CONTENT_RANGE range;
    range.total = whole_number(trimmed(value.substr(slash + 1)));
    const std::string_view part = trimmed(value.substr(0, slash));
    if (part == "*")
        return range;
    const std::size_t dash = part.find('-');
    if (dash == std::string_view::npos)
        return std::nullopt;
    range.start = whole_number(part.substr(0, dash));
    if (!range.start || !whole_number(part.substr(dash + 1)))
        return std::nullopt;
    return range;
}

void CURL_RESPONSE_HEAD::set_field(std::string_view name, std::string_view value)
{
    value = trimmed(value);
    if (name == "content-range")
        content_range = curl_parse_content_range(value);
    else if (name == "content-length")
        content_length = whole_number(value);
    else if (name == "content-encoding")
        content_encoding = lower_case(value);
    else if (name == "location" && !value.empty())
        locations.emplace_back(value);
    else if (name == "etag")
        etag = value;
    else if (name == "last-modified")
        last_modified = value;
}

std::string CURL_RESPONSE_HEAD::validator() const
{
    constexpr std::string_view weak = "W/";
    const bool is_strong = !etag.empty() && etag.compare(0, weak.size(), weak) != 0;
    return is_strong ? etag : last_modified;
}

std::uint64_t CURL_FILE_SIZE::most() const
{
    if (expected != 0)
        return expected;
    return limit != 0 ? limit : std::numeric_limits<std::uint64_t>::max();
}

CURL_OUTCOME CURL_FILE_SIZE::judge_offer(std::uint64_t total) const
{
    const std::string offer = "The server offers " + std::to_string(total) + " bytes, but ";
    if (expected != 0 && total != expected)
        return {total > expected ? CURLE_FILESIZE_EXCEEDED : CURLE_PARTIAL_FILE,
                offer + "the release lists " + std::to_string(expected)};
    if (total > most())
        return {CURLE_FILESIZE_EXCEEDED, offer + "at most " + std::to_string(limit) + " are read"};
    return {};
}

CURL_OUTCOME CURL_FILE_SIZE::too_long() const
{
    return {CURLE_FILESIZE_EXCEEDED, "The server sends more than the " + std::to_string(most()) +
                                         " bytes that " +
                                         (expected != 0 ? "the release lists" : "are read")};
}

CURL_OUTCOME CURL_FILE_SIZE::judge_end(std::uint64_t bytes) const
{
    if (bytes >= expected)
        return {};
    return {CURLE_PARTIAL_FILE, "The server sent " + std::to_string(bytes) + " of the " +
                                    std::to_string(expected) + " bytes that the release lists"};
}

bool CURL_RESPONSE_HEAD::redirects_to_http() const
{
    return redirects() && std::any_of(locations.begin(), locations.end(),
                                      [](const std::string& location)
                                      { return curl_has_scheme(location, "http"); });
}

CURL_BODY_DECISION curl_decide_on_body(const CURL_RESPONSE_HEAD& head, std::uint64_t offset,
                                       const CURL_FILE_SIZE& size)
{
    if (!head.content_encoding.empty() && head.content_encoding != "identity")
        return refusal({CURLE_BAD_CONTENT_ENCODING,
                        "The server sent encoded content, which was not requested"});
    if (head.status != 206 && !head.has_whole_file())
        return refusal({CURLE_WEIRD_SERVER_REPLY, "The server's response is not the file"});
    CURL_BODY_DECISION decision =
        head.status == 206 ? decide_on_part(head, offset) : decide_on_whole(head, offset);
    if (decision.action == CURL_BODY_DECISION::ACTION::refuse || !decision.total)
        return decision;
    const CURL_OUTCOME offer = size.judge_offer(*decision.total);
    return offer.curl_code == CURLE_OK ? decision : refusal(offer);
}

CURL_BODY_DECISION curl_decide_on_piece(const CURL_RESPONSE_HEAD& head, std::uint64_t offset,
                                        const CURL_FILE_SIZE& size, const std::string& validator)
{
    CURL_BODY_DECISION decision = curl_decide_on_body(head, offset, size);
    if (decision.action == CURL_BODY_DECISION::ACTION::refuse)
        return decision;
    if (head.status != 206 || decision.total != size.expected || head.validator() != validator)
        return refusal({CURLE_RANGE_ERROR, "The server doesn't send the file in pieces"});
    return decision;
}

CURL_OUTCOME curl_judge_end(const CURL_OUTCOME& result, const CURL_RESPONSE_HEAD& head,
                            const CURL_FILE_SIZE& size, std::uint64_t offset, std::uint64_t skipped,
                            bool had_body)
{
    if (head.status == 416 && offset > 0 &&
        (result.curl_code == CURLE_HTTP_RETURNED_ERROR || result.curl_code == CURLE_OK))
        return judge_unsatisfiable_range(head, size, offset);
    if (result.curl_code != CURLE_OK)
        return result;
    if (!had_body && (head.status < 200 || head.status > 299 || head.status == 204))
        return {CURLE_WEIRD_SERVER_REPLY, "The server's response is not the file"};
    if (skipped < offset && head.has_whole_file())
        return {CURLE_PARTIAL_FILE, "The server sent fewer bytes than the file on disk has"};
    return {};
}
