#pragma once

#include "support/curl/curl_proxy_info.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>

/// The path of the helper that reads the desktop's proxy settings, next to this library. Part of
/// the program on Linux only.
QString desktop_proxy_helper_path();

/// Whether the process belongs to a desktop, whose settings then count. Asking for them outside of
/// one would only delay the first request.
bool is_in_desktop_session();

inline constexpr std::chrono::milliseconds longest_desktop_query{3000};

/// The proxy that the desktop's settings name for a URL; empty if they name none. Runs a helper,
/// since the desktop's code may block. Processes the caller's events meanwhile.
///
/// \param url        without credentials
/// \param may_go_on  called several times per second; when it returns false, the helper is killed
/// \param at_most    the helper is killed after this time
CURL_PROXY_INFO ask_desktop_for_proxy(const QString& helper, const QString& url,
                                      const std::function<bool()>& may_go_on,
                                      std::chrono::milliseconds at_most = longest_desktop_query);

/// The first usable proxy in the answer of the helper: addresses such as "http://gate:3128", one
/// per line. Empty if "direct://" comes first.
CURL_PROXY_INFO proxy_of_desktop_answer(const QByteArray& answer);
