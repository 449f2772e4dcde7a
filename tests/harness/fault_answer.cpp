#include "tests/harness/fault_answer.h"

#include <algorithm>
#include <cctype>

namespace
{

std::string reason_phrase(int code)
{
    switch (code)
    {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 404:
        return "Not Found";
    case 416:
        return "Range Not Satisfiable";
    case 429:
        return "Too Many Requests";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

/// Nothing if no range was requested; first > last if it can't be satisfied.
std::optional<HTTP_RANGE> asked_range(const std::string& text, std::uint64_t size)
{
    const std::size_t dash = text.find('-');
    if (text.rfind("bytes=", 0) != 0 || dash == std::string::npos)
        return std::nullopt;
    const std::string first = text.substr(6, dash - 6);
    const std::string last = text.substr(dash + 1);
    const auto whole = [](const std::string& digits)
    {
        return std::all_of(digits.begin(), digits.end(),
                           [](unsigned char c) { return std::isdigit(c); });
    };
    if (!whole(first) || !whole(last) || (first.empty() && last.empty()))
        return std::nullopt;
    if (size == 0)
        return HTTP_RANGE{1, 0};
    if (first.empty())
        return HTTP_RANGE{size - std::min<std::uint64_t>(size, std::stoull(last)), size - 1};
    const HTTP_RANGE range{std::stoull(first),
                           last.empty() ? size - 1
                                        : std::min<std::uint64_t>(size - 1, std::stoull(last))};
    return range.first >= size ? HTTP_RANGE{1, 0} : range;
}

/// Whether a fault also replaces the correct 416 to a range beyond the end.
bool replaces_refusal(const FAULT& fault)
{
    return fault.kind == FAULT::KIND::ignore_range || fault.kind == FAULT::KIND::short_body ||
           fault.kind == FAULT::KIND::range_not_satisfiable || fault.kind == FAULT::KIND::status;
}

}

void FAULT_ANSWER::drop_header(const std::string& name)
{
    headers.erase(std::remove_if(headers.begin(), headers.end(),
                                 [&name](const auto& header) { return header.first == name; }),
                  headers.end());
}

void FAULT_ANSWER::take_range(const HTTP_RANGE& range)
{
    code = 206;
    offset = range.first;
    length = range.last - range.first + 1;
    drop_header("Content-Range");
    headers.emplace_back("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                              std::to_string(range.last) + "/" +
                                              std::to_string(body.size()));
}

void FAULT_ANSWER::become_whole()
{
    code = 200;
    offset = 0;
    length = body.size();
    headers.clear();
}

void FAULT_ANSWER::become_page(int status_code, const std::string& page,
                               const HTTP_HEADERS& page_headers)
{
    body = SERVED_BODY(page);
    become_whole();
    code = status_code;
    headers = page_headers;
}

void FAULT_ANSWER::apply(const FAULT& fault, const std::optional<HTTP_RANGE>& range)
{
    using KIND = FAULT::KIND;
    switch (fault.kind)
    {
    case KIND::cut:
        limit = fault.number;
        end = END::close;
        break;
    case KIND::reset:
        limit = fault.number;
        end = END::reset;
        break;
    case KIND::stall:
        limit = fault.number;
        end = END::stall;
        break;
    case KIND::trickle:
        step = std::max<std::uint64_t>(1, fault.number);
        interval = fault.interval;
        break;
    case KIND::stall_before_headers:
        head = HEAD::none;
        break;
    case KIND::endless_headers:
        head = HEAD::endless_lines;
        break;
    case KIND::endless_header_line:
        head = HEAD::endless_line;
        break;
    case KIND::slow_headers:
        head = HEAD::slow_lines;
        interval = fault.interval;
        break;
    case KIND::claim_length:
        claimed_length = fault.number;
        end = END::close;
        break;
    case KIND::short_body:
        become_whole();
        length = std::min(length, fault.number);
        break;
    case KIND::other_body: // already handled by the caller
        break;
    case KIND::chunked:
        chunked = true;
        limit = fault.number;
        end = limit < length ? END::close : END::keep_alive;
        break;
    case KIND::chunks_without_end:
        chunked = true;
        with_last_chunk = false;
        end = fault.number != 0 ? END::reset : END::stall;
        break;
    case KIND::without_length:
        version = "HTTP/1.0";
        with_length = false;
        limit = fault.number;
        end = END::close;
        break;
    case KIND::content_encoding:
        headers.emplace_back("Content-Encoding", fault.text);
        break;
    case KIND::wrong_range_start:
        if (range)
        {
            const std::int64_t moved = static_cast<std::int64_t>(range->first) + fault.shift;
            const auto start = static_cast<std::uint64_t>(std::max<std::int64_t>(0, moved));
            take_range({std::min(start, range->last), range->last});
        }
        break;
    case KIND::without_content_range:
        drop_header("Content-Range");
        break;
    case KIND::ignore_range:
        become_whole();
        break;
    case KIND::range_not_satisfiable:
        become_page(416, "<html>no such range</html>",
                    fault.number == 0 ? HTTP_HEADERS{}
                                      : HTTP_HEADERS{{"Content-Range",
                                                      "bytes */" + std::to_string(body.size())}});
        break;
    case KIND::partial_unasked:
        if (body.size() > 0)
            take_range({0, body.size() - 1});
        break;
    case KIND::status:
        become_page(static_cast<int>(fault.number), fault.text, fault.headers);
        delay = fault.interval;
        break;
    }
}

std::string FAULT_ANSWER::head_text() const
{
    std::string text = version + " " + std::to_string(code) + " " + reason_phrase(code) + "\r\n";
    for (const auto& [name, value] : headers)
    {
        text += name;
        text += ": " + value + "\r\n";
    }
    if (chunked)
        text += "Transfer-Encoding: chunked\r\n";
    else if (with_length)
        text += "Content-Length: " + std::to_string(claimed_length.value_or(length)) + "\r\n";
    if (code == 200 || code == 206)
        text += "Accept-Ranges: bytes\r\n";
    return text + "\r\n";
}

FAULT_ANSWER good_answer(const SERVED_BODY& body, const std::string& range_header)
{
    FAULT_ANSWER answer{body};
    answer.become_whole();
    const std::optional<HTTP_RANGE> range = asked_range(range_header, body.size());
    if (range && range->first <= range->last)
        answer.take_range(*range);
    else if (range)
        answer.apply(FAULT::range_not_satisfiable(true), std::nullopt);
    return answer;
}

FAULT_ANSWER bad_answer(const SERVED_BODY& body, const std::string& range_header,
                        const FAULT& fault)
{
    const SERVED_BODY& served = fault.body ? *fault.body : body;
    std::optional<HTTP_RANGE> range = asked_range(range_header, served.size());
    if (range && range->first > range->last)
        range.reset();
    FAULT_ANSWER answer =
        good_answer(served, replaces_refusal(fault) && !range ? "" : range_header);
    answer.apply(fault, range);
    return answer;
}
