#include "tests/harness/server_process.h"

#include "tests/harness/loopback.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <csignal>
#include <set>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{

constexpr auto poll_interval = std::chrono::milliseconds(5);

/// The inodes of the sockets that listen on a port, from the kernel's table: unlike a connection,
/// this leaves no trace in the server's log, and it identifies the socket's owner.
std::set<std::string> listening_inodes(std::uint16_t port)
{
    std::set<std::string> inodes;
    const std::vector<std::string> lines = read_lines("/proc/net/tcp");
    for (const std::string& line : lines)
    {
        std::istringstream words(line);
        std::string slot, local, remote, state, queues, timers, retransmits, user, timeout, inode;
        words >> slot >> local >> remote >> state >> queues >> timers >> retransmits >> user >>
            timeout >> inode;
        const std::size_t colon = local.find(':');
        if (state == "0A" && colon != std::string::npos &&
            std::stoul(local.substr(colon + 1), nullptr, 16) == port)
            inodes.insert(inode);
    }
    return inodes;
}

bool listens(pid_t pid, std::uint16_t port)
{
    const std::set<std::string> inodes = listening_inodes(port);
    if (inodes.empty())
        return false;
    std::error_code error;
    for (const fs::directory_entry& entry :
         fs::directory_iterator("/proc/" + std::to_string(pid) + "/fd", error))
    {
        const std::string target = fs::read_symlink(entry.path(), error).string();
        if (target.rfind("socket:[", 0) == 0 &&
            inodes.count(target.substr(8, target.size() - 9)) > 0)
            return true;
    }
    return false;
}

}

SERVER_PROCESS::SERVER_PROCESS(const std::function<CHILD_SETUP(std::uint16_t port)>& setup_for)
{
    std::string last_words;
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        m_port = free_port();
        const CHILD_SETUP setup = setup_for(m_port);
        m_child = std::make_unique<CHILD_PROCESS>(setup);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!m_child->wait(poll_interval) && std::chrono::steady_clock::now() < deadline)
        {
            if (listens(m_child->pid(), m_port))
                return;
        }
        last_words =
            setup.program.string() + " did not start: " + m_child->errors() + m_child->output();
    }
    throw std::runtime_error(last_words);
}

SERVER_PROCESS::~SERVER_PROCESS()
{
    m_child->send_signal(SIGTERM);
    m_child->wait(std::chrono::seconds(3));
}

bool wait_for_line(const fs::path& file, std::string_view text, std::chrono::milliseconds timeout)
{
    return wait_until(
        [&] { return fs::exists(file) && read_file(file).find(text) != std::string::npos; },
        timeout);
}
