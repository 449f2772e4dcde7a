#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct RELEASE_SERVER_SETTINGS
{
    std::string directory;
    std::string address = "127.0.0.1";
    int port = 0;           ///< 0: any free one
    std::uint64_t rate = 0; ///< bytes a second for each connection; 0: as fast as can be
};

/// An HTTP server for the files of a directory: GET and HEAD, single ranges, many connections at
/// once, each of which takes a small buffer whatever its file's size. It is made for an author's
/// own machine and network, not for the world.
class RELEASE_SERVER final
{
public:
    RELEASE_SERVER();
    /// Stops it.
    ~RELEASE_SERVER();
    RELEASE_SERVER(const RELEASE_SERVER&) = delete;
    RELEASE_SERVER& operator=(const RELEASE_SERVER&) = delete;

    /// \param on_failure  called on another thread if serving ends without `stop`
    /// \return what went wrong; empty when it serves
    std::string start(const RELEASE_SERVER_SETTINGS& settings, std::function<void()> on_failure);

    /// Ends every transfer and waits until the last connection is gone: about a second.
    void stop();

    /// "http://127.0.0.1:8080"; empty when it does not serve.
    [[nodiscard]] std::string url() const;

private:
    class IMPLEMENTATION;
    std::unique_ptr<IMPLEMENTATION> m_implementation;
};
