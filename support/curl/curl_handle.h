#pragma once

#include "support/curl/curl_easy.h"

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct CURL_CONNECTION_SETTINGS;

/// The libcurl handle of one request, with the options that all requests have in common.
class CURL_HANDLE
{
public:
    /// \return false when libcurl can't create it
    bool create();
    CURL* get() const { return m_handle.get(); }

    /// \param settings  outlive the handle
    void set_common_options(CURL_OPTIONS& options, const CURL_CONNECTION_SETTINGS& settings);
    /// Requests a part of the file only.
    /// \param end  of that part; 0: with the file
    void request_range(CURL_OPTIONS& options, std::uint64_t begin, std::uint64_t end);
    /// Requests it only of the version of the file with this validator.
    void request_version(CURL_OPTIONS& options, const std::string& validator);

    /// Of a request that has ended.
    CURL_OUTCOME outcome(CURLcode result) const;
    /// To be called before the handle is used for another request.
    void forget_error() { m_error_buffer.front() = '\0'; }

private:
    struct EASY_DELETER
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct LIST_DELETER
    {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    std::vector<char> m_error_buffer = std::vector<char>(CURL_ERROR_SIZE);
    std::unique_ptr<curl_slist, LIST_DELETER> m_headers; ///< outlives the handle
    std::unique_ptr<CURL, EASY_DELETER> m_handle;
};
