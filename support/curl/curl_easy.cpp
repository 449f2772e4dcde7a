#include "support/curl/curl_easy.h"

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
