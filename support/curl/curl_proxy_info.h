#pragma once

#include <string>

/// A proxy, and where it was found. With an empty host, each transfer uses the proxy variables of
/// the environment for its own address (`curl_proxy_for`), unless the value is `direct()`. Texts
/// are UTF-8.
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
    /// What named this proxy, or excluded the address from one, for messages: "--proxy",
    /// "https_proxy". May be empty.
    const std::string& source() const { return m_source; }

    /// Whether each transfer chooses its proxy from the environment. A host is then only the choice
    /// for one address.
    bool follows_environment() const
    {
        return m_follows_environment || (!has_host() && !m_is_direct);
    }
    /// Whether credentials were set after the construction. They replace those of a variable.
    bool has_added_credentials() const { return m_has_added_credentials; }

    void set_username(const std::string& username);
    void set_unecrypted_password(const std::string& password);
    void set_source(const std::string& source) { m_source = source; }
    void follow_environment() { m_follows_environment = true; }

    /// "host:port", as expected by libcurl.
    std::string address() const;

private:
    std::string m_host;
    std::string m_port;
    std::string m_username;
    std::string m_password;
    std::string m_source;
    bool m_is_direct = false;
    bool m_follows_environment = false;
    bool m_has_added_credentials = false;
};
