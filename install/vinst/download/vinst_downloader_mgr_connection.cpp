#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_private_dir.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/download/vinst_downloader_mgr_integrity.h"
#include "support/curl/curl_downloader.h"
#include "support/curl/curl_redact.h"
#include "support/fio/fio_file_system.h"

#include <QFile>
#include <QTimer>
#include <QUrl>

namespace
{

constexpr long connect_seconds = 3;
constexpr int http_ok = 200;

constexpr std::chrono::milliseconds completion_check_interval{50};

std::int64_t on_test_progress(CURL_PROGRESS_DATA*, std::uint64_t, std::uint64_t)
{
    return VINST_DOWNLOADER_MGR::is_to_stop() ? -1 : 0;
}

/// The test file's own name, or a safe one.
std::string test_file_name(const QString& test_url)
{
    const QString name = QUrl(test_url).fileName();
    return is_safe_file_name(name) ? utf8(name) : "vinst_test_download.txt";
}

std::string failure_details(const CURL_PROGRESS_DATA& data)
{
    return std::string("Test download failed with error: ") + data.error_text.data() +
           ", Httpcode: " + std::to_string(data.http_code) +
           ", Curlcode: " + std::to_string(data.curl_code);
}

}

bool VINST_DOWNLOADER_MGR::test_download(const VINST_PROXY_SETTINGS& settings)
{
    // A test goes on whatever was stopped before it.
    download_stop_requested = false;
    m_error_text.clear();
    const QString temp = temp_dir();
    if (temp.isEmpty())
    {
        m_error_text = QString::fromStdString(message("ERROR_TEMP_NOT_WRITABLE"));
        report(message("ERROR_TEMP_NOT_WRITABLE"), true);
        return false;
    }
    CURL_PROXY_INFO proxy = proxy_of(settings);
    run_log().info(settings.use_default_proxy ? "Proxy setting: default" : "Proxy setting: manual");

    const VINST_PRIVATE_DIR dir(temp);
    const std::string path = dir.path_of(test_file_name(m_release.test_url()));
    for (int attempt = 1;; ++attempt)
    {
        CURL_PROGRESS_DATA data;
        if (test_once(proxy, path, data))
        {
            report(message("TEST_DOWNLOAD_RESULTS", "success"), false);
            m_release.proxy_info = proxy;
            return true;
        }
        run_log().debug(message("TEST_DOWNLOAD_RESULTS", "fail"));
        if (is_to_stop())
            return false;
        switch (next_connection_step(attempt, host_platform(), settings.use_default_proxy,
                                     proxy.has_host()))
        {
        case VINST_CONNECTION_STEP::give_up:
            report_failed_test(proxy, data);
            return false;
        case VINST_CONNECTION_STEP::retry:
            break;
        case VINST_CONNECTION_STEP::look_for_proxy:
            if (CURL_PROXY_INFO found = proxy_source(); found.has_host())
            {
                if (!settings.username.empty() && !settings.password.empty())
                {
                    found.set_username(settings.username);
                    found.set_unecrypted_password(settings.password);
                }
                proxy = found;
                attempt = 0;
            }
            break;
        }
    }
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::proxy_of(const VINST_PROXY_SETTINGS& settings)
{
    if (!settings.use_default_proxy)
        return {settings.server, settings.port, settings.username, settings.password};
    CURL_PROXY_INFO proxy = get_default_proxy();
    if (!settings.username.empty() && !settings.password.empty())
    {
        proxy.set_username(settings.username);
        proxy.set_unecrypted_password(settings.password);
    }
    return proxy;
}

bool VINST_DOWNLOADER_MGR::test_once(const CURL_PROXY_INFO& proxy, const std::string& path,
                                     CURL_PROGRESS_DATA& data)
{
    const std::string host = curl_redact(proxy.host());
    run_log().info("Testing Internet connection ...");
    run_log().info("  Proxy Server: %s, Port:%s", host, proxy.port());
    if (m_console_mode)
    {
        print_line("Testing internet connection ... ");
        print_line("INFO: Proxy server: " + host + ", port:" + proxy.port());
    }
    run_log().debug("test download file path: %s", path);

    // Each attempt starts afresh: what an earlier one left may be anything.
    FIO_FILE_SYSTEM::remove_if_exists(path);
    CURL_DOWNLOADER downloader("", proxy, false, connect_seconds);
    downloader.set_progress_callback(on_test_progress);
    downloader.set_logger(&run_log());
    const int status = fetch_one(downloader, utf8(m_release.test_url()), path, data);
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

int VINST_DOWNLOADER_MGR::fetch_one(CURL_DOWNLOADER& downloader, const std::string& url,
                                    const std::string& path, CURL_PROGRESS_DATA& data)
{
    if (m_view == nullptr)
        return downloader.download_one_file(url, path, &data);
    // With windows, they stay alive meanwhile.
    QTimer wake_up;
    wake_up.start(completion_check_interval);
    downloader.add_file(url, path, &data);
    downloader.download_files(1, false);
    while (!downloader.downloads_complete())
        m_view->process_events();
    return data.http_code;
}

void VINST_DOWNLOADER_MGR::report_failed_test(const CURL_PROXY_INFO& proxy,
                                              const CURL_PROGRESS_DATA& data)
{
    const std::string details = failure_details(data);
    run_log().info("%s", details);
    const std::string text = message(proxy.has_host() ? "ERROR_TEST_DOWNLOAD_WITH_PROXY"
                                                      : "ERROR_TEST_DOWNLOAD_WITHOUT_PROXY") +
                             "\nDetails:\n" + details;
    m_error_text = QString::fromStdString(text);
    report(text, true);
}
