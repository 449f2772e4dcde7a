#pragma once

#include "support/curl/curl_easy.h"
#include "support/curl/curl_proxy_info.h"

#include <string>

struct CURL_CONNECTION_SETTINGS;

/// What transfers that run on one thread know of their logins. Repeated wrong ones would lock the
/// user's account.
struct CURL_PROXY_LOGINS
{
    std::string accepted_by;   ///< the proxy's address
    long accepted_schemes = 0; ///< that a request allowed which got through
    std::string refused_by;    ///< the address of a proxy that accepted no scheme
};

/// The way of a request: its address, the proxy for that, and how it logs in there. A redirect to
/// an address with another proxy and a refused login change it. Used by one thread.
class CURL_ROUTE
{
public:
    /// \param settings  outlive the route
    CURL_ROUTE(std::string url, const CURL_CONNECTION_SETTINGS& settings);

    /// Sets the address, the proxy and its first scheme of authentication.
    void set_options(CURL_OPTIONS& options);
    /// Of the last request; the environment's choice depends on the address.
    const CURL_PROXY_INFO& proxy() const { return m_proxy; }

    /// Whether the response redirects to an address for which the environment names another proxy.
    /// libcurl would keep the one that was set, so the next request has to go there.
    bool leaves_by(const CURL_RESPONSE_HEAD& head, CURL* handle, const std::string& here);
    /// Whether the proxy has refused every login that it offers.
    bool has_failed_login() const { return has_user() && m_auth == 0; }
    /// Whether the last response is a proxy's request for credentials.
    bool is_login_required(const CURL_EXCHANGE& exchange) const;
    /// Sets the next scheme that the proxy offers. \return false when none is left
    bool try_another_login(CURL* handle, CURL_OPTIONS& options);
    /// Whether another request has found that the proxy doesn't accept the login.
    bool is_login_refused() const;
    /// Whether it isn't known yet if the proxy accepts the login.
    bool is_login_untried() const;
    /// A response of the server has arrived through the proxy.
    void note_response();
    /// The names of the schemes in the proxy's requests for credentials.
    std::string offered_schemes() const;

private:
    bool has_user() const;
    void log_proxy() const;

    std::string m_url;
    const CURL_CONNECTION_SETTINGS& m_settings;
    CURL_PROXY_INFO m_proxy;
    long m_auth = 0;         ///< the schemes that the request allows
    long m_offered_auth = 0; ///< the schemes in the proxy's requests for credentials
    long m_redirects_left;
};
