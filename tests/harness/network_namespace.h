#pragma once

#include <string>

/// A network of the test's own, with loopback alone, and its own /etc/hosts and /etc/resolv.conf.
/// The thread that makes it is inside until the object goes, and so is every process and thread
/// that it starts. Nothing of it is seen outside, or is left behind.
class NETWORK_NAMESPACE final
{
public:
    /// Why one can't be made here; empty when it can.
    static std::string obstacle();

    /// Throws std::runtime_error when it can't be made.
    NETWORK_NAMESPACE();
    ~NETWORK_NAMESPACE();
    NETWORK_NAMESPACE(const NETWORK_NAMESPACE&) = delete;
    NETWORK_NAMESPACE& operator=(const NETWORK_NAMESPACE&) = delete;

    /// The text of /etc/hosts, besides the line of localhost.
    void set_hosts(const std::string& lines);
    /// The text of /etc/resolv.conf, besides the name server, which refuses every question.
    void set_resolver(const std::string& lines);

    /// Adds an address to loopback whose port is out of reach for this user's processes; servers
    /// that gave up root's rights reach it.
    void add_guarded_address(const std::string& address, int port);

private:
    int m_network = -1; ///< what was left, to go back to
    int m_mounts = -1;
};
