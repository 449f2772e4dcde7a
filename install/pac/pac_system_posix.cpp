#include "install/pac/pac_system.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <memory>

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

std::vector<std::string> pac_own_addresses(const std::vector<std::string>& /*toward*/)
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
    std::vector<std::string> addresses;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next)
    {
        const bool usable = entry->ifa_addr != nullptr && (entry->ifa_flags & IFF_UP) != 0 &&
                            (entry->ifa_flags & IFF_LOOPBACK) == 0;
        if (usable)
            append_new(addresses, numeric(*entry->ifa_addr));
    }
    return addresses;
}
