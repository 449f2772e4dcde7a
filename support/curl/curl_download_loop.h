#pragma once

#include "support/curl/curl_file_download.h"
#include "support/curl/curl_split_refusals.h"
#include "support/fio/fio_flusher.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

/// Processes a queue of requests on the calling thread, over several connections at a time. Waiting
/// requests are not handed to libcurl yet, so that their connect timeout doesn't start. When none
/// waits, idle connections fetch parts of the files that have the most left.
class CURL_DOWNLOAD_LOOP
{
public:
    using END_CALLBACK = std::function<void(const CURL_FILE_DOWNLOAD&)>;

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

    struct CONNECTION
    {
        CURL_FILE_DOWNLOAD* file = nullptr;
        std::unique_ptr<CURL_TRANSFER> transfer;
    };

    bool add(const CURL_TRANSFER& transfer);
    void receive();
    void perform();
    bool may_receive() const;
    void hold_back();
    int nap(std::size_t parallel) const;
    bool may_start(std::size_t parallel) const;
    void start_transfers(std::deque<CURL_REQUEST>& queue, std::size_t parallel);
    void start(CURL_FILE_DOWNLOAD& file, std::unique_ptr<CURL_TRANSFER> transfer);
    CURL_FILE_DOWNLOAD* file_in_need() const;
    CURL_FILE_DOWNLOAD* file_to_share() const;
    void collect_finished();
    void end_unwanted(bool stop);
    void end_transfer(CURL* handle, CURLcode result);
    void work_on_files(bool stop);
    void report_ended_files();

    CURL_PROXY_LOGINS m_logins;
    CURL_SPLIT_REFUSALS m_split_refusals;
    CURL_CONNECTION_SETTINGS m_settings;
    const END_CALLBACK m_on_file_end;
    const std::unique_ptr<CURLM, MULTI_DELETER> m_multi;
    FIO_FLUSHER m_flusher;                                    ///< uses `m_multi` until its end
    std::vector<std::unique_ptr<CURL_FILE_DOWNLOAD>> m_files; ///< that have not ended
    std::vector<CONNECTION> m_active;
    std::size_t m_turn = 0; ///< counts the transfers that the rate limit has let continue
};
