#pragma once

#include <string>

/// A proxy. With an empty host, transfers use the proxy variables of the environment, as libcurl
/// does by default, unless the value is `direct()`. Texts are UTF-8.
class CURL_PROXY_INFO
{
public:
    CURL_PROXY_INFO() = default;
    /// \param host  may have a scheme, as in "socks5://gate"; without one it is an HTTP proxy
    /// \param port  decimal; empty for the scheme's default
    CURL_PROXY_INFO(std::string host, std::string port, std::string username, std::string password);

    /// No proxy, even if the environment sets one.
    static CURL_PROXY_INFO direct();

    bool is_direct() const { return m_is_direct; }
    bool has_host() const { return !m_host.empty(); }
    const std::string& host() const { return m_host; }
    const std::string& port() const { return m_port; }
    const std::string& username() const { return m_username; }
    const std::string& password() const { return m_password; }

    void set_username(const std::string& username) { m_username = username; }
    void set_unecrypted_password(const std::string& password) { m_password = password; }

    /// "host:port", as expected by libcurl.
    std::string address() const;

private:
    std::string m_host;
    std::string m_port;
    std::string m_username;
    std::string m_password;
    bool m_is_direct = false;
};
