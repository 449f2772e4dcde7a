#pragma once

#include "tests/harness/server_process.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/test_authority.h"

struct NGINX_REDIRECT
{
    std::string path; ///< exactly this one, e.g. "/old.bin"
    int status = 302;
    std::string url; ///< absolute, or a path on this server
};

struct NGINX_OPTIONS
{
    std::filesystem::path root;         ///< the directory to serve
    std::uint64_t bytes_per_second = 0; ///< per connection; 0: no limit
    std::uint64_t unlimited_bytes = 0;  ///< sent at full speed before the limit applies
    std::vector<NGINX_REDIRECT> redirects = {};
    bool ranges = true;
    std::optional<CERTIFICATE> certificate = {}; ///< HTTPS if given
    bool outdated_tls = false;                   ///< only TLS 1.1
    std::vector<std::string> also_listen = {};   ///< further addresses, such as "127.0.0.1:80"
};

/// nginx on a loopback port, as one process of the current user. It accepts connections when the
/// constructor returns.
class NGINX_SERVER final
{
public:
    explicit NGINX_SERVER(const NGINX_OPTIONS& options);

    [[nodiscard]] std::uint16_t port() const { return m_process.port(); }
    [[nodiscard]] pid_t pid() { return m_process.child().pid(); }

    /// "http://127.0.0.1:PORT" with the path after it; https when there is a certificate.
    [[nodiscard]] std::string url(const std::string& path = "") const;

    /// One line per request, written after its response:
    ///     GET /a.bin 206 sent=1000 range="bytes=5-" auth="-" proxy_auth="-"
    [[nodiscard]] std::vector<std::string> access_log() const;
    [[nodiscard]] std::size_t count_in_access_log(std::string_view text) const;
    bool wait_for_access(std::string_view text, std::chrono::milliseconds timeout) const;

private:
    bool m_https;
    TEMP_DIR m_dir;
    SERVER_PROCESS m_process;
};
