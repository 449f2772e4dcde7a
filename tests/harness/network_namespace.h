#pragma once

#include <string>

/// A private network with only loopback, and with separate /etc/hosts, /etc/resolv.conf and time
/// zone. The thread that creates it is inside until the object is destroyed, and so is every
/// process and thread that it starts. Nothing of it is visible outside or left behind.
class NETWORK_NAMESPACE final
{
public:
    /// Why one can't be created here; empty if it can.
    static std::string obstacle();

    /// Throws std::runtime_error on failure.
    NETWORK_NAMESPACE();
    ~NETWORK_NAMESPACE();
    NETWORK_NAMESPACE(const NETWORK_NAMESPACE&) = delete;
    NETWORK_NAMESPACE& operator=(const NETWORK_NAMESPACE&) = delete;

    /// Sets the text of /etc/hosts, in addition to the line for localhost.
    void set_hosts(const std::string& lines);
    /// Sets the text of /etc/resolv.conf, in addition to the name server, which refuses every
    /// query.
    void set_resolver(const std::string& lines);

    /// Adds an interface with an address and its network, such as "10.97.0.1/24".
    void add_interface(const std::string& network);

    /// Sets the system's time zone, such as "Europe/Berlin".
    void set_time_zone(const std::string& name);

    /// Adds an address to loopback whose port this user's processes can't reach; servers that have
    /// dropped root's rights can.
    void add_guarded_address(const std::string& address, int port);

    /// Adds a network interface, with an address such as "10.1.0.2/24".
    void add_interface(const std::string& name, const std::string& address);
    /// Sends datagrams for a network, such as "10.50.0.0/16" or "default", over an interface.
    void add_route(const std::string& network, const std::string& interface);

private:
    int m_network = -1; ///< the original namespace, to return to
    int m_mounts = -1;
};
