#pragma once

#include <string>

/// A proxy to go through. An empty host names none: transfers then follow the environment's proxy
/// variables, as libcurl reads them, unless it is the value that means no proxy at all. Texts are
/// UTF-8.
class CURL_PROXY_INFO
{
public:
    CURL_PROXY_INFO() = default;
    /// \param host  may carry a scheme, as in "socks5://gate"; plain names mean an HTTP proxy
    /// \param port  decimal; empty for the scheme's own
    CURL_PROXY_INFO(std::string host, std::string port, std::string username, std::string password);

    /// No proxy, whatever the environment says.
    static CURL_PROXY_INFO direct();

    bool is_direct() const { return m_is_direct; }
    bool has_host() const { return !m_host.empty(); }
    const std::string& host() const { return m_host; }
    const std::string& port() const { return m_port; }
    const std::string& username() const { return m_username; }
    const std::string& password() const { return m_password; }

    void set_username(const std::string& username) { m_username = username; }
    void set_unecrypted_password(const std::string& password) { m_password = password; }

    /// "host:port", the form that libcurl takes.
    std::string address() const;

private:
    std::string m_host;
    std::string m_port;
    std::string m_username;
    std::string m_password;
    bool m_is_direct = false;
};
