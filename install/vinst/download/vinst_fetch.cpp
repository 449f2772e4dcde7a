#include "install/vinst/download/vinst_fetch.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "support/curl/curl_downloader.h"
#include "support/curl/curl_progress_data.h"

namespace
{

constexpr long connect_seconds = 3;

std::int64_t on_progress(CURL_PROGRESS_DATA*, std::uint64_t, std::uint64_t)
{
    return is_to_stop() ? -1 : 0;
}

}

VINST_FETCH_RESULT fetch_file(const VINST_FETCH& fetch, VINST_DOWNLOADER_VIEW& view)
{
    CURL_PROGRESS_DATA record;
    CURL_DOWNLOADER downloader("", fetch.proxy, false, connect_seconds);
    downloader.set_progress_callback(on_progress);
    downloader.set_logger(&run_log());
    downloader.set_file_end_callback(wake_event_loop);
    downloader.set_stall_timeout(fetch.longest_silence);
    downloader.set_time_limit(fetch.time_limit);
    downloader.set_size_limit(VINST_FETCH::size_limit);
    downloader.add_file(fetch.url, fetch.path, &record);
    downloader.download_files(1, false);
    while (!downloader.downloads_complete())
        view.process_events();
    return {record.http_code, record.curl_code, record.error_text.data(),
            downloader.failure_of(&record)};
}
