#include "tests/harness/socket.h"

#include <stdexcept>

#include <winsock2.h>

namespace
{

/// Winsock must be started once and is never shut down.
void start_winsock()
{
    static const int failure = []
    {
        WSADATA data;
        return ::WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (failure != 0)
        throw std::runtime_error("Winsock cannot be started");
}

SOCKET handle(SOCKET_NUMBER socket)
{
    return static_cast<SOCKET>(socket);
}

sockaddr_in loopback_address(std::uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(port);
    return address;
}

std::uint16_t bind_to(SOCKET socket, std::uint16_t port)
{
    sockaddr_in address = loopback_address(port);
    int size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (socket == INVALID_SOCKET || ::bind(socket, plain, size) != 0 ||
        ::getsockname(socket, plain, &size) != 0)
        throw std::runtime_error("cannot bind a port of the loopback interface");
    return ::ntohs(address.sin_port);
}

}

/// A datagram that the socket sends to itself and that is never read.
WAKE_EVENT::WAKE_EVENT()
{
    start_winsock();
    const SOCKET socket = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    const sockaddr_in itself = loopback_address(bind_to(socket, 0));
    ::connect(socket, reinterpret_cast<const sockaddr*>(&itself), sizeof itself);
    m_number = static_cast<SOCKET_NUMBER>(socket);
}

WAKE_EVENT::~WAKE_EVENT()
{
    ::closesocket(handle(m_number));
}

void WAKE_EVENT::set() const
{
    ::send(handle(m_number), "!", 1, 0);
}

bool await_socket(SOCKET_NUMBER socket, READINESS readiness, const WAKE_EVENT& event,
                  std::chrono::milliseconds timeout)
{
    const SHORT wanted = readiness == READINESS::to_read ? POLLRDNORM : POLLWRNORM;
    WSAPOLLFD watched[] = {{handle(socket), wanted, 0}, {handle(event.number()), POLLRDNORM, 0}};
    return ::WSAPoll(watched, 2, static_cast<int>(timeout.count())) > 0 &&
           watched[1].revents == 0 && watched[0].revents != 0;
}

bool pause_unless(const WAKE_EVENT& event, std::chrono::milliseconds duration)
{
    WSAPOLLFD watched = {handle(event.number()), POLLRDNORM, 0};
    return ::WSAPoll(&watched, 1, static_cast<int>(duration.count())) == 0;
}

std::pair<SOCKET_NUMBER, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port)
{
    start_winsock();
    const SOCKET listener = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const std::uint16_t bound = bind_to(listener, port);
    if (::listen(listener, backlog) != 0)
        throw std::runtime_error("cannot listen on the loopback interface");
    return {static_cast<SOCKET_NUMBER>(listener), bound};
}

std::optional<SOCKET_NUMBER> accept_connection(SOCKET_NUMBER listener)
{
    const SOCKET socket = ::accept(handle(listener), nullptr, nullptr);
    if (socket == INVALID_SOCKET)
        return std::nullopt;
    u_long on = 1;
    ::ioctlsocket(socket, FIONBIO, &on);
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    return static_cast<SOCKET_NUMBER>(socket);
}

std::size_t receive_some(SOCKET_NUMBER socket, char* into, std::size_t size)
{
    const int got = ::recv(handle(socket), into, static_cast<int>(size), 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

std::optional<std::size_t> send_some(SOCKET_NUMBER socket, const char* bytes, std::size_t size)
{
    const int sent = ::send(handle(socket), bytes, static_cast<int>(size), 0);
    if (sent >= 0)
        return static_cast<std::size_t>(sent);
    return ::WSAGetLastError() == WSAEWOULDBLOCK ? std::optional<std::size_t>(0) : std::nullopt;
}

bool has_unsent_bytes(SOCKET_NUMBER)
{
    return false; // not available on this platform
}

void end_sending(SOCKET_NUMBER socket)
{
    ::shutdown(handle(socket), SD_SEND);
}

void close_socket(SOCKET_NUMBER socket)
{
    ::closesocket(handle(socket));
}

void make_close_a_reset(SOCKET_NUMBER socket)
{
    const linger at_once = {1, 0};
    ::setsockopt(handle(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&at_once),
                 sizeof at_once);
}
