#pragma once

#include "support/curl/curl_proxy_info.h"

#include <QString>
#include <QStringList>

#include <functional>

/// What a browser's preferences say of proxies. Texts as they stand there; empty where nothing is
/// set.
struct VINST_BROWSER_PREFERENCES
{
    QString http_host;
    QString http_port;
    QString socks_host;
    QString socks_port;
    QString socks_version = "5";
    QString autoconfig_url;
    QString type;

    /// The proxy of a manual configuration; empty for every other one.
    CURL_PROXY_INFO proxy() const;
    /// The automatic-configuration address where that is what was chosen; else empty.
    QString chosen_autoconfig_url() const;
};

/// Reads the lines of a preference file one by one, from its first.
class VINST_PREFERENCE_READER
{
public:
    explicit VINST_PREFERENCE_READER(VINST_BROWSER_PREFERENCES& preferences)
        : m_preferences(preferences)
    {
    }

    /// Stores what the line sets. \return the key that it sets and its value, as "key: value";
    /// empty when it sets none of those that matter
    QString take_line(const QString& line);

private:
    VINST_BROWSER_PREFERENCES& m_preferences;
    bool m_in_comment = false;
};

/// The files named "prefs.js" below a directory, by their paths. Links are not followed; six
/// directories deep and 200 files are enough for every browser.
/// \param keep_looking  asked before each directory
QStringList preference_files(const QString& root, const std::function<bool()>& keep_looking);
