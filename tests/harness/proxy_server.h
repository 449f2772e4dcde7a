#pragma once

#include "tests/harness/server_process.h"
#include "tests/harness/temp_dir.h"

class KERBEROS_REALM;

enum class PROXY_ENGINE
{
    tinyproxy,
    squid,
};

/// How clients log in to squid. It offers the schemes in this order.
struct SQUID_LOGIN
{
    std::string user;
    std::string password;
    bool negotiate = false; ///< never accepts a client, like one for another domain
    bool ntlm = false;      ///< the same
    bool digest = false;
    bool basic = false;
    std::string digest_password = {};      ///< if it differs from the password
    std::string also_listen = {};          ///< another address of this machine
    const KERBEROS_REALM* realm = nullptr; ///< Negotiate accepts the tickets of its users
};

/// An HTTP proxy on a loopback port that forwards to any server, including HTTPS by CONNECT. With a
/// user it requires these Basic credentials (tinyproxy's configuration doesn't allow % or # in
/// them). It accepts connections when the constructor returns.
class PROXY_SERVER final
{
public:
    explicit PROXY_SERVER(PROXY_ENGINE engine, const std::string& user = "",
                          const std::string& password = "");

    /// squid with other schemes than Basic.
    explicit PROXY_SERVER(const SQUID_LOGIN& login);

    [[nodiscard]] std::string host() const { return "127.0.0.1"; }
    [[nodiscard]] std::uint16_t port() const { return m_process->port(); }
    [[nodiscard]] pid_t pid() { return m_process->child().pid(); }
    /// "127.0.0.1:PORT"
    [[nodiscard]] std::string address() const;

    /// The log of the proxy program. Each request's line contains its method and address, as in
    /// "GET http://127.0.0.1:81/a" or "CONNECT 127.0.0.1:443"; squid's lines also contain the
    /// status, as in "TCP_DENIED/407", and are written after the response.
    [[nodiscard]] std::vector<std::string> access_log() const;
    bool wait_for_access(std::string_view text, std::chrono::milliseconds timeout) const;

private:
    CHILD_SETUP tinyproxy_setup(std::uint16_t port, const std::string& user,
                                const std::string& password) const;
    CHILD_SETUP squid_setup(std::uint16_t port, const SQUID_LOGIN& login) const;
    std::string login_settings(const SQUID_LOGIN& login) const;

    TEMP_DIR m_dir;
    std::unique_ptr<SERVER_PROCESS> m_process;
};
