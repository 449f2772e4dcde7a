#pragma once

#include <QList>
#include <QNetworkProxy>

#include <chrono>
#include <functional>

using VINST_PROXY_LIST_QUERY = std::function<QList<QNetworkProxy>(const QNetworkProxyQuery&)>;

inline constexpr std::chrono::seconds longest_system_query{10};

/// Asks the system for the proxies of an address, on another thread: Windows may search the network
/// for a configuration, and fetch and run it, for minutes. Processes the caller's events meanwhile.
///
/// \param ask        thread-safe; may still run when this function has returned
/// \param may_go_on  called several times per second; false ends the wait
/// \return none if the answer is not there in time
QList<QNetworkProxy>
ask_system_for_proxies(const QNetworkProxyQuery& query, const VINST_PROXY_LIST_QUERY& ask,
                       const std::function<bool()>& may_go_on,
                       std::chrono::milliseconds at_most = longest_system_query);
