#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// "bytes 100-199/1000" and "bytes */1000".
struct CURL_CONTENT_RANGE
{
    std::optional<std::uint64_t> start; ///< none in an answer of 416
    std::optional<std::uint64_t> total; ///< none when the server doesn't say
};

std::optional<CURL_CONTENT_RANGE> curl_parse_content_range(std::string_view value);

/// The head of the answer being received, gathered line by line; a new status line begins anew, so
/// that at the end the head of the last answer of a chain of redirects stands here.
struct CURL_RESPONSE_HEAD
{
    int status = 0; ///< 0 until a status line was read
    std::optional<CURL_CONTENT_RANGE> content_range;
    std::optional<std::uint64_t> content_length;
    std::string content_encoding;
    std::string location;
    std::size_t total_bytes = 0; ///< of all heads of the transfer together

    void add_line(std::string_view line);
};

/// What to do with the body of an answer to a request for a file from `offset` on.
struct CURL_BODY_DECISION
{
    enum class ACTION
    {
        write,         ///< append it, once `skip` bytes of it were passed over
        already_whole, ///< nothing is missing on disk: end the transfer as a success
        refuse         ///< end the transfer as a failure
    };

    ACTION action = ACTION::write;
    std::uint64_t skip = 0;
    std::optional<std::uint64_t> total; ///< the whole file's size, as the server tells it
    int curl_code = 0;                  ///< of a refusal
    std::string error;                  ///< of a refusal
};

/// Decides on the first byte of a body. The body of an answer of 400 or above never gets here.
CURL_BODY_DECISION curl_decide_on_body(const CURL_RESPONSE_HEAD& head, std::uint64_t offset);

/// What a transfer ended with: libcurl's result code, and words for the user when it isn't 0.
struct CURL_OUTCOME
{
    int curl_code = 0;
    std::string error;
};

/// Judges an ended transfer whose body nobody refused.
///
/// \param result    libcurl's own
/// \param skipped   bytes of the body passed over; `offset` when all that was on disk was
/// \param had_body  whether the decision on a body was asked for
CURL_OUTCOME curl_judge_end(const CURL_OUTCOME& result, const CURL_RESPONSE_HEAD& head,
                            std::uint64_t offset, std::uint64_t skipped, bool had_body);
