#include "install/vinst/download/vinst_proxy_discovery.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_private_dir.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_browser_preferences.h"
#include "install/vinst/download/vinst_browser_profiles.h"
#include "install/vinst/download/vinst_desktop_proxy.h"
#include "install/vinst/download/vinst_fetch.h"
#include "install/vinst/download/vinst_pac_runner.h"
#include "install/vinst/download/vinst_proxy_rules.h"
#include "install/vinst/download/vinst_system_proxy.h"
#include "install/vinst/release/vinst_data.h"
#include "support/curl/curl_proxy_environment.h"
#include "support/curl/curl_redact.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostInfo>
#include <QNetworkProxyFactory>
#include <QUrl>

#include <algorithm>

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr std::chrono::seconds longest_discovery{20};
// A stalled fetch leaves time for the other sources.
constexpr std::chrono::milliseconds longest_fetch{8000};
constexpr qint64 script_limit = VINST_FETCH::size_limit;
constexpr qint64 preference_file_limit = 16 * 1024 * 1024; // bytes

QString scheme_of(const QNetworkProxy& proxy)
{
    return proxy.type() == QNetworkProxy::Socks5Proxy ? "socks5://" : "";
}

/// A URL as the source of a proxy.
std::string shown(const QString& url)
{
    return curl_redact(utf8(without_control_characters(url)));
}

std::optional<QByteArray> first_bytes(const QString& path, qint64 limit)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.read(limit);
}

std::optional<QString> read_script(const QString& path)
{
    // One byte more, to detect a file that is too large.
    const std::optional<QByteArray> bytes = first_bytes(path, script_limit + 1);
    if (!bytes)
    {
        run_log().debug("No autoproxy file: %s can't be read", utf8(path));
        return std::nullopt;
    }
    const QString script = script_text(*bytes);
    if (run_log().logs_debug())
        for (const QString& line : script.split('\n'))
            run_log().debug("%s", utf8(without_control_characters(line)));
    return script;
}

/// \return whether the file names a proxy host, so that an earlier one is overwritten
bool read_preferences(const QString& path, VINST_BROWSER_PREFERENCES& preferences)
{
    const std::optional<QByteArray> bytes = first_bytes(path, preference_file_limit);
    if (!bytes)
        return false;
    bool names_host = false;
    VINST_PREFERENCE_READER reader(preferences);
    for (const QByteArray& line : bytes->split('\n'))
    {
        const QString found = reader.take_line(QString::fromUtf8(line));
        if (found.isEmpty())
            continue;
        run_log().debug("%s", curl_redact(utf8(without_control_characters(found))));
        names_host = names_host || found.startsWith("network.proxy.http: ") ||
                     found.startsWith("network.proxy.socks: ");
    }
    return names_host;
}

}

VINST_PROXY_DISCOVERY::VINST_PROXY_DISCOVERY(const VINST_RELEASE& release,
                                             VINST_DOWNLOADER_VIEW& view, const QString& pac_helper,
                                             const QString& desktop_helper)
    : m_release(release), m_view(view),
      m_pac_helper(pac_helper.isEmpty() ? pac_helper_path() : pac_helper),
      m_desktop_helper(desktop_helper.isEmpty() ? desktop_proxy_helper_path() : desktop_helper)
{
}

std::chrono::milliseconds VINST_PROXY_DISCOVERY::time_left() const
{
    if (!m_end)
        return longest_discovery;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*m_end - CLOCK::now());
    return std::max(left, std::chrono::milliseconds(0));
}

bool VINST_PROXY_DISCOVERY::may_go_on() const
{
    return !is_to_stop() && time_left().count() > 0;
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::discover()
{
    // For networks whose responses can't be trusted.
    if (!qEnvironmentVariableIsEmpty("VINST_NO_PROXY_DISCOVERY"))
    {
        run_log().info("VINST_NO_PROXY_DISCOVERY is set, proxy discovery is skipped");
        return {};
    }
    m_end = CLOCK::now() + longest_discovery;
    const char* source = "";
    const CURL_PROXY_INFO proxy = ask_all(source);
    if (proxy.has_host())
        run_log().info("Proxy detected by %s", source);
    else if (!may_go_on() && !is_to_stop())
        run_log().info("Proxy discovery timed out");
    else
        run_log().info("No proxy found");
    m_end.reset();
    return proxy;
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::ask_all(const char*& source)
{
    source = "WPAD";
    if (CURL_PROXY_INFO proxy = get_wpad_proxy(); proxy.has_host())
        return proxy;
    source = "the browser's preferences";
    QString autoconfig_url;
    if (CURL_PROXY_INFO proxy = get_firefox_proxy(autoconfig_url); proxy.has_host())
        return proxy;
    source = "the browser's auto-configuration";
    if (autoconfig_url.isEmpty() || !may_go_on())
        return {};
    CURL_PROXY_INFO proxy = get_pac_proxy(autoconfig_url);
    proxy.set_source("Firefox's automatic configuration, " + shown(autoconfig_url));
    return proxy;
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::get_default_proxy() const
{
    run_log().debug("get default proxy ...");
    // What the variables say is final, also that the address is excluded.
    CURL_PROXY_INFO proxy = curl_proxy_for(utf8(m_release.download_url()), {});
    if (!proxy.has_host() && proxy.source().empty())
        proxy = system_proxy();
    if (!proxy.has_host())
    {
        run_log().debug("proxyType: NoProxy");
        return proxy;
    }
    run_log().debug(
        "proxyUsed: %s port: %s",
        utf8(without_control_characters(QString::fromStdString(curl_redact(proxy.host())))),
        proxy.port());
    return proxy;
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::system_proxy() const
{
    const QNetworkProxyQuery query(QUrl(m_release.download_url()), QNetworkProxyQuery::UrlRequest);
    const QList<QNetworkProxy> proxies =
        host_platform() == "windows"
            ? ask_system_for_proxies(query, QNetworkProxyFactory::systemProxyForQuery,
                                     [this] { return may_go_on(); })
            : QNetworkProxyFactory::systemProxyForQuery(query);
    if (proxies.isEmpty() || proxies.first().type() == QNetworkProxy::NoProxy)
        return host_platform() == "linux" && is_in_desktop_session() ? desktop_proxy()
                                                                     : CURL_PROXY_INFO();
    const QNetworkProxy& found = proxies.first();
    CURL_PROXY_INFO proxy =
        checked_proxy(found.hostName(), QString::number(found.port()), scheme_of(found));
    if (!proxy.has_host())
        return {};
    proxy.set_source("the system's settings");
    if (!found.user().isEmpty())
    {
        proxy.set_username(utf8(found.user()));
        proxy.set_unecrypted_password(utf8(found.password()));
    }
    return proxy;
}

// Qt reads the settings of desktops only if it was built with libproxy.
CURL_PROXY_INFO VINST_PROXY_DISCOVERY::desktop_proxy() const
{
    CURL_PROXY_INFO proxy =
        ask_desktop_for_proxy(m_desktop_helper, url_for_script(QUrl(m_release.download_url())),
                              [this] { return may_go_on(); });
    proxy.set_source("the desktop's settings");
    return proxy;
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::get_wpad_proxy()
{
    for (const QString& url : wpad_urls(QHostInfo::localDomainName()))
    {
        if (!may_go_on())
            break;
        if (CURL_PROXY_INFO proxy = get_pac_proxy(url); proxy.has_host())
        {
            proxy.set_source("WPAD, " + shown(url));
            return proxy;
        }
    }
    return {};
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::get_pac_proxy(const QString& url)
{
    run_log().debug("autoproxy for url: %s", curl_redact(utf8(url)));
    const std::optional<QString> script = fetch_script(url);
    if (!script)
        return {};
    const QUrl target(m_release.download_url());
    const std::optional<QString> directive =
        run_pac_script(m_pac_helper, *script, url_for_script(target), target.host(), time_left(),
                       [this] { return may_go_on(); });
    if (!directive)
        return {};
    run_log().debug("autoproxy directive: %s", utf8(without_control_characters(*directive)));
    const CURL_PROXY_INFO proxy = proxy_of_directive(*directive);
    if (proxy.has_host())
        run_log().info("autoproxy server: %s port: %s", proxy.host(), proxy.port());
    return proxy;
}

std::optional<QString> VINST_PROXY_DISCOVERY::fetch_script(const QString& url)
{
    // As in browsers, the file may be a local one.
    if (const QUrl address(url); address.isLocalFile())
        return read_script(address.toLocalFile());

    const QString temp = temp_dir();
    if (temp.isEmpty())
        return std::nullopt;
    const VINST_PRIVATE_DIR dir(temp);
    if (!dir.was_created())
        return std::nullopt;
    const std::string path = dir.path_of("autoproxy.pac");
    run_log().debug("download autoproxy file to: %s", path);

    VINST_FETCH fetch{utf8(url), path, CURL_PROXY_INFO::direct()};
    fetch.time_limit = std::min(time_left(), longest_fetch);
    const VINST_FETCH_RESULT result = fetch_file(fetch, m_view);
    if (!result.succeeded())
    {
        run_log().debug("No autoproxy file: Httpcode: %d, Curlcode: %d, %s", result.http_code,
                        result.curl_code, result.error);
        return std::nullopt;
    }
    return read_script(QString::fromStdString(path));
}

CURL_PROXY_INFO VINST_PROXY_DISCOVERY::get_firefox_proxy(QString& autoconfig_url)
{
    run_log().debug("Get proxy settings from firefox ...");
    VINST_BROWSER_PREFERENCES preferences;
    QString source;
    const auto keep_looking = [this] { return may_go_on(); };
    for (const QString& path : browser_preference_files(QDir::homePath(), keep_looking))
    {
        run_log().debug("firefox pref file: %s", utf8(path));
        if (read_preferences(path, preferences))
            source = path;
    }
    autoconfig_url = preferences.chosen_autoconfig_url();
    CURL_PROXY_INFO proxy = preferences.proxy();
    proxy.set_source("Firefox's preferences, " + shown(source));
    return proxy;
}
