#pragma once

#include "tests/harness/fault.h"
#include "tests/harness/socket.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct FAULT_ANSWER;

struct HTTP_REQUEST
{
    std::string method;
    std::string path;   ///< without scheme and host; for CONNECT, the host and port
    std::string target; ///< as sent
    std::map<std::string, std::string> headers; ///< by lower-case name
    std::chrono::steady_clock::time_point at;

    /// Empty if the header wasn't sent; the name is case-insensitive.
    [[nodiscard]] std::string header(std::string name) const;
    [[nodiscard]] std::string range() const { return header("range"); }
};

/// An HTTP server in this process on a loopback port, with one thread per connection. Apart from
/// the configured faults it is correct: HEAD, ranges, 416, 404, keep-alive. To act as a proxy, it
/// answers absolute addresses by their path, and CONNECT by "host:port".
///
/// All members may be called on any thread. The destructor ends every connection immediately.
class FAULT_SERVER final
{
public:
    FAULT_SERVER();
    ~FAULT_SERVER();
    FAULT_SERVER(const FAULT_SERVER&) = delete;
    FAULT_SERVER& operator=(const FAULT_SERVER&) = delete;

    /// Sets or replaces what a path ("/a.bin") serves: each fault in turn for its number of
    /// requests, then the correct response.
    void serve(const std::string& path, SERVED_BODY body, std::vector<FAULT> faults = {});
    /// Serves the files of a directory, each at "/" and its name, from memory.
    void serve_directory(const std::filesystem::path& directory);
    /// The ETag of a path that is already served; without one, If-Range is never satisfied.
    void set_etag(const std::string& path, const std::string& etag);
    /// Replaces the faults of a path that is already served.
    void set_faults(const std::string& path, std::vector<FAULT> faults);

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] std::string url(const std::string& path = "") const;

    /// In order of arrival; for one path, or for all.
    [[nodiscard]] std::vector<HTTP_REQUEST> requests(const std::string& path = "") const;
    [[nodiscard]] std::size_t request_count(const std::string& path = "") const;
    bool wait_for_requests(const std::string& path, std::size_t count,
                           std::chrono::milliseconds timeout) const;

    /// Body bytes of a path sent so far, over all requests.
    [[nodiscard]] std::uint64_t body_bytes(const std::string& path) const;
    bool wait_for_body_bytes(const std::string& path, std::uint64_t count,
                             std::chrono::milliseconds timeout) const;

    [[nodiscard]] std::size_t connection_count() const; ///< accepted so far
    [[nodiscard]] std::size_t peak_connections() const; ///< open at the same time
    [[nodiscard]] std::size_t peak_requests() const;    ///< being answered at the same time

private:
    struct ROUTE
    {
        SERVED_BODY body;
        std::vector<FAULT> faults;
        std::string etag = {};
    };
    class CONNECTION;

    void accept_all();
    FAULT_ANSWER answer_to(const HTTP_REQUEST& request);

    SOCKET_NUMBER m_listener = -1;
    WAKE_EVENT m_stop; ///< set by the destructor
    std::uint16_t m_port = 0;

    mutable std::mutex m_mutex; ///< guards all below: the test and every connection's thread use it
    mutable std::condition_variable m_changed;
    std::map<std::string, ROUTE> m_routes;
    std::vector<HTTP_REQUEST> m_requests;
    std::map<std::string, std::uint64_t> m_body_bytes;
    std::size_t m_accepted = 0, m_open = 0, m_peak_open = 0;
    std::size_t m_answering = 0, m_peak_answering = 0;

    std::list<std::thread> m_connections; ///< used only by the accepting thread until it has ended
    std::thread m_acceptor;
};
