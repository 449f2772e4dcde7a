#pragma once

#include "support/curl/curl_response.h"

#include <curl/curl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// The response to a request while it arrives: its head, and what is done with its body.
class CURL_ANSWER
{
public:
    enum class LINE
    {
        in_head,
        end_of_head,
        too_many ///< all heads of a chain of redirects are too long together
    };

    /// Takes a line of a head.
    LINE take_line(CURL* handle, std::string_view line);
    /// To be called when the request has ended: libcurl ends a transfer with an error status before
    /// the callback receives the end of the headers.
    void read_unended_head(CURL* handle);
    const CURL_RESPONSE_HEAD& head() const { return m_head; }

    /// Decided at the first byte of the body.
    void decide(CURL_BODY_DECISION decision) { m_decision = std::move(decision); }
    const std::optional<CURL_BODY_DECISION>& decision() const { return m_decision; }
    bool is_written() const;
    /// The size of the complete file according to the server; 0 while it is unknown.
    std::uint64_t total() const { return m_decision ? m_decision->total.value_or(0) : 0; }

    /// How many bytes at the start of this part of the body are on the disk already.
    std::size_t skip(std::size_t size);
    std::uint64_t skipped() const { return m_skipped; }

private:
    CURL_RESPONSE_HEAD m_head;
    bool m_is_in_head = false;    ///< its lines have begun and not ended
    std::size_t m_head_bytes = 0; ///< of all heads together
    std::optional<CURL_BODY_DECISION> m_decision;
    std::uint64_t m_skipped = 0; ///< bytes of the body
};
