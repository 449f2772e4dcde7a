#include "support/curl/curl_download_loop.h"

#include "support/curl/curl_rate_limit.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr std::chrono::milliseconds longest_nap{100}; // between two calls of the progress callback

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
        receive();
        collect_finished();
        end_unwanted(stop);
        hold_back();
        if (!m_active.empty())
            curl_multi_poll(m_multi.get(), nullptr, 0, nap(), nullptr);
    }
}

/// Lets the transfers continue one after the other while the rate limit permits it. Each receives
/// at most one buffer before the limit is asked again, so that it is hardly exceeded.
void CURL_DOWNLOAD_LOOP::receive()
{
    perform();
    for (std::size_t i = 0; i < m_active.size() && may_receive(); ++i)
        if (m_active[m_turn++ % m_active.size()]->resume())
            perform();
}

void CURL_DOWNLOAD_LOOP::perform()
{
    int running = 0;
    curl_multi_perform(m_multi.get(), &running);
}

bool CURL_DOWNLOAD_LOOP::may_receive() const
{
    return m_settings.rate_limit == nullptr ||
           m_settings.rate_limit->wait(CURL_TRANSFER::CLOCK::now()).count() == 0;
}

/// After the requests that have ended were collected, because those can't be paused.
void CURL_DOWNLOAD_LOOP::hold_back()
{
    if (may_receive())
        return;
    for (const auto& transfer : m_active)
        transfer->pause();
}

/// The longest time until something has to be done, in milliseconds.
int CURL_DOWNLOAD_LOOP::nap() const
{
    if (may_receive())
        return static_cast<int>(longest_nap.count());
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(
        m_settings.rate_limit->wait(CURL_TRANSFER::CLOCK::now()));
    return static_cast<int>(std::min(wait, longest_nap).count());
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
