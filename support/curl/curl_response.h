#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// "bytes 100-199/1000" and "bytes */1000".
struct CURL_CONTENT_RANGE
{
    std::optional<std::uint64_t> start; ///< none in a 416 response
    std::optional<std::uint64_t> total; ///< none when unknown to the server
};

std::optional<CURL_CONTENT_RANGE> curl_parse_content_range(std::string_view value);

/// \param scheme  in lower case, such as "https"
bool curl_has_scheme(std::string_view url, std::string_view scheme);

/// The status and the header fields of a response that decide what to do with it.
struct CURL_RESPONSE_HEAD
{
    /// The header fields that matter, by their lower-case names.
    static constexpr std::array<const char*, 6> field_names = {
        "content-range", "content-length", "content-encoding", "location", "etag", "last-modified"};

    int status = 0; ///< 0 until a server has responded
    std::optional<CURL_CONTENT_RANGE> content_range;
    std::optional<std::uint64_t> content_length;
    std::string content_encoding;       ///< lower case
    std::vector<std::string> locations; ///< usually one; a broken server may send several
    std::string etag;
    std::string last_modified;

    /// Whether it redirects the client to another address.
    bool redirects() const { return status >= 300 && status < 400 && !locations.empty(); }
    /// Whether its body is the complete file.
    bool has_whole_file() const { return status == 200 || status == 203; }
    /// What identifies this version of the file in an If-Range field: a strong ETag, otherwise
    /// the time of the last modification; empty without either.
    std::string validator() const;
    /// Whether any of the addresses is an http one.
    bool redirects_to_http() const;

    /// Of a repeated field the last value counts, but every location does.
    /// \param name  one of `field_names`
    void set_field(std::string_view name, std::string_view value);
};

/// The result of a transfer: libcurl's result code, and a message for the user when it isn't 0.
struct CURL_OUTCOME
{
    int curl_code = 0;
    std::string error;
};

/// What is known about the size of the complete file before the server responds, in bytes.
struct CURL_FILE_SIZE
{
    std::uint64_t expected = 0; ///< 0: unknown
    std::uint64_t limit = 0;    ///< of a file whose size is unknown; 0: none

    /// The number of bytes that are ever written.
    std::uint64_t most() const;
    /// Whether a file of this size may be the one that is fetched. The result code of one that is
    /// too short is that of an incomplete transfer.
    CURL_OUTCOME judge_offer(std::uint64_t total) const;
    /// Of a body that goes on after `most()` bytes.
    CURL_OUTCOME too_long() const;
    /// Of a body that ends properly, after which the file has this many bytes.
    CURL_OUTCOME judge_end(std::uint64_t bytes) const;
};

/// What to do with the body of the response to a request that starts at `offset`.
struct CURL_BODY_DECISION
{
    enum class ACTION
    {
        write,         ///< append it after skipping `skip` bytes
        already_whole, ///< the file on disk is complete: end the transfer successfully
        refuse         ///< end the transfer with an error
    };

    ACTION action = ACTION::write;
    std::uint64_t skip = 0;
    std::optional<std::uint64_t> total; ///< the size of the complete file according to the server
    CURL_OUTCOME refusal;               ///< the reason of a refusal
};

/// Called at the first byte of a body. Not called for responses with a status of 400 or above.
CURL_BODY_DECISION curl_decide_on_body(const CURL_RESPONSE_HEAD& head, std::uint64_t offset,
                                       const CURL_FILE_SIZE& size);

/// The same for a piece of the file that begins after its start: only that piece of that version of
/// the file is accepted.
CURL_BODY_DECISION curl_decide_on_piece(const CURL_RESPONSE_HEAD& head, std::uint64_t offset,
                                        const CURL_FILE_SIZE& size, const std::string& validator);

/// Determines the result of a transfer whose body was not refused and whose file has not reached
/// its expected size.
///
/// \param result    libcurl's result
/// \param skipped   bytes of the body skipped; equals `offset` when everything that was on disk was
///                  skipped
/// \param had_body  whether the decision on a body was made
CURL_OUTCOME curl_judge_end(const CURL_OUTCOME& result, const CURL_RESPONSE_HEAD& head,
                            const CURL_FILE_SIZE& size, std::uint64_t offset, std::uint64_t skipped,
                            bool had_body);
