#include "install/vinst/download/vinst_connection_test.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_private_dir.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/download/vinst_file_failure.h"
#include "install/vinst/download/vinst_proxy_discovery.h"
#include "install/vinst/release/vinst_data.h"
#include "support/curl/curl_plain_text.h"
#include "support/curl/curl_proxy_environment.h"
#include "support/curl/curl_redact.h"
#include "support/fio/fio_file_system.h"

#include <QFile>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace
{

/// An attempt in less than this fraction of the usual time would prove nothing.
constexpr int shortest_attempt = 20;

/// The test file's name, or a default if it isn't safe.
std::string test_file_name(const QString& test_url)
{
    const QString name = QUrl(test_url).fileName();
    return is_safe_file_name(name) ? utf8(name) : "vinst_test_download.txt";
}

VINST_CONNECTION_RESULT failure(const std::string& text)
{
    report(text, true);
    return {false, text};
}

const char* message_of(const CURL_PROXY_INFO& proxy, const VINST_FETCH_RESULT& result)
{
    if (result.failure.kind == CURL_FAILURE::KIND::write)
        return "ERROR_TEMP_NOT_WRITABLE"; // a full disk says nothing about the connection
    return proxy.has_host() ? "ERROR_TEST_DOWNLOAD_WITH_PROXY"
                            : "ERROR_TEST_DOWNLOAD_WITHOUT_PROXY";
}

VINST_CONNECTION_RESULT failed_attempts(const CURL_PROXY_INFO& proxy,
                                        const VINST_FETCH_RESULT& result)
{
    const std::string reason = utf8(connection_failure_text(result.failure));
    const std::string details = "Test download failed with error: " + result.error +
                                ", Httpcode: " + std::to_string(result.http_code) +
                                ", Curlcode: " + std::to_string(result.curl_code);
    run_log().info("%s", details);
    return failure(message(message_of(proxy, result)) + "\nDetails:\n" + details +
                   (reason.empty() ? "" : "\n" + reason));
}

void add_credentials(CURL_PROXY_INFO& proxy, const VINST_PROXY_SETTINGS& settings)
{
    if (settings.username.empty() || settings.password.empty())
        return;
    proxy.set_username(settings.username);
    proxy.set_unecrypted_password(settings.password);
}

/// Of the transfers that use the setting: with the environment's proxies, it depends on their
/// address.
CURL_PROXY_INFO proxy_for(const QString& url, const CURL_PROXY_INFO& setting)
{
    return curl_proxy_for(utf8(url), setting);
}

void log_source(const CURL_PROXY_INFO& proxy)
{
    const std::string source = curl_plain_text(proxy.source());
    if (proxy.has_host())
        run_log().info("  Proxy Source: %s", source);
    else if (!source.empty())
        run_log().info("  No proxy: excluded by %s", source);
}

void log_proxy_of_downloads(const QString& url, const CURL_PROXY_INFO& setting)
{
    const CURL_PROXY_INFO proxy = proxy_for(url, setting);
    if (proxy.has_host())
        run_log().info("Proxy of the downloads: %s (%s)",
                       curl_plain_text(curl_redact(proxy.address())),
                       curl_plain_text(proxy.source()));
    else
        run_log().info("Proxy of the downloads: none");
}

}

VINST_CONNECTION_TEST::VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                                             VINST_PROXY_SOURCE& proxies,
                                             VINST_CONNECTION_LIMITS limits)
    : m_release(release), m_view(view), m_proxies(proxies), m_limits(std::move(limits))
{
}

VINST_CONNECTION_RESULT VINST_CONNECTION_TEST::run(const VINST_PROXY_SETTINGS& settings)
{
    begin_stoppable_work();
    m_end = m_limits.now() + m_limits.total;
    const QString temp = temp_dir();
    if (temp.isEmpty())
        return failure(message("ERROR_TEMP_NOT_WRITABLE"));
    const VINST_PRIVATE_DIR dir(temp);
    if (!dir.was_created())
        return failure(message("ERROR_TEMP_NOT_WRITABLE"));
    return try_proxies(settings, dir.path_of(test_file_name(m_release.test_url())));
}

VINST_CONNECTION_RESULT VINST_CONNECTION_TEST::try_proxies(const VINST_PROXY_SETTINGS& settings,
                                                           const std::string& path)
{
    CURL_PROXY_INFO proxy;
    VINST_CONNECTION_RESULT result = try_proxies(settings, path, proxy);
    result.proxy = proxy;
    return result;
}

VINST_CONNECTION_RESULT VINST_CONNECTION_TEST::try_proxies(const VINST_PROXY_SETTINGS& settings,
                                                           const std::string& path,
                                                           CURL_PROXY_INFO& proxy)
{
    CURL_PROXY_INFO setting = first_proxy(settings);
    run_log().info(settings.use_default_proxy ? "Proxy setting: default" : "Proxy setting: manual");
    for (int attempt = 1;; ++attempt)
    {
        proxy = proxy_for(m_release.test_url(), setting);
        const VINST_FETCH_RESULT result = fetch(proxy, settings, path);
        if (has_the_test_file(result, path))
        {
            report(message("TEST_DOWNLOAD_RESULTS", "success"), false);
            log_proxy_of_downloads(m_release.download_url(), setting);
            m_release.proxy_info = setting;
            return {true, {}};
        }
        run_log().debug(message("TEST_DOWNLOAD_RESULTS", "fail"));
        if (is_to_stop())
            return {};
        // Another attempt would write no more, or could lock the user's account.
        if (result.failure.kind == CURL_FAILURE::KIND::write || result.failure.login_refused)
            return failed_attempts(proxy, result);
        const VINST_CONNECTION_STEP step = next_connection_step(
            attempt, host_platform(), settings.use_default_proxy, proxy.has_host());
        if (step == VINST_CONNECTION_STEP::give_up)
            return failed_attempts(proxy, result);
        if (step == VINST_CONNECTION_STEP::look_for_proxy)
        {
            if (CURL_PROXY_INFO found = m_proxies.discover(); found.has_host())
            {
                add_credentials(found, settings);
                setting = found;
                attempt = 0;
                m_end = std::max(m_end, m_limits.now() + m_limits.detected_proxy);
            }
        }
        if (time_left() < m_limits.silence / shortest_attempt)
            return failed_attempts(proxy, result);
    }
}

CURL_PROXY_INFO VINST_CONNECTION_TEST::first_proxy(const VINST_PROXY_SETTINGS& settings) const
{
    if (!settings.use_default_proxy)
    {
        CURL_PROXY_INFO named{settings.server, settings.port, settings.username, settings.password};
        named.set_source(settings.source);
        return named;
    }
    CURL_PROXY_INFO proxy = m_proxies.get_default_proxy();
    add_credentials(proxy, settings);
    return proxy;
}

std::chrono::milliseconds VINST_CONNECTION_TEST::time_left() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_end - m_limits.now());
}

VINST_FETCH_RESULT VINST_CONNECTION_TEST::fetch(const CURL_PROXY_INFO& proxy,
                                                const VINST_PROXY_SETTINGS& settings,
                                                const std::string& path)
{
    const std::string host = curl_plain_text(curl_redact(proxy.host()));
    run_log().info("Testing Internet connection ...");
    run_log().info("  Proxy Server: %s, Port:%s", host, proxy.port());
    log_source(proxy);
    m_view.show_connection_attempt(host, proxy.port());
    show_source(proxy, settings);
    run_log().debug("test download file path: %s", path);

    // Each attempt starts without a file, because the file of an earlier one may have any content.
    FIO_FILE_SYSTEM::remove_if_exists(path);
    // The limit is longer than the silence, which is the better explanation for a silent server.
    const std::chrono::milliseconds limit = std::min(m_limits.silence * 11 / 10, time_left());
    VINST_FETCH fetch{utf8(m_release.test_url()), path, proxy, limit * 10 / 11};
    fetch.time_limit = limit;
    return fetch_file(fetch, m_view);
}

void VINST_CONNECTION_TEST::show_source(const CURL_PROXY_INFO& proxy,
                                        const VINST_PROXY_SETTINGS& settings)
{
    if (proxy.source().empty())
        return;
    // In a download, users are shown only what they don't know.
    if (proxy.has_host() && (settings.use_default_proxy || settings.is_inquiry))
        m_view.show_proxy_source(proxy.source());
    else if (!proxy.has_host() && settings.is_inquiry)
        m_view.show_proxy_exclusion(proxy.source());
}

bool VINST_CONNECTION_TEST::has_the_test_file(const VINST_FETCH_RESULT& result,
                                              const std::string& path) const
{
    if (!result.succeeded())
        return false;
    const QString local_path = QString::fromStdString(path);
    if (!QFile::exists(local_path))
    {
        run_log().info("Download successful, but destination file doesn't exist");
        return false;
    }
    if (calc_md5sum(local_path) == m_release.test_md5sum())
        return true;
    run_log().info("Download successful, but md5sum doesn't match");
    return false;
}

VINST_CONNECTION_RESULT run_connection_test(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                                            const VINST_PROXY_SETTINGS& settings)
{
    VINST_PROXY_DISCOVERY discovery(release, view);
    return VINST_CONNECTION_TEST(release, view, discovery).run(settings);
}
