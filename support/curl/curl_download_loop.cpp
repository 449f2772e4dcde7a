#include "support/curl/curl_download_loop.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr int longest_nap_ms = 100; // between two calls of the progress callback

}

CURL_DOWNLOAD_LOOP::CURL_DOWNLOAD_LOOP(const CURL_CONNECTION_SETTINGS& settings,
                                       END_CALLBACK on_file_end)
    : m_settings(settings), m_on_file_end(std::move(on_file_end)), m_multi(curl_multi_init())
{
}

CURL_DOWNLOAD_LOOP::~CURL_DOWNLOAD_LOOP() = default;

void CURL_DOWNLOAD_LOOP::run(std::deque<CURL_REQUEST> queue, std::size_t parallel,
                             const std::atomic<bool>& stop)
{
    if (m_multi == nullptr)
    {
        fail_all(std::move(queue));
        return;
    }
    while (!queue.empty() || !m_active.empty())
    {
        if (stop)
            queue.clear();
        start_transfers(queue, parallel);
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        collect_finished();
        end_unwanted(stop);
        if (!m_active.empty())
            curl_multi_poll(m_multi.get(), nullptr, 0, longest_nap_ms, nullptr);
    }
}

void CURL_DOWNLOAD_LOOP::fail_all(std::deque<CURL_REQUEST> queue)
{
    for (CURL_REQUEST& request : queue)
    {
        CURL_TRANSFER transfer(std::move(request), m_settings, m_flusher);
        transfer.finish(CURLE_FAILED_INIT);
        m_on_file_end(transfer);
    }
}

bool CURL_DOWNLOAD_LOOP::add(const CURL_TRANSFER& transfer)
{
    return curl_multi_add_handle(m_multi.get(), transfer.handle()) == CURLM_OK;
}

void CURL_DOWNLOAD_LOOP::start_transfers(std::deque<CURL_REQUEST>& queue, std::size_t parallel)
{
    while (m_active.size() < parallel && !queue.empty())
    {
        auto transfer =
            std::make_unique<CURL_TRANSFER>(std::move(queue.front()), m_settings, m_flusher);
        queue.pop_front();
        const bool is_prepared = transfer->prepare();
        if (is_prepared && add(*transfer))
        {
            m_active.push_back(std::move(transfer));
            continue;
        }
        if (is_prepared)
            transfer->finish(CURLE_FAILED_INIT);
        m_on_file_end(*transfer);
    }
}

void CURL_DOWNLOAD_LOOP::collect_finished()
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left))
    {
        if (message->msg == CURLMSG_DONE)
            end_transfer(message->easy_handle, message->data.result);
    }
}

void CURL_DOWNLOAD_LOOP::end_unwanted(bool stop)
{
    const auto now = CURL_TRANSFER::CLOCK::now();
    std::vector<CURL*> unwanted;
    for (const auto& transfer : m_active)
        if (!transfer->keep_going(now) || stop)
            unwanted.push_back(transfer->handle());
    for (CURL* handle : unwanted)
        end_transfer(handle, CURLE_ABORTED_BY_CALLBACK);
}

void CURL_DOWNLOAD_LOOP::end_transfer(CURL* handle, CURLcode result)
{
    curl_multi_remove_handle(m_multi.get(), handle);
    const auto ended =
        std::find_if(m_active.begin(), m_active.end(),
                     [handle](const auto& transfer) { return transfer->handle() == handle; });
    if ((*ended)->prepare_repeat(result) && add(**ended))
    {
        (*ended)->start_repeat();
        return;
    }
    (*ended)->finish(result);
    m_on_file_end(**ended);
    m_active.erase(ended);
}
