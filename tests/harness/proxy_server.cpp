#include "tests/harness/proxy_server.h"

#include <pwd.h>
#include <stdexcept>
#include <unistd.h>

namespace
{

/// squid refuses to run as root: it changes to this user from its package.
constexpr const char* squid_user = "proxy";

void give_to_squid(const TEMP_DIR& dir)
{
    if (::geteuid() != 0)
        return;
    const passwd* const entry = ::getpwnam(squid_user);
    if (entry == nullptr)
        throw std::runtime_error("no user for squid found: is its package installed?");
    for (const std::string& name : dir.tree())
    {
        if (::chown((dir / name).c_str(), entry->pw_uid, entry->pw_gid) != 0)
            throw std::runtime_error("cannot give " + name + " to squid");
    }
    if (::chown(dir.path().c_str(), entry->pw_uid, entry->pw_gid) != 0)
        throw std::runtime_error("cannot give a directory to squid");
}

}

PROXY_SERVER::PROXY_SERVER(PROXY_ENGINE engine, const std::string& user,
                           const std::string& password)
    : m_process(std::make_unique<SERVER_PROCESS>(
          [&](std::uint16_t port)
          {
              m_dir.write("access.log", "");
              return engine == PROXY_ENGINE::squid ? squid_setup(port, user, password)
                                                   : tinyproxy_setup(port, user, password);
          }))
{
}

CHILD_SETUP PROXY_SERVER::tinyproxy_setup(std::uint16_t port, const std::string& user,
                                          const std::string& password) const
{
    std::string text = "Port " + std::to_string(port) + "\n" +
                       "Listen 127.0.0.1\n"
                       "Timeout 600\n"
                       "LogLevel Connect\n"
                       "LogFile \"" +
                       m_dir.str() +
                       "/access.log\"\n"
                       "PidFile \"" +
                       m_dir.str() +
                       "/tinyproxy.pid\"\n"
                       "MaxClients 100\n"
                       "Allow 127.0.0.1\n";
    if (!user.empty())
        text += "BasicAuth " + user + " " + password + "\n";
    m_dir.write("tinyproxy.conf", text);
    return {"tinyproxy", {"-d", "-c", m_dir.str() + "/tinyproxy.conf"}, m_dir.path()};
}

CHILD_SETUP PROXY_SERVER::squid_setup(std::uint16_t port, const std::string& user,
                                      const std::string& password) const
{
    const std::string here = m_dir.str();
    std::string text = "http_port 127.0.0.1:" + std::to_string(port) + "\n" + "pid_filename " +
                       here +
                       "/squid.pid\n"
                       "access_log stdio:" +
                       here +
                       "/access.log\n"
                       "cache_log " +
                       here +
                       "/cache.log\n"
                       "cache_store_log none\n"
                       "logfile_rotate 0\n"
                       "coredump_dir " +
                       here +
                       "\n"
                       "cache deny all\n"
                       "cache_mem 8 MB\n"
                       "memory_cache_shared off\n"
                       "pinger_enable off\n"
                       "visible_hostname localhost\n"
                       "buffered_logs off\n"
                       "shutdown_lifetime 0 seconds\n"
                       "dns_nameservers 127.0.0.1\n";
    if (::geteuid() == 0)
        text += std::string("cache_effective_user ") + squid_user + "\n";
    if (user.empty())
        text += "http_access allow all\n";
    else
    {
        const std::string hash = run_tool({"openssl", {"passwd", "-apr1", password}});
        m_dir.write("passwords", user + ":" + hash);
        text += "auth_param basic program /usr/lib/squid/basic_ncsa_auth " + here +
                "/passwords\n"
                "auth_param basic children 2 startup=1 idle=1\n"
                "auth_param basic realm a test\n"
                "acl known proxy_auth REQUIRED\n"
                "http_access allow known\n"
                "http_access deny all\n";
    }
    m_dir.write("squid.conf", text);
    give_to_squid(m_dir);
    // The service name makes the names of its shared memory unique.
    return {"squid",
            {"-N", "-n", "test" + std::to_string(port), "-f", here + "/squid.conf"},
            m_dir.path()};
}

std::string PROXY_SERVER::address() const
{
    return host() + ":" + std::to_string(port());
}

std::vector<std::string> PROXY_SERVER::access_log() const
{
    return read_lines(m_dir / "access.log");
}

bool PROXY_SERVER::wait_for_access(std::string_view text, std::chrono::milliseconds timeout) const
{
    return wait_for_line(m_dir / "access.log", text, timeout);
}
