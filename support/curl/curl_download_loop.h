#pragma once

#include "support/curl/curl_transfer.h"
#include "support/fio/fio_flusher.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

/// Processes a queue of requests on the calling thread, several at a time. Waiting requests are not
/// handed to libcurl yet, so that their connect timeout doesn't start.
class CURL_DOWNLOAD_LOOP
{
public:
    using END_CALLBACK = std::function<void(const CURL_TRANSFER&)>;

    /// \param on_file_end  called after each file that has ended, successfully or not
    CURL_DOWNLOAD_LOOP(const CURL_CONNECTION_SETTINGS& settings, END_CALLBACK on_file_end);
    ~CURL_DOWNLOAD_LOOP();

    /// \param stop  set by another thread to abort all transfers
    void run(std::deque<CURL_REQUEST> queue, std::size_t parallel, const std::atomic<bool>& stop);

private:
    struct MULTI_DELETER
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    void fail_all(std::deque<CURL_REQUEST> queue);
    bool add(const CURL_TRANSFER& transfer);
    void receive();
    void perform();
    bool may_receive() const;
    void hold_back();
    int nap() const;
    void start_transfers(std::deque<CURL_REQUEST>& queue, std::size_t parallel);
    void collect_finished();
    void end_unwanted(bool stop);
    void end_transfer(CURL* handle, CURLcode result);

    const CURL_CONNECTION_SETTINGS& m_settings;
    const END_CALLBACK m_on_file_end;
    const std::unique_ptr<CURLM, MULTI_DELETER> m_multi;
    FIO_FLUSHER m_flusher;
    std::vector<std::unique_ptr<CURL_TRANSFER>> m_active;
    std::size_t m_turn = 0; ///< counts the transfers that the rate limit has let continue
};
