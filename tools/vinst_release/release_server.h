#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct RELEASE_SERVER_SETTINGS
{
    std::string directory;
    std::string address = "127.0.0.1";
    int port = 0;           ///< 0: any free port
    std::uint64_t rate = 0; ///< bytes per second per connection; 0: unlimited
};

/// An HTTP server for the files in a directory: GET and HEAD, single ranges, many concurrent
/// connections, each with a small buffer whatever the file's size. It is meant for the author's own
/// machine and network, not for the public internet.
class RELEASE_SERVER final
{
public:
    RELEASE_SERVER();
    /// Stops it.
    ~RELEASE_SERVER();
    RELEASE_SERVER(const RELEASE_SERVER&) = delete;
    RELEASE_SERVER& operator=(const RELEASE_SERVER&) = delete;

    /// \param on_failure  called on another thread if the server ends without `stop`
    /// \return an error message; empty on success
    std::string start(const RELEASE_SERVER_SETTINGS& settings, std::function<void()> on_failure);

    /// Ends all transfers and waits until the last connection is closed, which takes about a
    /// second.
    void stop();

    /// "http://127.0.0.1:8080"; empty when the server is not running.
    [[nodiscard]] std::string url() const;

private:
    class IMPLEMENTATION;
    std::unique_ptr<IMPLEMENTATION> m_implementation;
};
