#include "install/vinst/download/vinst_fetch.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/download/vinst_downloader_view.h"

int fetch_file(CURL_DOWNLOADER& downloader, const std::string& url, const std::string& path,
               CURL_PROGRESS_DATA& data, VINST_DOWNLOADER_VIEW& view)
{
    downloader.set_file_end_callback(wake_event_loop);
    downloader.add_file(url, path, &data);
    downloader.download_files(1, false);
    while (!downloader.downloads_complete())
        view.process_events();
    return data.http_code;
}
