#pragma once

#include <cstdint>
#include <string>

/// "http://127.0.0.1:PORT" and the path.
std::string loopback_url(std::uint16_t port, const std::string& path);

/// A port of 127.0.0.1 that was free at the time of the call.
std::uint16_t free_port();
