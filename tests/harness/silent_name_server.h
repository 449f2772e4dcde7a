#pragma once

#include <string>
#include <vector>

/// A name server on port 53 of 127.0.0.1 that never answers, for a private network namespace.
class SILENT_NAME_SERVER final
{
public:
    /// Throws std::runtime_error on failure.
    SILENT_NAME_SERVER();
    ~SILENT_NAME_SERVER();
    SILENT_NAME_SERVER(const SILENT_NAME_SERVER&) = delete;
    SILENT_NAME_SERVER& operator=(const SILENT_NAME_SERVER&) = delete;

    /// The names that it has been asked for, in order. Each appears as often as queries arrived:
    /// one look-up asks for IPv4 and for IPv6 addresses.
    [[nodiscard]] std::vector<std::string> asked();

private:
    int m_socket;
    std::vector<std::string> m_asked;
};
