#include "tests/harness/silent_name_server.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr std::size_t header_size = 12; // bytes

/// The name in a query: labels, each after a byte with its length, up to an empty one.
std::string name_in(const std::string& query)
{
    std::string name;
    for (std::size_t at = header_size; at < query.size() && query[at] != '\0';)
    {
        const auto length = static_cast<unsigned char>(query[at]);
        name += (name.empty() ? "" : ".") + query.substr(at + 1, length);
        at += length + 1U;
    }
    return name;
}

}

SILENT_NAME_SERVER::SILENT_NAME_SERVER()
    : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        const std::string reason = std::strerror(errno);
        ::close(m_socket);
        throw std::runtime_error("port 53: " + reason);
    }
}

SILENT_NAME_SERVER::~SILENT_NAME_SERVER()
{
    ::close(m_socket);
}

std::vector<std::string> SILENT_NAME_SERVER::asked()
{
    std::string query(512, '\0');
    for (ssize_t size = 0; (size = ::recv(m_socket, query.data(), query.size(), 0)) >= 0;)
        m_asked.push_back(name_in(query.substr(0, static_cast<std::size_t>(size))));
    return m_asked;
}
