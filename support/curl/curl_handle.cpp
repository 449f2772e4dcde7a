#include "support/curl/curl_handle.h"

#include "support/curl/curl_base_connection.h"
#include "support/curl/curl_logger.h"
#include "support/curl/curl_rate_limit.h"
#include "support/curl/curl_redact.h"
#include "support/curl/curl_tls.h"

namespace
{

constexpr std::size_t receive_buffer = 512 * 1024; // bytes

/// Writes libcurl's own trace to the log.
int on_trace(CURL*, curl_infotype type, char* text, std::size_t size, void* data)
{
    const char* direction = nullptr;
    switch (type)
    {
    case CURLINFO_TEXT:
        direction = "*";
        break;
    case CURLINFO_HEADER_IN:
        direction = "<";
        break;
    case CURLINFO_HEADER_OUT:
        direction = ">";
        break;
    default:
        return 0;
    }
    const auto& settings = *static_cast<const CURL_CONNECTION_SETTINGS*>(data);
    settings.logger->debug("%s%s %s", settings.name, direction,
                           curl_redact(std::string_view(text, size)));
    return 0;
}

}

bool CURL_HANDLE::create()
{
    m_handle.reset(curl_easy_init());
    return m_handle != nullptr;
}

void CURL_HANDLE::set_common_options(CURL_OPTIONS& options,
                                     const CURL_CONNECTION_SETTINGS& settings)
{
    options.set(CURLOPT_ERRORBUFFER, m_error_buffer.data());
    options.set(CURLOPT_NOSIGNAL, 1L);
    // A stop must not wait for a name server that doesn't respond.
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_USERAGENT, "vinst");
    options.set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(settings.connect_timeout.count()));
    options.set(CURLOPT_TCP_KEEPALIVE, 1L);
    // It can't be changed during a transfer. With a limit that is set later, more is received at
    // once, and less often.
    const std::size_t buffer = settings.rate_limit != nullptr
                                   ? settings.rate_limit->block(receive_buffer)
                                   : receive_buffer;
    options.set(CURLOPT_BUFFERSIZE, static_cast<long>(buffer));
    options.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    options.set(CURLOPT_FAILONERROR, 1L);

    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
    options.set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    options.set(CURLOPT_FOLLOWLOCATION, 1L);

    curl_set_tls_options(options);
    if (settings.trace && settings.logger != nullptr)
    {
        options.set(CURLOPT_VERBOSE, 1L);
        options.set(CURLOPT_DEBUGFUNCTION, &on_trace);
        options.set(CURLOPT_DEBUGDATA, &settings);
    }
}

/// Not by CURLOPT_RESUME_FROM: that fails on servers that don't support range requests.
void CURL_HANDLE::request_range(CURL_OPTIONS& options, std::uint64_t begin, std::uint64_t end)
{
    const std::string last = end != 0 ? std::to_string(end - 1) : std::string();
    options.set(CURLOPT_RANGE, (std::to_string(begin) + '-' + last).c_str());
}

void CURL_HANDLE::request_version(CURL_OPTIONS& options, const std::string& validator)
{
    m_headers.reset(curl_slist_append(nullptr, ("If-Range: " + validator).c_str()));
    options.set(CURLOPT_HTTPHEADER, m_headers.get());
}

CURL_OUTCOME CURL_HANDLE::outcome(CURLcode result) const
{
    if (result == CURLE_OK)
        return {};
    // The buffer's last byte is never written, so the text in it ends.
    return {result, m_error_buffer.front() != '\0' ? std::string(m_error_buffer.data())
                                                   : std::string(curl_easy_strerror(result))};
}
