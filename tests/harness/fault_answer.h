#pragma once

#include "tests/harness/fault.h"

#include <optional>

/// A range of a body's bytes; the last one is included.
struct HTTP_RANGE
{
    std::uint64_t first;
    std::uint64_t last;
};

/// Everything that is needed to send one response, independent of faults and routes.
struct FAULT_ANSWER
{
    enum class HEAD
    {
        normal,
        none,
        endless_lines,
        endless_line,
        slow_lines
    };
    enum class END
    {
        keep_alive,
        close,
        reset,
        stall
    };

    explicit FAULT_ANSWER(SERVED_BODY body_of_route) : body(std::move(body_of_route)) {}

    HEAD head = HEAD::normal;
    std::string version = "HTTP/1.1";
    int code = 200;
    HTTP_HEADERS headers;
    bool with_length = true;
    std::optional<std::uint64_t> claimed_length;
    bool chunked = false;
    bool with_last_chunk = true;

    SERVED_BODY body;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;    ///< of a complete response, starting at the offset
    std::uint64_t limit = ~0ULL; ///< maximum number of bytes sent
    END end = END::keep_alive;
    std::uint64_t step = 256 * 1024; ///< bytes per send call
    std::chrono::milliseconds interval{0};
    std::chrono::milliseconds delay{0}; ///< of the head

    void take_range(const HTTP_RANGE& range);
    void become_whole();
    void become_page(int status_code, const std::string& page, const HTTP_HEADERS& page_headers);
    void drop_header(const std::string& name);
    void apply(const FAULT& fault, const std::optional<HTTP_RANGE>& range);
    [[nodiscard]] std::string head_text() const;
};

/// The response to a request with that Range header, which may be empty.
FAULT_ANSWER good_answer(const SERVED_BODY& body, const std::string& range_header);
FAULT_ANSWER bad_answer(const SERVED_BODY& body, const std::string& range_header,
                        const FAULT& fault);
