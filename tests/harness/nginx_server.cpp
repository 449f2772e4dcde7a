#include "tests/harness/nginx_server.h"

#include <algorithm>
#include <unistd.h>

namespace
{

std::string configuration(const NGINX_OPTIONS& options, const std::filesystem::path& dir,
                          std::uint16_t port)
{
    const std::string here = dir.string();
    std::string text = "daemon off;\n"
                       // One process: it keeps root's rights to read private directories, and
                       // nothing outlives it.
                       "master_process off;\n"
                       "pid " +
                       here +
                       "/nginx.pid;\n"
                       "lock_file " +
                       here +
                       "/nginx.lock;\n"
                       "error_log " +
                       here +
                       "/error.log notice;\n"
                       "events { worker_connections 256; }\n"
                       "http {\n"
                       "default_type application/octet-stream;\n"
                       "sendfile on;\n"
                       "server_tokens off;\n";
    for (const char* const purpose : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        text += std::string(purpose) + "_temp_path " + here + "/" + purpose + ";\n";
    text += "log_format asked '$request_method $request_uri $status sent=$body_bytes_sent "
            "range=\"$http_range\" auth=\"$http_authorization\" "
            "proxy_auth=\"$http_proxy_authorization\"';\n"
            "access_log " +
            here +
            "/access.log asked;\n"
            "server {\n"
            "listen 127.0.0.1:" +
            std::to_string(port) + (options.certificate ? " ssl" : "") +
            ";\n"
            "server_name localhost;\n"
            "root \"" +
            options.root.string() + "\";\n";
    for (const std::string& place : options.also_listen)
        text += "listen " + place + ";\n";
    if (options.certificate)
        text += "ssl_certificate " + options.certificate->certificate.string() + ";\n" +
                "ssl_certificate_key " + options.certificate->key.string() + ";\n";
    if (options.outdated_tls)
        text += "ssl_protocols TLSv1.1;\n"
                "ssl_ciphers DEFAULT@SECLEVEL=0;\n";
    if (options.bytes_per_second > 0)
        text += "limit_rate " + std::to_string(options.bytes_per_second) + ";\n" +
                "limit_rate_after " + std::to_string(options.unlimited_bytes) + ";\n";
    if (!options.ranges)
        text += "max_ranges 0;\n";
    for (const NGINX_REDIRECT& redirect : options.redirects)
        text += "location = " + redirect.path + " { return " + std::to_string(redirect.status) +
                " \"" + redirect.url + "\"; }\n";
    return text + "}\n}\n";
}

}

NGINX_SERVER::NGINX_SERVER(const NGINX_OPTIONS& options)
    : m_https(options.certificate.has_value()),
      m_process(
          [&](std::uint16_t port)
          {
              m_dir.write("nginx.conf", configuration(options, m_dir.path(), port));
              m_dir.write("access.log", "");
              return CHILD_SETUP{"nginx",
                                 {"-p", m_dir.str(), "-e", m_dir.str() + "/error.log", "-c",
                                  m_dir.str() + "/nginx.conf"}};
          })
{
}

std::string NGINX_SERVER::url(const std::string& path) const
{
    return (m_https ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port()) + path;
}

std::vector<std::string> NGINX_SERVER::access_log() const
{
    return read_lines(m_dir / "access.log");
}

std::size_t NGINX_SERVER::count_in_access_log(std::string_view text) const
{
    const std::vector<std::string> lines = access_log();
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [text](const std::string& line) { return line.find(text) != std::string::npos; }));
}

bool NGINX_SERVER::wait_for_access(std::string_view text, std::chrono::milliseconds timeout) const
{
    return wait_for_line(m_dir / "access.log", text, timeout);
}
