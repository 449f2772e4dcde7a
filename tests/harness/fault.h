#pragma once

#include "tests/harness/pattern.h"

#include <QByteArray>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What a route serves: bytes, or a pattern (see pattern.h) that is generated while it is sent, so
/// that it may be many GiB.
class SERVED_BODY
{
public:
    SERVED_BODY(std::string bytes);
    SERVED_BODY(const char* text) : SERVED_BODY(std::string(text)) {}
    SERVED_BODY(const QByteArray& bytes) : SERVED_BODY(bytes.toStdString()) {}
    static SERVED_BODY of_pattern(std::uint64_t size, std::uint64_t seed = 1);

    [[nodiscard]] std::uint64_t size() const { return m_size; }
    [[nodiscard]] std::string part(std::uint64_t offset, std::size_t size) const;

private:
    std::shared_ptr<const std::string> m_bytes; ///< none for a pattern
    std::uint64_t m_size = 0;
    std::uint64_t m_seed = 0;
};

using HTTP_HEADERS = std::vector<std::pair<std::string, std::string>>;

/// A fault in a response. Everything else is as in the correct response: the status (206 for a
/// range), Content-Length, Content-Range.
struct FAULT
{
    // Bodies that end early; n counts the body bytes of this response.
    static FAULT cut_after(std::uint64_t n);   ///< closes the connection normally
    static FAULT reset_after(std::uint64_t n); ///< by RST, after the n bytes have arrived
    static FAULT stall_after(std::uint64_t n); ///< sends nothing more, keeps the connection open
    static FAULT trickle(std::uint64_t bytes, std::chrono::milliseconds interval);

    // Response heads that never end.
    static FAULT stall_before_headers();
    static FAULT endless_headers();     ///< an endless series of lines, about 10 MB/s
    static FAULT endless_header_line(); ///< one endless line, at the same rate
    static FAULT slow_headers(std::chrono::milliseconds interval); ///< endless, a line at a time

    // Bodies that don't match the head.
    static FAULT claim_length(std::uint64_t length); ///< then sends the real body and closes
    static FAULT short_body(std::uint64_t n);      ///< 200, the first n bytes as the complete body
    static FAULT other_body(SERVED_BODY body);     ///< other bytes; ranges work
    static FAULT chunked(std::uint64_t n = ~0ULL); ///< in chunks, cut after n bytes
    static FAULT
    chunks_without_end(bool with_reset); ///< the complete body; then a reset or a stall
    static FAULT without_length(std::uint64_t n = ~0ULL); ///< HTTP/1.0 that ends by closing after n
    static FAULT content_encoding(const std::string& name = "gzip"); ///< declared, but not applied

    // Only for requests with a range; others are answered correctly and don't count.
    static FAULT wrong_range_start(std::int64_t shift); ///< in Content-Range and in the body
    static FAULT without_content_range();               ///< 206
    static FAULT ignore_range();                        ///< 200, the complete body
    static FAULT range_not_satisfiable(bool with_content_range); ///< 416 to any range
    static FAULT partial_unasked(); ///< 206, correct Content-Range, to requests without a range

    // Other responses.
    static FAULT status(int code, const std::string& html = "<html>no</html>",
                        HTTP_HEADERS headers = {});
    /// An empty location omits the header and sends a body.
    static FAULT redirect(int code, const std::string& location);

    /// Only for the first requests; after these, the route's next fault or the correct response
    /// applies.
    [[nodiscard]] FAULT times(int count) const;
    /// Only for requests with a range (or, if false, without one); others skip this fault.
    [[nodiscard]] FAULT for_ranges(bool with_range = true) const;

    /// Of `status` and `redirect`: the head is sent this much later.
    [[nodiscard]] FAULT delayed(std::chrono::milliseconds delay) const;

    enum class KIND
    {
        cut,
        reset,
        stall,
        trickle,
        stall_before_headers,
        endless_headers,
        endless_header_line,
        slow_headers,
        claim_length,
        short_body,
        other_body,
        chunked,
        chunks_without_end,
        without_length,
        content_encoding,
        wrong_range_start,
        without_content_range,
        ignore_range,
        range_not_satisfiable,
        partial_unasked,
        status,
    };
    enum class APPLIES
    {
        always,
        with_range,
        without_range
    };

    KIND kind = KIND::cut;
    std::uint64_t number = 0;
    std::int64_t shift = 0;
    std::chrono::milliseconds interval{0};
    std::string text = {};
    HTTP_HEADERS headers = {};
    std::shared_ptr<const SERVED_BODY> body = {};
    APPLIES applies = APPLIES::always;
    int remaining = -1; ///< requests; negative for all
};
