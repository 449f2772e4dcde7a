#include "tests/harness/socks_server.h"

#include <algorithm>
#include <filesystem>

SOCKS_SERVER::SOCKS_SERVER()
{
    namespace fs = std::filesystem;
    // It writes its log as the unprivileged user that it changes to.
    m_dir.write("danted.log", "");
    fs::permissions(m_dir.path(), fs::perms::all);
    fs::permissions(m_dir / "danted.log", fs::perms::all);
    m_process = std::make_unique<SERVER_PROCESS>(
        [this](std::uint16_t port)
        {
            m_dir.write("danted.conf", "logoutput: " + m_dir.str() + "/danted.log\n" +
                                           "internal: 127.0.0.1 port = " + std::to_string(port) +
                                           "\n"
                                           "external: 127.0.0.1\n"
                                           "clientmethod: none\n"
                                           "socksmethod: none\n"
                                           "user.privileged: proxy\n"
                                           "user.unprivileged: proxy\n"
                                           "client pass { from: 0.0.0.0/0 to: 0.0.0.0/0 }\n"
                                           "socks pass { from: 0.0.0.0/0 to: 0.0.0.0/0\n"
                                           " log: connect }\n");
            return CHILD_SETUP{
                "danted",
                {"-f", m_dir.str() + "/danted.conf", "-p", m_dir.str() + "/danted.pid"},
                m_dir.path()};
        });
}

std::size_t SOCKS_SERVER::served_connections() const
{
    const std::vector<std::string> lines = read_lines(m_dir / "danted.log");
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [](const std::string& line) { return line.find("tcp/connect [") != std::string::npos; }));
}
