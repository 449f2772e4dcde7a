#include "tests/harness/fault.h"

#include <algorithm>

using std::chrono::milliseconds;

namespace
{

FAULT make(FAULT::KIND kind, std::uint64_t number = 0)
{
    FAULT fault;
    fault.kind = kind;
    fault.number = number;
    return fault;
}

}

SERVED_BODY::SERVED_BODY(std::string bytes)
    : m_bytes(std::make_shared<const std::string>(std::move(bytes))), m_size(m_bytes->size())
{
}

SERVED_BODY SERVED_BODY::of_pattern(std::uint64_t size, std::uint64_t seed)
{
    SERVED_BODY body("");
    body.m_bytes.reset();
    body.m_size = size;
    body.m_seed = seed;
    return body;
}

std::string SERVED_BODY::part(std::uint64_t offset, std::size_t size) const
{
    if (offset >= m_size)
        return {};
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_size - offset));
    return m_bytes ? m_bytes->substr(offset, length) : pattern(length, m_seed, offset);
}

FAULT FAULT::cut_after(std::uint64_t n)
{
    return make(KIND::cut, n);
}
FAULT FAULT::reset_after(std::uint64_t n)
{
    return make(KIND::reset, n);
}
FAULT FAULT::stall_after(std::uint64_t n)
{
    return make(KIND::stall, n);
}
FAULT FAULT::stall_before_headers()
{
    return make(KIND::stall_before_headers);
}
FAULT FAULT::endless_headers()
{
    return make(KIND::endless_headers);
}
FAULT FAULT::endless_header_line()
{
    return make(KIND::endless_header_line);
}
FAULT FAULT::slow_headers(milliseconds interval)
{
    FAULT fault = make(KIND::slow_headers);
    fault.interval = interval;
    return fault;
}
FAULT FAULT::chunks_without_end(bool with_reset)
{
    return make(KIND::chunks_without_end, with_reset ? 1 : 0);
}
FAULT FAULT::claim_length(std::uint64_t length)
{
    return make(KIND::claim_length, length);
}
FAULT FAULT::short_body(std::uint64_t n)
{
    return make(KIND::short_body, n);
}
FAULT FAULT::chunked(std::uint64_t n)
{
    return make(KIND::chunked, n);
}
FAULT FAULT::without_length(std::uint64_t n)
{
    return make(KIND::without_length, n);
}

FAULT FAULT::trickle(std::uint64_t bytes, milliseconds interval)
{
    FAULT fault = make(KIND::trickle, bytes);
    fault.interval = interval;
    return fault;
}

FAULT FAULT::other_body(SERVED_BODY body)
{
    FAULT fault = make(KIND::other_body);
    fault.body = std::make_shared<const SERVED_BODY>(std::move(body));
    return fault;
}

FAULT FAULT::content_encoding(const std::string& name)
{
    FAULT fault = make(KIND::content_encoding);
    fault.text = name;
    return fault;
}

FAULT FAULT::wrong_range_start(std::int64_t shift)
{
    FAULT fault = make(KIND::wrong_range_start).for_ranges();
    fault.shift = shift;
    return fault;
}

FAULT FAULT::without_content_range()
{
    return make(KIND::without_content_range).for_ranges();
}
FAULT FAULT::ignore_range()
{
    return make(KIND::ignore_range).for_ranges();
}
FAULT FAULT::partial_unasked()
{
    return make(KIND::partial_unasked).for_ranges(false);
}

FAULT FAULT::range_not_satisfiable(bool with_content_range)
{
    return make(KIND::range_not_satisfiable, with_content_range ? 1 : 0).for_ranges();
}

FAULT FAULT::status(int code, const std::string& html, HTTP_HEADERS headers)
{
    FAULT fault = make(KIND::status, static_cast<std::uint64_t>(code));
    fault.text = html;
    fault.headers = std::move(headers);
    fault.headers.emplace_back("Content-Type", "text/html");
    return fault;
}

FAULT FAULT::redirect(int code, const std::string& location)
{
    return location.empty() ? status(code, "<html>elsewhere</html>")
                            : status(code, "", {{"Location", location}});
}

FAULT FAULT::times(int count) const
{
    FAULT limited = *this;
    limited.remaining = count;
    return limited;
}

FAULT FAULT::delayed(milliseconds delay) const
{
    FAULT late = *this;
    late.interval = delay;
    return late;
}

FAULT FAULT::for_ranges(bool with_range) const
{
    FAULT limited = *this;
    limited.applies = with_range ? APPLIES::with_range : APPLIES::without_range;
    return limited;
}
