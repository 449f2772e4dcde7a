#pragma once

#include "tests/harness/child_process.h"

#include <cstdint>
#include <memory>

/// A server program that listens on a loopback port. Another process may take a free port before
/// the server binds it, so the start is tried again with another port until the server has one.
class SERVER_PROCESS final
{
public:
    /// \param setup_for  writes the configuration for a port and tells what to run
    explicit SERVER_PROCESS(const std::function<CHILD_SETUP(std::uint16_t port)>& setup_for);
    /// Asks it to end with SIGTERM and gives it three seconds; then it is killed.
    ~SERVER_PROCESS();
    SERVER_PROCESS(const SERVER_PROCESS&) = delete;
    SERVER_PROCESS& operator=(const SERVER_PROCESS&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] CHILD_PROCESS& child() { return *m_child; }

private:
    std::uint16_t m_port = 0;
    std::unique_ptr<CHILD_PROCESS> m_child;
};

/// Until a line of the file holds the text; false when the time is over. For a server's log.
bool wait_for_line(const std::filesystem::path& file, std::string_view text,
                   std::chrono::milliseconds timeout);
