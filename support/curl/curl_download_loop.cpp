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
    : m_settings(settings), m_on_file_end(std::move(on_file_end)), m_multi(curl_multi_init()),
      m_flusher(&FIO_FLUSH_HANDLE::flush, [this] { curl_multi_wakeup(m_multi.get()); })
{
    m_settings.logins = &m_logins;
    if (m_settings.split_refusals == nullptr)
        m_settings.split_refusals = &m_split_refusals;
}

CURL_DOWNLOAD_LOOP::~CURL_DOWNLOAD_LOOP() = default;

void CURL_DOWNLOAD_LOOP::run(std::deque<CURL_REQUEST> queue, std::size_t parallel,
                             const std::atomic<bool>& stop)
{
    while (!queue.empty() || !m_files.empty())
    {
        if (stop)
            queue.clear();
        start_transfers(queue, parallel);
        receive();
        collect_finished();
        end_unwanted(stop);
        work_on_files(stop);
        hold_back();
        if (!m_files.empty())
            curl_multi_poll(m_multi.get(), nullptr, 0, nap(parallel), nullptr);
    }
}

/// Lets the transfers continue one after the other while the rate limit permits it. Each receives
/// at most one buffer before the limit is asked again, so that it is hardly exceeded.
void CURL_DOWNLOAD_LOOP::receive()
{
    perform();
    for (std::size_t i = 0; i < m_active.size() && may_receive(); ++i)
        if (m_active[m_turn++ % m_active.size()].transfer->resume())
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
    for (const CONNECTION& each : m_active)
        each.transfer->pause();
}

/// The longest time until something has to be done, in milliseconds.
int CURL_DOWNLOAD_LOOP::nap(std::size_t parallel) const
{
    if ((may_start(parallel) && file_in_need() != nullptr) ||
        std::any_of(m_files.begin(), m_files.end(),
                    [](const auto& file) { return file->has_work(); }))
        return 0;
    if (may_receive())
        return static_cast<int>(longest_nap.count());
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(
        m_settings.rate_limit->wait(CURL_TRANSFER::CLOCK::now()));
    return static_cast<int>(std::min(wait, longest_nap).count());
}

bool CURL_DOWNLOAD_LOOP::add(const CURL_TRANSFER& transfer)
{
    return m_multi != nullptr &&
           curl_multi_add_handle(m_multi.get(), transfer.handle()) == CURLM_OK;
}

bool CURL_DOWNLOAD_LOOP::may_start(std::size_t parallel) const
{
    return m_active.size() < parallel &&
           std::none_of(m_active.begin(), m_active.end(),
                        [](const auto& each) { return each.transfer->is_logging_in(); });
}

void CURL_DOWNLOAD_LOOP::start_transfers(std::deque<CURL_REQUEST>& queue, std::size_t parallel)
{
    while (may_start(parallel))
    {
        if (CURL_FILE_DOWNLOAD* const file = file_in_need())
        {
            start(*file, file->start_main_transfer());
        }
        else if (!queue.empty())
        {
            m_files.push_back(std::make_unique<CURL_FILE_DOWNLOAD>(std::move(queue.front()),
                                                                   m_settings, m_flusher));
            queue.pop_front();
        }
        else if (CURL_FILE_DOWNLOAD* const shared = file_to_share())
        {
            auto piece = shared->share();
            if (piece == nullptr)
                return; // its pieces have changed meanwhile
            start(*shared, std::move(piece));
        }
        else
        {
            return;
        }
    }
}

void CURL_DOWNLOAD_LOOP::start(CURL_FILE_DOWNLOAD& file, std::unique_ptr<CURL_TRANSFER> transfer)
{
    const bool is_prepared = transfer->prepare();
    if (is_prepared && add(*transfer))
    {
        m_active.push_back({&file, std::move(transfer)});
        return;
    }
    if (is_prepared)
        transfer->finish(CURLE_FAILED_INIT);
    file.take_end(*transfer);
    report_ended_files();
}

CURL_FILE_DOWNLOAD* CURL_DOWNLOAD_LOOP::file_in_need() const
{
    const auto file = std::find_if(m_files.begin(), m_files.end(),
                                   [](const auto& each) { return each->needs_main_transfer(); });
    return file != m_files.end() ? file->get() : nullptr;
}

CURL_FILE_DOWNLOAD* CURL_DOWNLOAD_LOOP::file_to_share() const
{
    CURL_FILE_DOWNLOAD* best = nullptr;
    for (const auto& file : m_files)
        if (file->bytes_to_share() > (best != nullptr ? best->bytes_to_share() : 0))
            best = file.get();
    return best;
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
    for (const CONNECTION& each : m_active)
        if (!each.transfer->keep_going(now) || stop || each.file->is_unwanted(*each.transfer))
            unwanted.push_back(each.transfer->handle());
    for (CURL* handle : unwanted)
        end_transfer(handle, CURLE_ABORTED_BY_CALLBACK);
}

void CURL_DOWNLOAD_LOOP::end_transfer(CURL* handle, CURLcode result)
{
    curl_multi_remove_handle(m_multi.get(), handle);
    const auto ended =
        std::find_if(m_active.begin(), m_active.end(),
                     [handle](const auto& each) { return each.transfer->handle() == handle; });
    if (ended->transfer->prepare_repeat(result) && add(*ended->transfer))
    {
        ended->transfer->start_repeat();
        return;
    }
    ended->transfer->finish(result);
    ended->file->take_end(*ended->transfer);
    m_active.erase(ended);
    report_ended_files();
}

void CURL_DOWNLOAD_LOOP::work_on_files(bool stop)
{
    for (const auto& file : m_files)
    {
        if (stop)
            file->stop();
        file->work();
    }
    report_ended_files();
}

void CURL_DOWNLOAD_LOOP::report_ended_files()
{
    const auto ended = std::stable_partition(m_files.begin(), m_files.end(),
                                             [](const auto& file) { return !file->has_ended(); });
    for (auto file = ended; file != m_files.end(); ++file)
        m_on_file_end(**file);
    m_files.erase(ended, m_files.end());
}
