#pragma once

#include "support/curl/curl_downloader.h"
#include "support/curl/curl_progress_data.h"

#include <string>

class VINST_DOWNLOADER_VIEW;

constexpr int http_ok = 200;

/// Fetches one small file of the program's own needs with the view's events being processed.
/// \param downloader  new; its settings are the caller's
/// \return the HTTP status; -1 when no server answered
int fetch_file(CURL_DOWNLOADER& downloader, const std::string& url, const std::string& path,
               CURL_PROGRESS_DATA& data, VINST_DOWNLOADER_VIEW& view);
