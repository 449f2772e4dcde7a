#include "install/vinst/download/vinst_fetch.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "support/curl/curl_downloader.h"
#include "support/curl/curl_progress_data.h"

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr long connect_seconds = 3;

/// The record of a transfer, with its deadline.
struct FETCH_RECORD : CURL_PROGRESS_DATA
{
    std::optional<CLOCK::time_point> end;
};

std::int64_t on_progress(CURL_PROGRESS_DATA* data, std::uint64_t, std::uint64_t)
{
    const auto& end = static_cast<FETCH_RECORD*>(data)->end;
    return is_to_stop() || (end && CLOCK::now() >= *end) ? -1 : 0;
}

}

VINST_FETCH_RESULT fetch_file(const VINST_FETCH& fetch, VINST_DOWNLOADER_VIEW& view)
{
    FETCH_RECORD record;
    if (fetch.time_limit)
        record.end = CLOCK::now() + *fetch.time_limit;
    CURL_DOWNLOADER downloader("", fetch.proxy, false, connect_seconds);
    downloader.set_progress_callback(on_progress);
    downloader.set_logger(&run_log());
    downloader.set_file_end_callback(wake_event_loop);
    downloader.set_stall_timeout(fetch.longest_silence);
    downloader.set_size_limit(VINST_FETCH::size_limit);
    downloader.add_file(fetch.url, fetch.path, &record);
    downloader.download_files(1, false);
    while (!downloader.downloads_complete())
        view.process_events();
    return {record.http_code, record.curl_code, record.error_text.data(),
            downloader.failure_of(&record)};
}
