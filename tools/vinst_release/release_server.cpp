#include "tools/vinst_release/release_server.h"

#include "tools/vinst_release/release_served_dir.h"

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

constexpr std::size_t block_size = 256 * 1024;
constexpr std::size_t most_connections = 32;

std::string content_type(const std::string& path)
{
    const auto ends_with = [&](const std::string& ending)
    {
        return path.size() >= ending.size() &&
               path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
    };
    if (ends_with(".json"))
        return "application/json";
    return ends_with(".txt") ? "text/plain" : "application/octet-stream";
}

/// Limits the rate of one response.
class RATE_LIMIT
{
public:
    explicit RATE_LIMIT(std::uint64_t rate) : m_rate(rate) {}

    /// The number of bytes to send at once.
    [[nodiscard]] std::size_t block() const
    {
        constexpr std::uint64_t blocks_a_second = 20;
        if (m_rate == 0)
            return block_size;
        const std::uint64_t share = std::max<std::uint64_t>(m_rate / blocks_a_second, 1);
        return static_cast<std::size_t>(std::min<std::uint64_t>(share, block_size));
    }

    /// The time at which this many bytes may have been sent.
    [[nodiscard]] std::chrono::steady_clock::time_point due(std::uint64_t bytes) const
    {
        if (m_rate == 0)
            return m_start;
        const std::chrono::duration<double> time(static_cast<double>(bytes) /
                                                 static_cast<double>(m_rate));
        return m_start + std::chrono::duration_cast<std::chrono::steady_clock::duration>(time);
    }

private:
    const std::uint64_t m_rate;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}

class RELEASE_SERVER::IMPLEMENTATION
{
public:
    ~IMPLEMENTATION() { stop(); }

    std::string start(const RELEASE_SERVER_SETTINGS& settings, std::function<void()> on_failure)
    {
        const std::string fault = m_directory.open(settings.directory);
        if (!fault.empty())
            return fault;
        m_rate = settings.rate;
        set_up();
        const int port = bind(settings);
        if (port <= 0)
            return "cannot listen on " + settings.address + " port " +
                   std::to_string(settings.port) + ": " +
                   (errno != 0 ? std::strerror(errno) : "no such address");
        const bool is_ipv6 = settings.address.find(':') != std::string::npos;
        m_url = "http://" + (is_ipv6 ? '[' + settings.address + ']' : settings.address) + ':' +
                std::to_string(port);
        m_thread = std::thread([this, failed = std::move(on_failure)] { listen(failed); });
        return {};
    }

    void stop()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_stop_asked.notify_all();
        if (!m_thread.joinable())
            return;
        // A stop before the server accepts connections would be lost.
        while (!m_server.is_running() && !m_ended)
            std::this_thread::yield();
        m_server.stop();
        m_thread.join();
        m_url.clear();
    }

    [[nodiscard]] const std::string& url() const { return m_url; }

private:
    void set_up()
    {
        m_server.new_task_queue = [] { return new httplib::ThreadPool(most_connections); };
        // An idle connection delays the end of the server by this time.
        m_server.set_keep_alive_timeout(1);
        m_server.set_keep_alive_max_count(10000);
        m_server.set_write_timeout(std::chrono::minutes(5));
        m_server.set_tcp_nodelay(true);
        // The library's default would let two servers share a port unnoticed.
        m_server.set_socket_options(
            [](socket_t socket)
            {
                const int yes = 1;
                setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
            });
        m_server.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response)
            {
                answer(request, response);
                return httplib::Server::HandlerResponse::Handled;
            });
    }

    int bind(const RELEASE_SERVER_SETTINGS& settings)
    {
        errno = 0;
        if (settings.port == 0)
            return m_server.bind_to_any_port(settings.address);
        return m_server.bind_to_port(settings.address, settings.port) ? settings.port : -1;
    }

    void listen(const std::function<void()>& on_failure)
    {
        m_server.listen_after_bind();
        m_ended = true;
        if (!is_stopping() && on_failure)
            on_failure();
    }

    /// Runs on the connection's thread, like all functions below.
    void answer(const httplib::Request& request, httplib::Response& response)
    {
        if (request.method != "GET" && request.method != "HEAD")
        {
            response.status = 405;
            response.set_header("Allow", "GET, HEAD");
            // The rest of the request is not read.
            response.set_header("Connection", "close");
            return;
        }
        const std::shared_ptr<const RELEASE_SERVED_FILE> file = m_directory.open_file(request.path);
        if (!file)
        {
            response.status = 404;
            return;
        }
        response.set_header("Accept-Ranges", "bytes");
        response.set_header("ETag", file->entity_tag());
        RELEASE_BYTE_RANGE range{0, file->size()};
        response.status = 200;
        if (asks_for_range(request, *file))
        {
            const std::string total = std::to_string(file->size());
            const auto resolved = resolve_byte_range(request.ranges.front().first,
                                                     request.ranges.front().second, file->size());
            if (!resolved)
            {
                response.status = 416;
                response.set_header("Content-Range", "bytes */" + total);
                return;
            }
            range = *resolved;
            response.status = 206;
            response.set_header("Content-Range", "bytes " + std::to_string(range.offset) + '-' +
                                                     std::to_string(range.offset + range.size - 1) +
                                                     '/' + total);
        }
        // The library's own range handling trusts the client's numbers, so the ranges are removed.
        // The cast is safe because the library's object is not const.
        const_cast<httplib::Request&>(request).ranges.clear();
        if (range.size > 0)
            send(file, range, content_type(request.path), response);
    }

    /// The complete file is sent for a request with several ranges, or when If-Range shows that the
    /// file has changed.
    static bool asks_for_range(const httplib::Request& request, const RELEASE_SERVED_FILE& file)
    {
        return request.ranges.size() == 1 &&
               (request.ranges.front().first >= 0 || request.ranges.front().second >= 0) &&
               (!request.has_header("If-Range") ||
                request.get_header_value("If-Range") == file.entity_tag());
    }

    void send(const std::shared_ptr<const RELEASE_SERVED_FILE>& file,
              const RELEASE_BYTE_RANGE& range, const std::string& type, httplib::Response& response)
    {
        const auto limit = std::make_shared<RATE_LIMIT>(m_rate);
        const auto buffer = std::make_shared<std::vector<char>>(limit->block());
        response.set_content_provider(
            static_cast<std::size_t>(range.size), type,
            [this, file, begin = range.offset, limit, buffer](std::size_t sent, std::size_t rest,
                                                              httplib::DataSink& sink)
            {
                if (!wait_until(limit->due(sent)))
                    return false;
                const std::size_t wanted = std::min(rest, buffer->size());
                const std::size_t got = file->read_at(begin + sent, buffer->data(), wanted);
                return got > 0 && sink.write(buffer->data(), got);
            });
    }

    /// \return false if the server is stopping
    bool wait_until(std::chrono::steady_clock::time_point moment)
    {
        std::unique_lock lock(m_mutex);
        return !m_stop_asked.wait_until(lock, moment, [this] { return m_stopping; });
    }

    bool is_stopping()
    {
        const std::lock_guard lock(m_mutex);
        return m_stopping;
    }

    RELEASE_SERVED_DIR m_directory;
    std::uint64_t m_rate = 0;
    std::string m_url;
    httplib::Server m_server;
    std::thread m_thread;
    std::atomic<bool> m_ended = false; ///< written by the listening thread
    std::mutex m_mutex;
    std::condition_variable m_stop_asked;
    bool m_stopping = false; ///< guarded by the mutex; read by every connection's thread
};

RELEASE_SERVER::RELEASE_SERVER() : m_implementation(std::make_unique<IMPLEMENTATION>()) {}

RELEASE_SERVER::~RELEASE_SERVER() = default;

std::string RELEASE_SERVER::start(const RELEASE_SERVER_SETTINGS& settings,
                                  std::function<void()> on_failure)
{
    return m_implementation->start(settings, std::move(on_failure));
}

void RELEASE_SERVER::stop()
{
    m_implementation->stop();
}

std::string RELEASE_SERVER::url() const
{
    return m_implementation->url();
}
