#include "support/curl/curl_easy.h"

#include <memory>

void CURL_OPTIONS::check(CURLoption option, CURLcode result)
{
    if (result == CURLE_OK || m_refusal)
        return;
    const curl_easyoption* const description = curl_easy_option_by_id(option);
    const std::string name = description != nullptr ? description->name : std::to_string(option);
    m_refusal = CURL_OUTCOME{result, "libcurl refuses the option " + name + ": " +
                                         curl_easy_strerror(result)};
}

CURL_RESPONSE_HEAD curl_read_head(CURL* handle)
{
    constexpr int last_request = -1;
    CURL_RESPONSE_HEAD head;
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    head.status = static_cast<int>(status);
    for (const char* name : CURL_RESPONSE_HEAD::field_names)
    {
        curl_header* field = nullptr;
        for (std::size_t i = 0;
             curl_easy_header(handle, name, i, CURLH_HEADER, last_request, &field) == CURLHE_OK;
             ++i)
            head.set_field(name, field->value);
    }
    return head;
}

CURL_EXCHANGE curl_read_exchange(CURL* handle, int status)
{
    curl_off_t connect_time = 0; // microseconds
    curl_easy_getinfo(handle, CURLINFO_CONNECT_TIME_T, &connect_time);
    long connect_status = 0;
    curl_easy_getinfo(handle, CURLINFO_HTTP_CONNECTCODE, &connect_status);
    return {connect_time > 0, status, static_cast<int>(connect_status)};
}

std::string curl_proxy_url(const CURL_PROXY_INFO& proxy)
{
    const std::string address = proxy.address();
    if (!proxy.has_host() || proxy.username().empty())
        return address;
    const auto escaped = [](const std::string& text)
    {
        const std::unique_ptr<char, decltype(&curl_free)> result(
            curl_easy_escape(nullptr, text.c_str(), static_cast<int>(text.size())), &curl_free);
        return result == nullptr ? text : std::string(result.get());
    };
    const std::size_t mark = address.find("://");
    const std::size_t start = mark == std::string::npos ? 0 : mark + std::string("://").size();
    const std::size_t at = address.rfind('@');
    return address.substr(0, start) + escaped(proxy.username()) + ":" + escaped(proxy.password()) +
           "@" + address.substr(at == std::string::npos ? start : at + 1);
}

long curl_offered_proxy_auth(CURL* handle)
{
    long schemes = 0;
    curl_easy_getinfo(handle, CURLINFO_PROXYAUTH_AVAIL, &schemes);
    return schemes;
}

namespace
{

using URL = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

/// Null unless the text is a valid URL.
URL parse_url(const std::string& url)
{
    URL parsed(curl_url(), &curl_url_cleanup);
    if (parsed != nullptr && curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
        parsed.reset();
    return parsed;
}

std::string part_of(const URL& url, CURLUPart part)
{
    char* text = nullptr;
    if (curl_url_get(url.get(), part, &text, CURLU_DEFAULT_PORT) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
    return text;
}

}

std::string curl_host_of(const std::string& url)
{
    const URL parsed = parse_url(url);
    return parsed == nullptr ? "" : part_of(parsed, CURLUPART_HOST);
}

std::string curl_host_and_port(const std::string& url)
{
    const URL parsed = parse_url(url);
    return parsed == nullptr
               ? ""
               : part_of(parsed, CURLUPART_HOST) + ":" + part_of(parsed, CURLUPART_PORT);
}

std::string curl_absolute_url(const std::string& base, const std::string& reference)
{
    const URL parsed = parse_url(base);
    if (parsed == nullptr ||
        curl_url_set(parsed.get(), CURLUPART_URL, reference.c_str(), 0) != CURLUE_OK)
        return {};
    char* text = nullptr;
    if (curl_url_get(parsed.get(), CURLUPART_URL, &text, 0) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
    return text;
}
