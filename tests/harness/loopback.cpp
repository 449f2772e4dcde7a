#include "tests/harness/loopback.h"

#include "tests/harness/socket.h"

std::string loopback_url(std::uint16_t port, const std::string& path)
{
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

std::uint16_t free_port()
{
    const auto [listener, port] = listen_on_loopback(1);
    close_socket(listener);
    return port;
}
