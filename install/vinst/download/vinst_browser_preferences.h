#pragma once

#include "support/curl/curl_proxy_info.h"

#include <QString>
#include <QStringList>

#include <functional>

/// The proxy settings in a browser's preferences. Texts are unchanged; empty where nothing is set.
struct VINST_BROWSER_PREFERENCES
{
    QString http_host;
    QString http_port;
    QString socks_host;
    QString socks_port;
    QString socks_version = "5";
    QString autoconfig_url;
    QString type;

    /// The proxy of a manual configuration; empty for every other configuration.
    CURL_PROXY_INFO proxy() const;
    /// The URL of the auto-configuration file when the preferences select it; otherwise empty.
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

    /// Stores the setting in the line. \return "key: value"; empty when the line sets no proxy
    /// preference
    QString take_line(const QString& line);

private:
    VINST_BROWSER_PREFERENCES& m_preferences;
    bool m_in_comment = false;
};

/// The paths of the files named "prefs.js" below a directory. Links are not followed. The search is
/// limited to six levels and 200 files, which is enough for every browser.
/// \param keep_looking  called before each directory; false ends the search
QStringList preference_files(const QString& root, const std::function<bool()>& keep_looking);
