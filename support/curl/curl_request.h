#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct CURL_PROGRESS_DATA;

/// One file to fetch, or a piece of it. Texts are UTF-8; the record outlives the transfer.
struct CURL_REQUEST
{
    std::string url;
    std::string path;
    CURL_PROGRESS_DATA* data = nullptr;
    std::uint64_t expected_size = 0; ///< bytes of the complete file; 0: unknown
    /// Where the part in `path` begins in the complete file: 0, except for a piece.
    std::uint64_t begin = 0;
    /// Where that part ends; 0: with the complete file.
    std::uint64_t end = 0;
    /// Of a piece: what identifies the version of the complete file.
    std::string validator = {};
    /// Bytes in `path` from which received bytes are counted; otherwise those when it begins.
    std::optional<std::uint64_t> counted_from = {};

    bool is_piece() const { return !validator.empty(); }
};
