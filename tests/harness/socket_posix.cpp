#include "tests/harness/socket.h"

#include <cerrno>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

int descriptor(SOCKET_NUMBER socket)
{
    return static_cast<int>(socket);
}

}

WAKE_EVENT::WAKE_EVENT() : m_number(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WAKE_EVENT::~WAKE_EVENT()
{
    ::close(descriptor(m_number));
}

void WAKE_EVENT::set() const
{
    ::eventfd_write(descriptor(m_number), 1);
}

bool await_socket(SOCKET_NUMBER socket, READINESS readiness, const WAKE_EVENT& event,
                  std::chrono::milliseconds timeout)
{
    const short wanted = readiness == READINESS::to_read ? POLLIN : POLLOUT;
    pollfd watched[] = {{descriptor(socket), wanted, 0}, {descriptor(event.number()), POLLIN, 0}};
    while (::poll(watched, 2, static_cast<int>(timeout.count())) < 0)
    {
        if (errno != EINTR)
            return false;
    }
    return watched[1].revents == 0 && watched[0].revents != 0;
}

bool pause_unless(const WAKE_EVENT& event, std::chrono::milliseconds duration)
{
    pollfd watched = {descriptor(event.number()), POLLIN, 0};
    return ::poll(&watched, 1, static_cast<int>(duration.count())) == 0;
}

std::pair<SOCKET_NUMBER, std::uint16_t> listen_on_loopback(int backlog, std::uint16_t port)
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

std::optional<SOCKET_NUMBER> accept_connection(SOCKET_NUMBER listener)
{
    const int socket = ::accept4(descriptor(listener), nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0)
        return std::nullopt;
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

std::size_t receive_some(SOCKET_NUMBER socket, char* into, std::size_t size)
{
    const ssize_t got = ::recv(descriptor(socket), into, size, 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

std::optional<std::size_t> send_some(SOCKET_NUMBER socket, const char* bytes, std::size_t size)
{
    const ssize_t sent = ::send(descriptor(socket), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0)
        return static_cast<std::size_t>(sent);
    return errno == EAGAIN || errno == EINTR ? std::optional<std::size_t>(0) : std::nullopt;
}

bool has_unsent_bytes(SOCKET_NUMBER socket)
{
    int waiting = 0;
    return ::ioctl(descriptor(socket), SIOCOUTQ, &waiting) == 0 && waiting > 0;
}

void end_sending(SOCKET_NUMBER socket)
{
    ::shutdown(descriptor(socket), SHUT_WR);
}

void close_socket(SOCKET_NUMBER socket)
{
    ::close(descriptor(socket));
}

void make_close_a_reset(SOCKET_NUMBER socket)
{
    const linger at_once = {1, 0};
    ::setsockopt(descriptor(socket), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
}
