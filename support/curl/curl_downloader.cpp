#include "support/curl/curl_downloader.h"

#include "support/curl/curl_download_loop.h"

#include <algorithm>
#include <utility>

namespace
{

CURL_CONNECTION_SETTINGS settings_of(const char* name, const CURL_PROXY_INFO& proxy, bool trace,
                                     long connect_seconds)
{
    CURL_CONNECTION_SETTINGS settings;
    settings.name = name;
    settings.proxy = proxy;
    settings.trace = trace;
    settings.connect_timeout = std::chrono::seconds(connect_seconds);
    return settings;
}

}

CURL_DOWNLOADER::CURL_DOWNLOADER(const char* name, const CURL_PROXY_INFO& proxy, bool trace,
                                 long connect_seconds)
    : CURL_BASE_CONNECTION(settings_of(name, proxy, trace, connect_seconds))
{
}

CURL_DOWNLOADER::~CURL_DOWNLOADER()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

void CURL_DOWNLOADER::set_progress_callback(CURL_PROGRESS_CALLBACK callback)
{
    m_settings.progress_callback = callback;
}

void CURL_DOWNLOADER::set_file_end_callback(std::function<void()> callback)
{
    m_on_file_end = std::move(callback);
}

void CURL_DOWNLOADER::add_file(const std::string& url, const std::string& path,
                               CURL_PROGRESS_DATA* data, std::uint64_t expected_size)
{
    m_queue.push_back({url, path, data, expected_size});
}

void CURL_DOWNLOADER::download_files(int parallel, bool wait)
{
    if (m_thread.joinable())
        m_thread.join();
    m_complete = false;
    m_thread = std::thread([this, count = static_cast<std::size_t>(std::max(parallel, 1))]
                           { run(count); });
    if (!wait)
        return;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_complete.load(); });
}

int CURL_DOWNLOADER::download_one_file(const std::string& url, const std::string& path,
                                       CURL_PROGRESS_DATA* data)
{
    add_file(url, path, data);
    download_files(1, true);
    return data->http_code;
}

void CURL_DOWNLOADER::run(std::size_t parallel)
{
    CURL_DOWNLOAD_LOOP loop(m_settings,
                            [this](const CURL_FILE_DOWNLOAD& file) { count_file(file); });
    loop.run(std::exchange(m_queue, {}), parallel, m_stop);
    {
        const std::lock_guard lock(m_mutex);
        m_complete = true;
        m_changed.notify_all();
    }
    if (m_on_file_end)
        m_on_file_end();
}

CURL_FAILURE CURL_DOWNLOADER::failure_of(const CURL_PROGRESS_DATA* data) const
{
    const auto found = m_ends.find(data);
    return found != m_ends.end() ? found->second.failure : CURL_FAILURE();
}

std::optional<std::chrono::nanoseconds>
CURL_DOWNLOADER::request_time(const CURL_PROGRESS_DATA* data) const
{
    const auto found = m_ends.find(data);
    return found != m_ends.end() ? found->second.request_time : std::nullopt;
}

void CURL_DOWNLOADER::count_file(const CURL_FILE_DOWNLOAD& file)
{
    m_ends[file.data()] = {file.failure(), file.duration()};
    ++m_finished;
    if (m_on_file_end)
        m_on_file_end();
}
