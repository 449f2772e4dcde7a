#include "install/vinst/download/vinst_connection_test.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_private_dir.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/download/vinst_fetch.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data.h"
#include "support/curl/curl_redact.h"
#include "support/fio/fio_file_system.h"

#include <QFile>
#include <QUrl>

#include <utility>

namespace
{

constexpr long connect_seconds = 3;

std::int64_t on_test_progress(CURL_PROGRESS_DATA*, std::uint64_t, std::uint64_t)
{
    return is_to_stop() ? -1 : 0;
}

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

VINST_CONNECTION_RESULT failed_attempts(const CURL_PROXY_INFO& proxy,
                                        const CURL_PROGRESS_DATA& data)
{
    const std::string details = std::string("Test download failed with error: ") +
                                data.error_text.data() +
                                ", Httpcode: " + std::to_string(data.http_code) +
                                ", Curlcode: " + std::to_string(data.curl_code);
    run_log().info("%s", details);
    return failure(message(proxy.has_host() ? "ERROR_TEST_DOWNLOAD_WITH_PROXY"
                                            : "ERROR_TEST_DOWNLOAD_WITHOUT_PROXY") +
                   "\nDetails:\n" + details);
}

void add_credentials(CURL_PROXY_INFO& proxy, const VINST_PROXY_SETTINGS& settings)
{
    if (settings.username.empty() || settings.password.empty())
        return;
    proxy.set_username(settings.username);
    proxy.set_unecrypted_password(settings.password);
}

}

VINST_CONNECTION_TEST::VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view)
    : VINST_CONNECTION_TEST(release, view, [this] { return m_discovery.discover(); })
{
}

VINST_CONNECTION_TEST::VINST_CONNECTION_TEST(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view,
                                             PROXY_SOURCE find_proxy)
    : m_release(release), m_view(view), m_discovery(release, view),
      m_find_proxy(std::move(find_proxy))
{
}

VINST_CONNECTION_RESULT VINST_CONNECTION_TEST::run(const VINST_PROXY_SETTINGS& settings)
{
    begin_stoppable_work();
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
    CURL_PROXY_INFO proxy = first_proxy(settings);
    run_log().info(settings.use_default_proxy ? "Proxy setting: default" : "Proxy setting: manual");
    for (int attempt = 1;; ++attempt)
    {
        CURL_PROGRESS_DATA data;
        if (try_once(proxy, path, data))
        {
            report(message("TEST_DOWNLOAD_RESULTS", "success"), false);
            m_release.proxy_info = proxy;
            return {true, {}};
        }
        run_log().debug(message("TEST_DOWNLOAD_RESULTS", "fail"));
        if (is_to_stop())
            return {};
        const VINST_CONNECTION_STEP step = next_connection_step(
            attempt, host_platform(), settings.use_default_proxy, proxy.has_host());
        if (step == VINST_CONNECTION_STEP::give_up)
            return failed_attempts(proxy, data);
        if (step == VINST_CONNECTION_STEP::retry)
            continue;
        if (CURL_PROXY_INFO found = m_find_proxy(); found.has_host())
        {
            add_credentials(found, settings);
            proxy = found;
            attempt = 0;
        }
    }
}

CURL_PROXY_INFO VINST_CONNECTION_TEST::first_proxy(const VINST_PROXY_SETTINGS& settings) const
{
    if (!settings.use_default_proxy)
        return {settings.server, settings.port, settings.username, settings.password};
    CURL_PROXY_INFO proxy = m_discovery.get_default_proxy();
    add_credentials(proxy, settings);
    return proxy;
}

bool VINST_CONNECTION_TEST::try_once(const CURL_PROXY_INFO& proxy, const std::string& path,
                                     CURL_PROGRESS_DATA& data)
{
    const std::string host = curl_redact(proxy.host());
    run_log().info("Testing Internet connection ...");
    run_log().info("  Proxy Server: %s, Port:%s", host, proxy.port());
    m_view.show_connection_attempt(host, proxy.port());
    run_log().debug("test download file path: %s", path);

    // Each attempt starts without a file, because the file of an earlier one may have any content.
    FIO_FILE_SYSTEM::remove_if_exists(path);
    CURL_DOWNLOADER downloader("", proxy, false, connect_seconds);
    downloader.set_progress_callback(on_test_progress);
    downloader.set_logger(&run_log());
    const int status = fetch_file(downloader, utf8(m_release.test_url()), path, data, m_view);
    if (status != http_ok || data.curl_code != 0)
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
