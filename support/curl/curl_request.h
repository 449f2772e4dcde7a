#pragma once

#include <cstdint>
#include <string>

struct CURL_PROGRESS_DATA;

/// One file to fetch. Both texts are UTF-8; the record outlives the transfer.
struct CURL_REQUEST
{
    std::string url;
    std::string path;
    CURL_PROGRESS_DATA* data = nullptr;
    std::uint64_t expected_size = 0; ///< bytes of the complete file; 0: unknown
};
