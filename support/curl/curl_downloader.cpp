#include "support/curl/curl_downloader.h"

#include <algorithm>

namespace
{

constexpr int longest_nap_ms = 100; // between two looks at the progress callback

struct MULTI_DELETER
{
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

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

void CURL_DOWNLOADER::add_file(const std::string& url, const std::string& path,
                               CURL_PROGRESS_DATA* data)
{
    m_queue.push_back({url, path, data});
}

void CURL_DOWNLOADER::download_files(int parallel, bool wait)
{
    if (m_thread.joinable())
        m_thread.join();
    m_complete = false;
    m_thread = std::thread([this, parallel] { run(std::max(parallel, 1)); });
    if (!wait)
        return;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_complete.load(); });
}

void CURL_DOWNLOADER::wait_for_files(std::size_t finished_before, std::chrono::milliseconds at_most)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, at_most, [&] { return m_complete || m_finished > finished_before; });
}

int CURL_DOWNLOADER::download_one_file(const std::string& url, const std::string& path,
                                       CURL_PROGRESS_DATA* data)
{
    add_file(url, path, data);
    download_files(1, true);
    return data->http_code;
}

void CURL_DOWNLOADER::run(int parallel)
{
    const std::unique_ptr<CURLM, MULTI_DELETER> multi(curl_multi_init());
    TRANSFERS active;
    while (multi != nullptr && (!m_queue.empty() || !active.empty()))
    {
        if (m_stop)
            m_queue.clear();
        start_transfers(multi.get(), static_cast<std::size_t>(parallel), active);
        int running = 0;
        curl_multi_perform(multi.get(), &running);
        collect_finished(multi.get(), active);
        end_unwanted(multi.get(), active);
        if (!active.empty())
            curl_multi_poll(multi.get(), nullptr, 0, longest_nap_ms, nullptr);
    }
    const std::lock_guard lock(m_mutex);
    m_complete = true;
    m_changed.notify_all();
}

void CURL_DOWNLOADER::start_transfers(CURLM* multi, std::size_t parallel, TRANSFERS& active)
{
    while (active.size() < parallel && !m_queue.empty())
    {
        auto transfer = std::make_unique<CURL_TRANSFER>(std::move(m_queue.front()), m_settings);
        m_queue.pop_front();
        if (!transfer->prepare())
        {
            mark_finished();
            continue;
        }
        curl_multi_add_handle(multi, transfer->handle());
        active.push_back(std::move(transfer));
    }
}

void CURL_DOWNLOADER::collect_finished(CURLM* multi, TRANSFERS& active)
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &left))
    {
        if (message->msg == CURLMSG_DONE)
            end_transfer(multi, active, message->easy_handle, message->data.result);
    }
}

void CURL_DOWNLOADER::end_unwanted(CURLM* multi, TRANSFERS& active)
{
    const auto now = CURL_TRANSFER::CLOCK::now();
    std::vector<CURL*> unwanted;
    for (const auto& transfer : active)
        if (!transfer->keep_going(now) || m_stop)
            unwanted.push_back(transfer->handle());
    for (CURL* handle : unwanted)
        end_transfer(multi, active, handle, CURLE_ABORTED_BY_CALLBACK);
}

void CURL_DOWNLOADER::end_transfer(CURLM* multi, TRANSFERS& active, CURL* handle, CURLcode result)
{
    curl_multi_remove_handle(multi, handle);
    const auto ended =
        std::find_if(active.begin(), active.end(),
                     [handle](const auto& transfer) { return transfer->handle() == handle; });
    (*ended)->finish(result);
    active.erase(ended);
    mark_finished();
}

void CURL_DOWNLOADER::mark_finished()
{
    const std::lock_guard lock(m_mutex);
    ++m_finished;
    m_changed.notify_all();
}
