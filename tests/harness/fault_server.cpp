#include "tests/harness/fault_server.h"

#include "tests/harness/fault_answer.h"
#include "tests/harness/loopback.h"
#include "tests/harness/socket.h"
#include "tests/harness/temp_dir.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <sstream>

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace
{

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

}

std::string HTTP_REQUEST::header(std::string name) const
{
    const auto found = headers.find(lower(std::move(name)));
    return found == headers.end() ? std::string() : found->second;
}

/// One accepted socket, on its own thread.
class FAULT_SERVER::CONNECTION final
{
public:
    CONNECTION(FAULT_SERVER& server, SOCKET_NUMBER socket) : m_server(server), m_socket(socket) {}

    void run()
    {
        while (const std::optional<HTTP_REQUEST> request = read_request())
        {
            const FAULT_ANSWER answer = note_and_answer(*request);
            const bool goes_on = send_answer(answer, *request);
            {
                const std::lock_guard lock(m_server.m_mutex);
                --m_server.m_answering;
            }
            if (!goes_on)
                break;
        }
        close_socket(m_socket);
        const std::lock_guard lock(m_server.m_mutex);
        --m_server.m_open;
    }

private:
    /// Waits until the socket is ready; false if the server stops or the time limit is reached.
    [[nodiscard]] bool await(READINESS readiness, milliseconds timeout = for_ever) const
    {
        return await_socket(m_socket, readiness, m_server.m_stop, timeout);
    }

    [[nodiscard]] bool pause(milliseconds duration) const
    {
        return pause_unless(m_server.m_stop, duration);
    }

    std::optional<HTTP_REQUEST> read_request()
    {
        std::size_t end;
        while ((end = m_received.find("\r\n\r\n")) == std::string::npos)
        {
            std::array<char, 8192> buffer;
            if (!await(READINESS::to_read) || m_received.size() > 1024 * 1024)
                return std::nullopt;
            const std::size_t got = receive_some(m_socket, buffer.data(), buffer.size());
            if (got == 0)
                return std::nullopt;
            m_received.append(buffer.data(), got);
        }
        std::istringstream head(m_received.substr(0, end + 2));
        m_received.erase(0, end + 4);

        HTTP_REQUEST request;
        request.at = std::chrono::steady_clock::now();
        std::string line;
        std::getline(head, line);
        std::istringstream(line) >> request.method >> request.target;
        const std::size_t scheme = request.target.find("://");
        const std::size_t slash =
            scheme == std::string::npos ? 0 : request.target.find('/', scheme + 3);
        request.path = slash == std::string::npos ? "/" : request.target.substr(slash);
        while (std::getline(head, line) && line.size() > 1)
        {
            const std::size_t colon = line.find(':');
            const std::size_t value = line.find_first_not_of(' ', colon + 1);
            if (colon != std::string::npos && value != std::string::npos)
                request.headers[lower(line.substr(0, colon))] =
                    line.substr(value, line.find_last_not_of("\r ") + 1 - value);
        }
        return request;
    }

    FAULT_ANSWER note_and_answer(const HTTP_REQUEST& request)
    {
        const std::lock_guard lock(m_server.m_mutex);
        m_server.m_requests.push_back(request);
        ++m_server.m_answering;
        m_server.m_peak_answering = std::max(m_server.m_peak_answering, m_server.m_answering);
        m_server.m_changed.notify_all();
        return m_server.answer_to(request);
    }

    bool send_all(const std::string& bytes) const
    {
        std::size_t sent = 0;
        while (sent < bytes.size())
        {
            if (!await(READINESS::to_write))
                return false;
            const std::optional<std::size_t> count =
                send_some(m_socket, bytes.data() + sent, bytes.size() - sent);
            if (!count)
                return false;
            sent += *count;
        }
        return true;
    }

    /// Whether the connection may take another request.
    bool send_answer(const FAULT_ANSWER& answer, const HTTP_REQUEST& request) const
    {
        if (answer.head == FAULT_ANSWER::HEAD::none)
            return await_peer();
        if (answer.head == FAULT_ANSWER::HEAD::slow_lines)
            return send_slow_head(answer.interval);
        if (answer.head != FAULT_ANSWER::HEAD::normal)
            return send_endless_head(answer.head == FAULT_ANSWER::HEAD::endless_line);
        if (answer.delay.count() > 0 && !pause(answer.delay))
            return false;
        if (!send_all(answer.head_text()))
            return false;
        if (request.method != "HEAD" && !send_body(answer, request.path))
            return false;
        switch (answer.end)
        {
        case FAULT_ANSWER::END::keep_alive:
            return lower(request.header("connection")) != "close";
        case FAULT_ANSWER::END::close:
            return close_orderly();
        case FAULT_ANSWER::END::reset:
            return reset();
        case FAULT_ANSWER::END::stall:
            return await_peer();
        }
        return false;
    }

    bool send_body(const FAULT_ANSWER& answer, const std::string& path) const
    {
        const std::uint64_t total = std::min(answer.length, answer.limit);
        for (std::uint64_t done = 0; done < total;)
        {
            if (done > 0 && answer.interval.count() > 0 && !pause(answer.interval))
                return false;
            const auto size = static_cast<std::size_t>(std::min(answer.step, total - done));
            const std::string bytes = answer.body.part(answer.offset + done, size);
            if (bytes.empty())
                break;
            if (!send_all(answer.chunked ? as_chunk(bytes) : bytes))
                return false;
            done += bytes.size();
            const std::lock_guard lock(m_server.m_mutex);
            m_server.m_body_bytes[path] += bytes.size();
            m_server.m_changed.notify_all();
        }
        const bool is_ended = answer.with_last_chunk && total == answer.length;
        return !answer.chunked || !is_ended || send_all("0\r\n\r\n");
    }

    static std::string as_chunk(const std::string& bytes)
    {
        std::ostringstream text;
        text << std::hex << bytes.size() << "\r\n" << bytes << "\r\n";
        return text.str();
    }

    bool send_endless_head(bool in_one_line) const
    {
        if (!send_all(in_one_line ? "HTTP/1.1 200 OK\r\nX-Filler: " : "HTTP/1.1 200 OK\r\n"))
            return false;
        const std::string line = "X-Filler: " + std::string(1012, 'x') + "\r\n";
        std::string block;
        for (int count = 0; count < 10; ++count)
            block += in_one_line ? std::string(1024, 'x') : line;
        while (send_all(block) && pause(milliseconds(1)))
        {
        }
        return false;
    }

    bool send_slow_head(milliseconds interval) const
    {
        bool is_sent = send_all("HTTP/1.1 200 OK\r\n");
        while (is_sent && pause(interval))
            is_sent = send_all("X-Filler: x\r\n");
        return false;
    }

    /// Waits until the other side closes.
    bool await_peer() const
    {
        std::array<char, 4096> buffer;
        while (await(READINESS::to_read) &&
               receive_some(m_socket, buffer.data(), buffer.size()) > 0)
        {
        }
        return false;
    }

    bool close_orderly() const
    {
        end_sending(m_socket);
        std::array<char, 4096> buffer;
        while (await(READINESS::to_read, milliseconds(5000)) &&
               receive_some(m_socket, buffer.data(), buffer.size()) > 0)
        {
        }
        return false;
    }

    /// A reset would drop data that is still queued, so that data is sent first.
    bool reset() const
    {
        for (int tries = 0; tries < 5000 && has_unsent_bytes(m_socket); ++tries)
        {
            if (!pause(milliseconds(1)))
                break;
        }
        make_close_a_reset(m_socket);
        return false;
    }

    FAULT_SERVER& m_server;
    SOCKET_NUMBER m_socket;
    std::string m_received;
};

FAULT_SERVER::FAULT_SERVER()
{
    std::tie(m_listener, m_port) = listen_on_loopback(64);
    m_acceptor = std::thread([this] { accept_all(); });
}

FAULT_SERVER::~FAULT_SERVER()
{
    m_stop.set();
    m_acceptor.join();
    for (std::thread& connection : m_connections)
        connection.join();
    close_socket(m_listener);
}

void FAULT_SERVER::accept_all()
{
    while (await_socket(m_listener, READINESS::to_read, m_stop))
    {
        const std::optional<SOCKET_NUMBER> socket = accept_connection(m_listener);
        if (!socket)
            continue;
        {
            const std::lock_guard lock(m_mutex);
            ++m_accepted;
            m_peak_open = std::max(m_peak_open, ++m_open);
        }
        m_connections.emplace_back([this, socket = *socket] { CONNECTION(*this, socket).run(); });
    }
}

/// Called with the mutex held.
FAULT_ANSWER FAULT_SERVER::answer_to(const HTTP_REQUEST& request)
{
    const auto found = m_routes.find(request.path);
    if (found == m_routes.end())
        return bad_answer("", "", FAULT::status(404, "<html>not here</html>"));
    ROUTE& route = found->second;
    const bool ranged = !request.range().empty();
    const auto fault =
        std::find_if(route.faults.begin(), route.faults.end(),
                     [ranged](const FAULT& candidate)
                     {
                         return candidate.remaining != 0 &&
                                (candidate.applies == FAULT::APPLIES::always ||
                                 (candidate.applies == FAULT::APPLIES::with_range) == ranged);
                     });
    const bool faulty = fault != route.faults.end();

    const std::string condition = request.header("if-range");
    const std::string range =
        condition.empty() || condition == route.etag ? request.range() : std::string();
    FAULT_ANSWER answer =
        faulty ? bad_answer(route.body, range, *fault) : good_answer(route.body, range);
    if (!route.etag.empty() && answer.code < 300)
        answer.headers.emplace_back("ETag", route.etag);
    if (faulty && fault->remaining > 0)
        --fault->remaining;
    return answer;
}

void FAULT_SERVER::serve(const std::string& path, SERVED_BODY body, std::vector<FAULT> faults)
{
    const std::lock_guard lock(m_mutex);
    m_routes.insert_or_assign(path, ROUTE{std::move(body), std::move(faults)});
}

void FAULT_SERVER::serve_directory(const fs::path& directory)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
    {
        if (entry.is_regular_file())
            serve("/" + entry.path().filename().string(), read_file(entry.path()));
    }
}

void FAULT_SERVER::set_etag(const std::string& path, const std::string& etag)
{
    const std::lock_guard lock(m_mutex);
    m_routes.at(path).etag = etag;
}

void FAULT_SERVER::set_faults(const std::string& path, std::vector<FAULT> faults)
{
    const std::lock_guard lock(m_mutex);
    m_routes.at(path).faults = std::move(faults);
}

std::string FAULT_SERVER::url(const std::string& path) const
{
    return loopback_url(m_port, path);
}

std::vector<HTTP_REQUEST> FAULT_SERVER::requests(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<HTTP_REQUEST> found;
    std::copy_if(m_requests.begin(), m_requests.end(), std::back_inserter(found),
                 [&path](const HTTP_REQUEST& request)
                 { return path.empty() || request.path == path; });
    return found;
}

std::size_t FAULT_SERVER::request_count(const std::string& path) const
{
    return requests(path).size();
}

bool FAULT_SERVER::wait_for_requests(const std::string& path, std::size_t count,
                                     milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout,
                              [&]
                              {
                                  const auto seen =
                                      std::count_if(m_requests.begin(), m_requests.end(),
                                                    [&path](const HTTP_REQUEST& request) {
                                                        return path.empty() || request.path == path;
                                                    });
                                  return static_cast<std::size_t>(seen) >= count;
                              });
}

std::uint64_t FAULT_SERVER::body_bytes(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_body_bytes.find(path);
    return found == m_body_bytes.end() ? 0 : found->second;
}

bool FAULT_SERVER::wait_for_body_bytes(const std::string& path, std::uint64_t count,
                                       milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout,
                              [&]
                              {
                                  const auto found = m_body_bytes.find(path);
                                  return found != m_body_bytes.end() && found->second >= count;
                              });
}

std::size_t FAULT_SERVER::connection_count() const
{
    const std::lock_guard lock(m_mutex);
    return m_accepted;
}

std::size_t FAULT_SERVER::peak_connections() const
{
    const std::lock_guard lock(m_mutex);
    return m_peak_open;
}

std::size_t FAULT_SERVER::peak_requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_peak_answering;
}
