#include "install/pac/pac_system.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace
{

/// The IP address as text, without a link-local zone; empty for other address families.
std::string numeric(const sockaddr& address)
{
    char text[INET6_ADDRSTRLEN] = "";
    if (address.sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr, text,
                  sizeof text);
    else if (address.sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text,
                  sizeof text);
    return text;
}

void append_new(std::vector<std::string>& addresses, const std::string& address)
{
    if (!address.empty() &&
        std::find(addresses.begin(), addresses.end(), address) == addresses.end())
        addresses.push_back(address);
}

/// An IP address for a datagram socket; nothing if the text is none.
struct DESTINATION
{
    sockaddr_storage address{};
    socklen_t size = 0;
};

std::optional<DESTINATION> destination(const std::string& text)
{
    const in_port_t any_port = htons(80);
    DESTINATION result;
    auto& ipv4 = reinterpret_cast<sockaddr_in&>(result.address);
    auto& ipv6 = reinterpret_cast<sockaddr_in6&>(result.address);
    if (inet_pton(AF_INET, text.c_str(), &ipv4.sin_addr) == 1)
    {
        ipv4.sin_family = AF_INET;
        ipv4.sin_port = any_port;
        result.size = sizeof ipv4;
    }
    else if (inet_pton(AF_INET6, text.c_str(), &ipv6.sin6_addr) == 1)
    {
        ipv6.sin6_family = AF_INET6;
        ipv6.sin6_port = any_port;
        result.size = sizeof ipv6;
    }
    return result.size == 0 ? std::nullopt : std::optional(result);
}

bool is_local_only(const sockaddr_storage& address)
{
    if (address.ss_family == AF_INET)
    {
        const std::uint32_t bits =
            ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr);
        constexpr std::uint32_t link_local = 0xa9fe; // 169.254.0.0/16
        return bits == INADDR_ANY || bits >> 24 == IN_LOOPBACKNET || bits >> 16 == link_local;
    }
    const in6_addr& bytes = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    return IN6_IS_ADDR_UNSPECIFIED(&bytes) || IN6_IS_ADDR_LOOPBACK(&bytes) ||
           IN6_IS_ADDR_LINKLOCAL(&bytes);
}

/// The address that the system would send from; empty without a route. Connecting a datagram socket
/// sends nothing.
std::string source_toward(const DESTINATION& target)
{
    const int socket = ::socket(target.address.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return {};
    sockaddr_storage source{};
    socklen_t size = sizeof source;
    const bool known =
        ::connect(socket, reinterpret_cast<const sockaddr*>(&target.address), target.size) == 0 &&
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&source), &size) == 0;
    ::close(socket);
    return known && !is_local_only(source) ? numeric(reinterpret_cast<const sockaddr&>(source))
                                           : std::string();
}

/// The source address of the route to one of the destinations of this family, else of the default
/// route; empty if there is none.
std::string source_address(int family, std::vector<std::string> toward)
{
    // Addresses that no network has, so that they are reached over the default route.
    toward.emplace_back(family == AF_INET ? "203.0.113.1" : "2001:db8::1");
    for (const std::string& text : toward)
    {
        const std::optional<DESTINATION> target = destination(text);
        if (!target || target->address.ss_family != family)
            continue;
        if (const std::string source = source_toward(*target); !source.empty())
            return source;
    }
    return {};
}

void append_interfaces(std::vector<std::string>& addresses)
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next)
    {
        const bool usable = entry->ifa_addr != nullptr && (entry->ifa_flags & IFF_UP) != 0 &&
                            (entry->ifa_flags & IFF_LOOPBACK) == 0;
        if (usable)
            append_new(addresses, numeric(*entry->ifa_addr));
    }
}

}

std::vector<std::string> pac_resolve(const std::string& name)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0)
        return {};
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(list, &freeaddrinfo);
    std::vector<std::string> addresses;
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next)
        append_new(addresses, numeric(*entry->ai_addr));
    return addresses;
}

std::vector<std::string> pac_own_addresses(const std::vector<std::string>& toward)
{
    std::vector<std::string> addresses;
    for (const int family : {AF_INET, AF_INET6})
        append_new(addresses, source_address(family, toward));
    append_interfaces(addresses);
    return addresses;
}
