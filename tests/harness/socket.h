#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

/// A socket handle of the platform; the holder closes it.
using SOCKET_NUMBER = std::intptr_t;

/// Becomes readable permanently once set: other threads wait for it together with their sockets.
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

/// Waits until the socket is ready; false if the event is set or the time limit is reached.
bool await_socket(SOCKET_NUMBER socket, READINESS readiness, const WAKE_EVENT& event,
                  std::chrono::milliseconds timeout = for_ever);

/// Waits until the time limit; false if the event is set before.
bool pause_unless(const WAKE_EVENT& event, std::chrono::milliseconds duration);

/// Listens on a port of 127.0.0.1 (0: a free one); returns the socket and the port. Throws
/// std::runtime_error on failure.
std::pair<SOCKET_NUMBER, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port = 0);

/// Accepts the next connection; nothing if it is already closed. Sent data isn't delayed.
std::optional<SOCKET_NUMBER> accept_connection(SOCKET_NUMBER listener);

/// Bytes received; 0 at the end of the stream or after an error.
std::size_t receive_some(SOCKET_NUMBER socket, char* into, std::size_t size);

/// Bytes sent, without blocking: 0 if the buffer is full; nothing after an error.
std::optional<std::size_t> send_some(SOCKET_NUMBER socket, const char* bytes, std::size_t size);

/// Whether sent bytes are still unacknowledged, as far as the platform reports it.
bool has_unsent_bytes(SOCKET_NUMBER socket);

void end_sending(SOCKET_NUMBER socket);
void close_socket(SOCKET_NUMBER socket);

/// Makes closing the socket reset the connection.
void make_close_a_reset(SOCKET_NUMBER socket);
