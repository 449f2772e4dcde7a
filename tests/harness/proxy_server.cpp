#include "tests/harness/proxy_server.h"

#include "tests/harness/kerberos_realm.h"

#include <filesystem>
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
              SQUID_LOGIN login{user, password};
              login.basic = !user.empty();
              return engine == PROXY_ENGINE::squid ? squid_setup(port, login)
                                                   : tinyproxy_setup(port, user, password);
          }))
{
}

PROXY_SERVER::PROXY_SERVER(const SQUID_LOGIN& login)
    : m_process(std::make_unique<SERVER_PROCESS>(
          [&](std::uint16_t port)
          {
              m_dir.write("access.log", "");
              return squid_setup(port, login);
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

std::string PROXY_SERVER::login_settings(const SQUID_LOGIN& login) const
{
    const std::string here = m_dir.str();
    const std::string helpers = "/usr/lib/squid/";
    std::string text;
    const auto add = [&text](const std::string& scheme, const std::string& program)
    {
        text += "auth_param " + scheme + " program " + program + "\n" + "auth_param " + scheme +
                " children 2 startup=1 idle=1\n";
    };
    // A helper reports in this way that it can't decide.
    m_dir.write("refuse", "#!/bin/sh\nwhile read -r request; do echo 'BH no'; done\n");
    std::filesystem::permissions(m_dir / "refuse", std::filesystem::perms::owner_all);
    if (login.realm != nullptr)
    {
        // The helper is run by squid's user, who can't read the realm's directory. Its cache of
        // replays would be a file outside of the test's directories.
        m_dir.write("krb5.conf", login.realm->configuration());
        std::filesystem::copy_file(login.realm->keytab(), m_dir / "keytab",
                                   std::filesystem::copy_options::overwrite_existing);
        add("negotiate", "/usr/bin/env KRB5_CONFIG=" + here +
                             "/krb5.conf KRB5RCACHENAME=none: " + helpers +
                             "negotiate_kerberos_auth -k " + here + "/keytab -s GSS_C_NO_NAME");
    }
    else if (login.negotiate)
        add("negotiate", here + "/refuse");
    if (login.ntlm)
        add("ntlm", here + "/refuse");
    if (login.digest)
    {
        m_dir.write("digest",
                    login.user + ":" +
                        (login.digest_password.empty() ? login.password : login.digest_password) +
                        "\n");
        add("digest", helpers + "digest_file_auth " + here + "/digest");
        text += "auth_param digest realm a test\n";
    }
    if (login.basic)
    {
        const std::string hash = run_tool({"openssl", {"passwd", "-apr1", login.password}});
        m_dir.write("passwords", login.user + ":" + hash);
        add("basic", helpers + "basic_ncsa_auth " + here + "/passwords");
        text += "auth_param basic realm a test\n";
    }
    return text.empty() ? "http_access allow all\n"
                        : text + "acl known proxy_auth REQUIRED\n"
                                 "http_access allow known\n"
                                 "http_access deny all\n";
}

CHILD_SETUP PROXY_SERVER::squid_setup(std::uint16_t port, const SQUID_LOGIN& login) const
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
    if (!login.also_listen.empty())
        text += "http_port " + login.also_listen + ":" + std::to_string(port) + "\n";
    if (::geteuid() == 0)
        text += std::string("cache_effective_user ") + squid_user + "\n";
    text += login_settings(login);
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
