#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A loopback port to which connections never succeed: its queue is full and never emptied.
class UNANSWERING_PORT final
{
public:
    /// \param port  0: a free one
    explicit UNANSWERING_PORT(std::uint16_t port = 0);
    ~UNANSWERING_PORT();
    UNANSWERING_PORT(const UNANSWERING_PORT&) = delete;
    UNANSWERING_PORT& operator=(const UNANSWERING_PORT&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Whether anyone except this object is trying to connect to it.
    [[nodiscard]] bool has_caller() const;
    [[nodiscard]] std::string url(const std::string& path = "") const;

private:
    std::vector<int> m_sockets;
    std::uint16_t m_port = 0;
};
