#pragma once

#include "tests/harness/server_process.h"
#include "tests/harness/temp_dir.h"

#include <memory>

/// A SOCKS proxy, versions 4 and 5, on a loopback port. Needs root, whose rights it drops. It
/// accepts connections when the constructor returns.
class SOCKS_SERVER final
{
public:
    SOCKS_SERVER();

    [[nodiscard]] std::uint16_t port() const { return m_process->port(); }
    /// How many connections it has forwarded.
    [[nodiscard]] std::size_t served_connections() const;

private:
    TEMP_DIR m_dir;
    std::unique_ptr<SERVER_PROCESS> m_process;
};
