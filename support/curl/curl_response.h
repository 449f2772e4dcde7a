#pragma once

#include <array>
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

/// What decides about an answer, from its status and header fields.
struct CURL_RESPONSE_HEAD
{
    /// The header fields that matter, by their lower-case names.
    static constexpr std::array<const char*, 4> field_names = {"content-range", "content-length",
                                                               "content-encoding", "location"};

    int status = 0; ///< 0 until a server has answered
    std::optional<CURL_CONTENT_RANGE> content_range;
    std::optional<std::uint64_t> content_length;
    std::string content_encoding; ///< lower case
    std::string location;

    /// Whether it sends the client to another address.
    bool redirects() const { return status >= 300 && status < 400 && !location.empty(); }

    /// \param name  one of `field_names`
    void set_field(std::string_view name, std::string_view value);
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
