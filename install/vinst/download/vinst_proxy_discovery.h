#pragma once

#include "install/vinst/download/vinst_proxy_source.h"

#include <QString>

#include <chrono>
#include <optional>

class VINST_DOWNLOADER_VIEW;
class VINST_RELEASE;

/// Detects a proxy for the release's download URL. Each source returns an empty proxy when it names
/// none, and returns soon after a stop is requested. Processes the view's events meanwhile.
class VINST_PROXY_DISCOVERY final : public VINST_PROXY_SOURCE
{
public:
    /// \param pac_helper      the program that evaluates auto-configuration scripts; when empty,
    /// the
    ///                        one installed with this library
    /// \param desktop_helper  the one that reads the desktop's settings; likewise
    VINST_PROXY_DISCOVERY(const VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                          const QString& pac_helper = {}, const QString& desktop_helper = {});

    /// The system's proxy settings: the environment's, otherwise those of the desktop or of
    /// Windows.
    CURL_PROXY_INFO get_default_proxy() const override;
    /// An auto-configuration file found on the network (WPAD).
    CURL_PROXY_INFO get_wpad_proxy();
    /// The auto-configuration file at this URL.
    CURL_PROXY_INFO get_pac_proxy(const QString& url);
    /// The browser's preferences.
    /// \param autoconfig_url  set to the URL of an auto-configuration file if the browser uses one
    CURL_PROXY_INFO get_firefox_proxy(QString& autoconfig_url);

    /// Tries all sources except the system's settings in order, for at most 20 s in total.
    CURL_PROXY_INFO discover() override;

private:
    std::chrono::milliseconds time_left() const;
    bool may_go_on() const;
    /// The proxy of the desktop or of Windows.
    CURL_PROXY_INFO system_proxy() const;
    CURL_PROXY_INFO desktop_proxy() const;
    CURL_PROXY_INFO ask_all(const char*& source);
    std::optional<QString> fetch_script(const QString& url);

    const VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW& m_view;
    const QString m_pac_helper;
    const QString m_desktop_helper;
    std::optional<std::chrono::steady_clock::time_point> m_end; ///< of `discover`
};
