#pragma once

#include "tests/harness/child_process.h"

#include <cstdint>
#include <memory>

/// A server program that listens on a loopback port. Another process may take a free port before
/// the server binds it, so the start is retried with other ports until the server has one.
class SERVER_PROCESS final
{
public:
    /// \param setup_for  writes the configuration for a port and returns what to run
    explicit SERVER_PROCESS(const std::function<CHILD_SETUP(std::uint16_t port)>& setup_for);
    /// Sends SIGTERM, and kills the server if it is still running after three seconds.
    ~SERVER_PROCESS();
    SERVER_PROCESS(const SERVER_PROCESS&) = delete;
    SERVER_PROCESS& operator=(const SERVER_PROCESS&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] CHILD_PROCESS& child() { return *m_child; }

private:
    std::uint16_t m_port = 0;
    std::unique_ptr<CHILD_PROCESS> m_child;
};

/// Waits until a line of the file contains the text; false if the time limit is reached. For a
/// server's log.
bool wait_for_line(const std::filesystem::path& file, std::string_view text,
                   std::chrono::milliseconds timeout);
