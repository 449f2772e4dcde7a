#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

/// A socket by the number that the platform gives it; whoever holds it closes it.
using SOCKET_NUMBER = std::intptr_t;

/// Becomes readable once and for all: what other threads wait for beside their own sockets.
class WAKE_EVENT final
{
public:
    WAKE_EVENT();
    ~WAKE_EVENT();
    WAKE_EVENT(const WAKE_EVENT&) = delete;
    WAKE_EVENT& operator=(const WAKE_EVENT&) = delete;

    void set() const;
    [[nodiscard]] SOCKET_NUMBER number() const { return m_number; }

private:
    SOCKET_NUMBER m_number;
};

enum class READINESS
{
    to_read,
    to_write
};

inline constexpr std::chrono::milliseconds for_ever{-1};

/// Until the socket is ready; false when the event is set or the time is over.
bool await_socket(SOCKET_NUMBER socket, READINESS readiness, const WAKE_EVENT& event,
                  std::chrono::milliseconds timeout = for_ever);

/// Until the time is over; false when the event is set before.
bool pause_unless(const WAKE_EVENT& event, std::chrono::milliseconds duration);

/// Listens on a port of 127.0.0.1, a free one for 0; the socket and the port. Throws
/// std::runtime_error when it can't.
std::pair<SOCKET_NUMBER, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port = 0);

/// The next connection; nothing when it has gone already. What it sends isn't held back.
std::optional<SOCKET_NUMBER> accept_connection(SOCKET_NUMBER listener);

/// Bytes received; 0 at the end of the stream or after an error.
std::size_t receive_some(SOCKET_NUMBER socket, char* into, std::size_t size);

/// Bytes sent, without waiting: 0 when there is no room just now; nothing after an error.
std::optional<std::size_t> send_some(SOCKET_NUMBER socket, const char* bytes, std::size_t size);

/// Whether bytes that were sent are still on their way, as far as the platform can tell.
bool has_unsent_bytes(SOCKET_NUMBER socket);

void end_sending(SOCKET_NUMBER socket);
void close_socket(SOCKET_NUMBER socket);

/// Closing the socket will reset the connection.
void make_close_a_reset(SOCKET_NUMBER socket);
