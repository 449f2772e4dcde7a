#include "support/curl/curl_failure.h"

#include "support/curl/curl_progress_data.h"
#include "support/curl/curl_redact.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstring>

namespace
{

using KIND = CURL_FAILURE::KIND;

constexpr int first_error_status = 400;

/// libcurl has no result code of its own for a CONNECT that the proxy refuses.
bool is_refused_tunnel(const CURL_EXCHANGE& exchange)
{
    return exchange.status == 0 && exchange.connect_status >= first_error_status;
}

KIND kind_of(int curl_code, const CURL_EXCHANGE& exchange)
{
    switch (curl_code)
    {
    case CURLE_OK:
        return KIND::none;
    case CURLE_ABORTED_BY_CALLBACK:
        return KIND::stopped;
    case CURLE_HTTP_RETURNED_ERROR:
        return exchange.status == curl_proxy_authentication_required || is_refused_tunnel(exchange)
                   ? KIND::proxy_status
                   : KIND::http_status;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
        return KIND::connection;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return KIND::tls;
    case CURLE_OPERATION_TIMEDOUT:
        return exchange.is_connected ? KIND::other : KIND::connection;
    case CURLE_WRITE_ERROR:
        return KIND::write;
    default:
        return is_refused_tunnel(exchange) ? KIND::proxy_status : KIND::other;
    }
}

}

CURL_FAILURE curl_failure_of(const CURL_OUTCOME& outcome, const CURL_EXCHANGE& exchange)
{
    CURL_FAILURE failure;
    failure.kind = kind_of(outcome.curl_code, exchange);
    failure.reason = curl_redact(outcome.error);
    if (failure.kind == KIND::http_status || failure.kind == KIND::proxy_status)
        failure.status = exchange.status != 0 ? exchange.status : exchange.connect_status;
    return failure;
}

void curl_store_result(CURL_PROGRESS_DATA& data, const CURL_RESULT& result)
{
    const std::string text = curl_redact(result.outcome.error);
    const std::size_t length = std::min(text.size(), data.error_text.size() - 1);
    std::memcpy(data.error_text.data(), text.data(), length);
    data.error_text[length] = '\0';
    data.curl_code = result.outcome.curl_code;
    if (result.status > 0)
        data.http_code = result.status;
}
