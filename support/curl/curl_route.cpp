#include "support/curl/curl_route.h"

#include "support/curl/curl_base_connection.h"
#include "support/curl/curl_logger.h"
#include "support/curl/curl_plain_text.h"
#include "support/curl/curl_proxy_auth.h"
#include "support/curl/curl_proxy_environment.h"
#include "support/curl/curl_redact.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr long redirect_limit = 10;

/// libcurl drops a proxy whose address has these, and then connects directly.
bool has_control_characters(const std::string& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
}

}

CURL_ROUTE::CURL_ROUTE(std::string url, const CURL_CONNECTION_SETTINGS& settings)
    : m_url(std::move(url)), m_settings(settings), m_redirects_left(redirect_limit)
{
}

void CURL_ROUTE::set_options(CURL_OPTIONS& options)
{
    m_proxy = curl_proxy_for(m_url, m_settings.proxy);
    log_proxy();
    options.set(CURLOPT_URL, m_url.c_str());
    options.set(CURLOPT_MAXREDIRS, m_redirects_left);
    options.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // Both are set in any case, so that libcurl doesn't read the environment itself.
    options.set(CURLOPT_PROXY, curl_proxy_url(m_proxy).c_str());
    options.set(CURLOPT_NOPROXY, "");
    options.set(CURLOPT_PROXYUSERPWD, static_cast<const char*>(nullptr));
    if (has_control_characters(m_proxy.host() + m_proxy.username() + m_proxy.password()))
        options.refuse({CURLE_COULDNT_RESOLVE_PROXY,
                        "The address, user name or password of the proxy has control characters"});
    m_offered_auth = 0;
    const CURL_PROXY_LOGINS* const logins = m_settings.logins;
    m_auth = has_user() && logins != nullptr && logins->accepted_by == m_proxy.address()
                 ? logins->accepted_schemes
                 : curl_first_proxy_auth();
    options.set(CURLOPT_PROXYAUTH, m_auth);
}

bool CURL_ROUTE::has_user() const
{
    // A host that --proxy names may contain credentials.
    return m_proxy.has_host() &&
           (!m_proxy.username().empty() || m_proxy.host().find('@') != std::string::npos);
}

bool CURL_ROUTE::is_login_refused() const
{
    return has_user() && m_settings.logins != nullptr &&
           m_settings.logins->refused_by == m_proxy.address();
}

bool CURL_ROUTE::is_login_untried() const
{
    return has_user() && m_settings.logins != nullptr &&
           m_settings.logins->accepted_by != m_proxy.address() && !is_login_refused();
}

void CURL_ROUTE::note_response()
{
    if (is_login_untried())
        *m_settings.logins = {m_proxy.address(), m_auth, m_settings.logins->refused_by};
}

void CURL_ROUTE::log_proxy() const
{
    if (m_settings.logger == nullptr || m_proxy.source().empty())
        return;
    const std::string address = curl_plain_text(curl_redact(m_proxy.address()));
    m_settings.logger->debug("%s: %s (%s)", curl_host_and_port(m_url),
                             address.empty() ? "no proxy" : "through the proxy " + address,
                             m_proxy.source());
}

bool CURL_ROUTE::leaves_by(const CURL_RESPONSE_HEAD& head, CURL* handle, const std::string& here)
{
    long followed = 0;
    curl_easy_getinfo(handle, CURLINFO_REDIRECT_COUNT, &followed);
    std::string target = curl_absolute_url(here, head.locations.front());
    if (followed >= m_redirects_left ||
        (!curl_has_scheme(target, "http") && !curl_has_scheme(target, "https")))
        return false; // libcurl reports the error
    const CURL_PROXY_INFO next = curl_proxy_for(target, m_settings.proxy);
    if (next.address() == m_proxy.address() && next.username() == m_proxy.username() &&
        next.password() == m_proxy.password())
        return false;
    m_redirects_left -= followed + 1;
    m_url = std::move(target);
    return true;
}

bool CURL_ROUTE::is_login_required(const CURL_EXCHANGE& exchange) const
{
    const int status = exchange.status != 0 ? exchange.status : exchange.connect_status;
    return m_proxy.has_host() && status == curl_proxy_authentication_required;
}

bool CURL_ROUTE::try_another_login(CURL* handle, CURL_OPTIONS& options)
{
    // To a wrong password, a proxy may answer with the refused scheme alone.
    m_offered_auth |= curl_offered_proxy_auth(handle);
    m_auth = curl_next_proxy_auth(m_auth, m_offered_auth, has_user());
    if (m_auth == 0)
    {
        if (has_user() && m_settings.logins != nullptr)
            m_settings.logins->refused_by = m_proxy.address();
        return false;
    }
    options.set(CURLOPT_PROXYAUTH, m_auth);
    if (!has_user()) // libcurl uses a ticket only for a user, who may have no name
        options.set(CURLOPT_PROXYUSERPWD, ":");
    return true;
}

std::string CURL_ROUTE::offered_schemes() const
{
    return curl_auth_names(m_offered_auth);
}
