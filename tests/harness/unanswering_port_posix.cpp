#include "tests/harness/unanswering_port.h"

#include "tests/harness/loopback.h"
#include "tests/harness/socket.h"
#include "tests/harness/temp_dir.h"

#include <algorithm>
#include <iomanip>
#include <netinet/in.h>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

UNANSWERING_PORT::UNANSWERING_PORT(std::uint16_t port)
{
    const auto [listener, bound_port] = listen_on_loopback(0, port);
    m_sockets.push_back(static_cast<int>(listener));
    m_port = bound_port;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    // A connection on loopback succeeds immediately; one that doesn't shows that the queue is full.
    for (int count = 0; count < 16; ++count)
    {
        const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        m_sockets.push_back(client);
        const bool connected =
            ::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        pollfd watched = {client, POLLOUT, 0};
        if (!connected && ::poll(&watched, 1, 200) == 0)
            return;
    }
    throw std::runtime_error("the queue of a listening socket never fills up");
}

UNANSWERING_PORT::~UNANSWERING_PORT()
{
    for (const int socket : m_sockets)
        ::close(socket);
}

bool UNANSWERING_PORT::has_caller() const
{
    // The kernel's table: slot, local address, remote address, state.
    std::ostringstream sought;
    sought << " 0100007F:" << std::hex << std::uppercase << std::setw(4) << std::setfill('0')
           << m_port << " 02 "; // SYN_SENT
    const std::vector<std::string> lines = read_lines("/proc/net/tcp");
    const auto connecting = std::count_if(lines.begin(), lines.end(),
                                          [text = sought.str()](const std::string& line)
                                          { return line.find(text) != std::string::npos; });
    return connecting > 1; // one of them is this object's last attempt
}

std::string UNANSWERING_PORT::url(const std::string& path) const
{
    return loopback_url(m_port, path);
}
