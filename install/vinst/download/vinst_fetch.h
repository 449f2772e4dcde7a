#pragma once

#include "support/curl/curl_downloader.h"
#include "support/curl/curl_progress_data.h"

#include <string>

class VINST_DOWNLOADER_VIEW;

constexpr int http_ok = 200;

/// Fetches one small file for the program itself, such as a proxy script. Processes the view's
/// events meanwhile.
/// \param downloader  not used before; configured by the caller
/// \return the HTTP status; -1 when no server responded
int fetch_file(CURL_DOWNLOADER& downloader, const std::string& url, const std::string& path,
               CURL_PROGRESS_DATA& data, VINST_DOWNLOADER_VIEW& view);
