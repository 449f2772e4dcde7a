#pragma once

#include <cstdint>
#include <string>
#include <utility>

/// Listens on a port of 127.0.0.1, a free one for 0; the socket, which is the caller's, and the
/// port.
std::pair<int, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port = 0);

/// "http://127.0.0.1:PORT" and the path.
std::string loopback_url(std::uint16_t port, const std::string& path);

/// A port of 127.0.0.1 on which nobody listened a moment ago.
std::uint16_t free_port();
