#include "tests/harness/loopback.h"

#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

std::pair<int, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || ::bind(listener, plain, sizeof address) != 0 ||
        ::listen(listener, backlog) != 0 || ::getsockname(listener, plain, &size) != 0)
        throw std::runtime_error("cannot listen on the loopback interface");
    return {listener, ntohs(address.sin_port)};
}

std::string loopback_url(std::uint16_t port, const std::string& path)
{
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

std::uint16_t free_port()
{
    const auto [listener, port] = listen_on_loopback(1);
    ::close(listener);
    return port;
}
