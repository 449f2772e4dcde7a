#include "install/vinst/download/vinst_downloader_mgr.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_file_failure.h"
#include "install/vinst/download/vinst_proxy_discovery.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_data_space.h"
#include "support/curl/curl_downloader.h"
#include "support/curl/curl_pieces.h"
#include "support/curl/curl_progress_data.h"

#include <QTimer>

#include <algorithm>
#include <chrono>

namespace
{

constexpr int curl_aborted_by_callback = 42;
constexpr int http_not_found = 404;
constexpr long connect_seconds = 10;
constexpr std::chrono::milliseconds progress_interval{1000};
constexpr std::chrono::milliseconds event_interval{100};

std::int64_t on_progress(CURL_PROGRESS_DATA* data, std::uint64_t total, std::uint64_t received)
{
    if (data != nullptr)
    {
        data->reported_total = total;
        data->bytes_received = received;
    }
    return is_to_stop() ? -1 : 0;
}

/// In pieces beside the file.
quint64 bytes_ahead(const VINST_COMPONENT& component)
{
    return component.progress_data != nullptr ? component.progress_data->bytes_ahead.load() : 0;
}

quint64 received_bytes(const VINST_COMPONENT& component)
{
    return component.progress_data != nullptr ? component.progress_data->bytes_received.load() : 0;
}

/// In this run, wherever they are now.
quint64 fetched_bytes(const CURL_PROGRESS_DATA& data)
{
    const quint64 all = data.bytes_received + data.bytes_ahead;
    return all - std::min<quint64>(all, data.bytes_taken_over);
}

QString error_text_of(const CURL_PROGRESS_DATA& data)
{
    return without_control_characters(QString::fromUtf8(data.error_text.data()));
}

/// Whether the transfer has an error line. A stopped transfer has none, nor one without a response
/// from a server.
bool is_in_error(const CURL_PROGRESS_DATA& data)
{
    // The status is stored last, so it is read first.
    const int http_code = data.http_code;
    const int curl_code = data.curl_code;
    if (curl_code == 0)
        return http_code == http_not_found;
    return http_code != -1 && curl_code != curl_aborted_by_callback;
}

/// Whether the transfer has failed, with or without a response.
bool has_failed(const CURL_PROGRESS_DATA& data)
{
    const int curl_code = data.curl_code;
    return is_in_error(data) || (curl_code > 0 && curl_code != curl_aborted_by_callback);
}

VINST_COMPONENT_PROGRESS::STATE state_of(const VINST_COMPONENT& component)
{
    using STATE = VINST_COMPONENT_PROGRESS::STATE;
    const CURL_PROGRESS_DATA& data = *component.progress_data;
    if (has_failed(data) || component.file.is_corrupted())
        return STATE::failed;
    if (component.file.has_passed())
        return STATE::verified;
    const bool is_moving = data.curl_code == -1 && data.bytes_received > 0;
    return is_moving && !component.file.is_complete() ? STATE::moving : STATE::waiting;
}

QString error_line_of(const VINST_COMPONENT& component)
{
    const CURL_PROGRESS_DATA& data = *component.progress_data;
    return transfer_error_line(component.display_name(), error_text_of(data), data.http_code,
                               data.curl_code);
}

void remove_missing_file(const VINST_COMPONENT& component)
{
    // A file that is locked now is removed on the next progress pass.
    if (component.progress_data->http_code == http_not_found)
        FIO_FILE_SYSTEM::remove_unless_held(utf8(component.file.path()));
}

void show_totals(VINST_DOWNLOADER_VIEW& view, const VINST_PROGRESS_TOTALS& totals)
{
    view.show_overall(overall_text(totals), percentage(totals.downloaded, totals.total));
    if (const QString speed = speed_text(totals); !speed.isEmpty())
        view.show_speed(speed);
    if (const QString remaining = remaining_text(totals); !remaining.isEmpty())
        view.show_time_remaining("Est. time remaining " + remaining);
}

void report_line(VINST_DOWNLOADER_VIEW& view, const QString& line)
{
    view.show_reported_line(line);
    report(utf8(line), false);
}

}

VINST_DOWNLOADER_MGR::VINST_DOWNLOADER_MGR(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view)
    : m_release(release), m_view(view), m_checks(view)
{
}

void VINST_DOWNLOADER_MGR::set_components(const VINST_COMPONENT_LIST& components, bool start_check)
{
    if (start_check)
        m_checks.cancel();
    m_view.show_overall({}, 0);
    m_view.show_speed({});
    m_view.show_time_remaining({});
    m_view.show_status(QStringLiteral("Download progress:"));

    m_components.clear();
    std::copy_if(components.begin(), components.end(), std::back_inserter(m_components),
                 [](const VINST_COMPONENT* component) { return !component->filename.isEmpty(); });
    VINST_PROGRESS_TOTALS totals;
    for (VINST_COMPONENT* component : m_components)
    {
        get_progress_percentage(component, start_check, true, 0);
        component->work.bytes_reused = component->file.bytes_on_disk();
        if (!component->is_selected())
            continue;
        totals.downloaded += component->file.bytes_on_disk();
        totals.total += component->expected_size();
    }
    m_view.show_overall(overall_text(totals), percentage(totals.downloaded, totals.total));
}

bool VINST_DOWNLOADER_MGR::download(int parallel_downloads)
{
    // Must be first: a stop may be requested as soon as events are processed below.
    begin_stoppable_work();
    m_stopped = false;
    run_log().info("Do download ...");
    log_disk_space(utf8(m_release.ensure_download_dir()));
    m_checks.finish();

    CURL_DOWNLOADER downloader("", m_release.proxy_info, false, connect_seconds);
    downloader.set_progress_callback(on_progress);
    downloader.set_file_end_callback(wake_event_loop);
    downloader.set_logger(&run_log());
    downloader.set_rate_limit(&m_rate_limit);
    downloader.set_split_refusals(&m_split_refusals);
    queue_components(downloader);
    if (m_was_corrupted_here || !has_enough_space_to_join(m_components, m_release.download_dir()))
        downloader.set_least_piece(0);
    downloader.download_files(parallel_downloads, false);
    m_view.show_status(QStringLiteral("Downloading selected components..."));
    m_view.show_attempt(m_components);

    wait_for_downloads(downloader);
    note_work(downloader);
    const bool transferred = update_progress();
    m_view.show_speed({});
    m_view.show_time_remaining({});
    const bool intact = check_integrity();
    // A file may be good although its transfer failed, for example when the server sent more.
    const bool succeeded =
        intact && (transferred || m_passed_components.size() == m_components.size());
    report_result(succeeded);
    if (!succeeded && !is_to_stop())
        report_failures(downloader);
    return succeeded;
}

void VINST_DOWNLOADER_MGR::queue_components(CURL_DOWNLOADER& downloader)
{
    m_errors = {};
    m_passed_components.clear();
    m_failed_components.clear();

    m_total_size = 0;
    for (VINST_COMPONENT* component : m_components)
    {
        get_progress_percentage(component, true, true, 0);
        m_total_size += component->expected_size();
    }
    for (VINST_COMPONENT* component : m_components)
        queue_component(downloader, component);
}

void VINST_DOWNLOADER_MGR::queue_component(CURL_DOWNLOADER& downloader, VINST_COMPONENT* component)
{
    component->progress_data = std::make_unique<CURL_PROGRESS_DATA>();
    component->last_failure.clear();
    if (component->file.is_verified())
    {
        m_view.show_integrity(component, VINST_INTEGRITY_STATE::passed);
        return;
    }
    if (component->file.is_corrupted() && component->file.exists())
        delete_corrupted_file(component);
    downloader.add_file(utf8(component->download_url()), utf8(component->file.path()),
                        component->progress_data.get(), component->expected_size());
}

void VINST_DOWNLOADER_MGR::delete_corrupted_file(VINST_COMPONENT* component)
{
    // Servers behind one address may disagree about the file: it is fetched from one of them then.
    m_was_corrupted_here = m_was_corrupted_here || component->work.attempts > 0;
    const QString text = QStringLiteral("Deleting corrupted components...");
    m_view.show_status(text);
    run_log().info(utf8(text));
    QTimer events; // wakes process_events
    events.start(event_interval);
    FIO_FILE_SYSTEM::remove_if_exists(utf8(component->file.path()),
                                      [this]
                                      {
                                          m_view.process_events();
                                          return is_to_stop();
                                      });
    curl_remove_pieces(utf8(component->file.path()));
    get_progress_percentage(component, true, true, 0);
    component->work.bytes_reused =
        std::min(component->work.bytes_reused, component->file.bytes_on_disk());
}

void VINST_DOWNLOADER_MGR::wait_for_downloads(CURL_DOWNLOADER& downloader)
{
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { update_progress(); });
    timer.start(progress_interval);
    update_progress();
    std::size_t finished = 0;
    while (!downloader.downloads_complete())
    {
        m_view.process_events();
        // A check starts as soon as its file is complete; the figures are updated once per second.
        if (const std::size_t now = downloader.finished_files(); now != finished)
        {
            finished = now;
            for (VINST_COMPONENT* component : m_components)
                get_progress_percentage(component, true, false, received_bytes(*component));
        }
    }
    if (is_to_stop())
        stop();
}

void VINST_DOWNLOADER_MGR::note_work(const CURL_DOWNLOADER& downloader)
{
    for (VINST_COMPONENT* component : m_components)
    {
        const auto time = downloader.request_time(component->progress_data.get());
        if (!time)
            continue;
        const CURL_PROGRESS_DATA& data = *component->progress_data;
        if (downloader.failure_of(&data).login_refused)
            m_errors.note_refused_login();
        // Later attempts take over what the first one has counted.
        if (component->work.attempts++ == 0)
            component->work.bytes_reused += data.bytes_taken_over;
        component->work.time += *time;
        component->work.bytes_fetched += fetched_bytes(data);
    }
}

void VINST_DOWNLOADER_MGR::stop()
{
    m_checks.cancel();
    request_download_stop();
    m_stopped = true;
}

void VINST_DOWNLOADER_MGR::abort_on_close()
{
    m_checks.cancel();
    request_shutdown();
}

bool VINST_DOWNLOADER_MGR::update_progress()
{
    VINST_PROGRESS_TOTALS totals;
    totals.total = m_total_size;
    std::vector<VINST_COMPONENT_PROGRESS> progress;
    bool all_good = true;
    for (VINST_COMPONENT* component : m_components)
    {
        progress.push_back(take_progress(component, totals));
        m_errors.note(*component->progress_data);
        remove_missing_file(*component);
        if (!is_in_error(*component->progress_data))
            continue;
        progress.back().error_line = error_line_of(*component);
        m_errors.add_line(progress.back().error_line);
        all_good = false;
    }
    show_totals(m_view, totals);
    m_view.show_progress(progress, totals);
    return all_good;
}

VINST_COMPONENT_PROGRESS VINST_DOWNLOADER_MGR::take_progress(VINST_COMPONENT* component,
                                                             VINST_PROGRESS_TOTALS& totals)
{
    CURL_PROGRESS_DATA& data = *component->progress_data;
    const quint64 on_disk = component->file.bytes_on_disk();
    // A file that was complete before the attempt is not counted twice.
    if (on_disk >= component->expected_size())
        data.bytes_received = 0;
    const quint64 received = data.bytes_received;

    VINST_COMPONENT_PROGRESS progress;
    progress.name = component->display_name();
    progress.bytes = on_disk + received + data.bytes_ahead;
    progress.size = component->expected_size();
    progress.percent = get_progress_percentage(component, true, false, received);
    progress.state = state_of(*component);
    if (!component->file.is_complete() && received > 0)
        m_checks.follow(*component, on_disk + received);

    const quint64 fetched = fetched_bytes(data);
    totals.downloaded += progress.bytes;
    totals.received += fetched;
    totals.delta += fetched - std::min<quint64>(fetched, data.bytes_seen);
    data.bytes_seen = fetched;
    return progress;
}

quint64 VINST_DOWNLOADER_MGR::get_progress_percentage(VINST_COMPONENT* component, bool start_check,
                                                      bool refresh_from_disk, quint64 extra_bytes)
{
    VINST_COMPONENT_FILE& file = component->file;
    if (refresh_from_disk)
        file.measure();
    const quint64 on_disk = file.bytes_on_disk() + (refresh_from_disk ? 0 : extra_bytes);
    file.count(on_disk);

    if (file.is_complete() && file.is_checked())
    {
        if (file.has_passed())
            prepare_installer(*component);
        m_view.show_integrity(component, file.has_passed() ? VINST_INTEGRITY_STATE::passed
                                                           : VINST_INTEGRITY_STATE::failed);
    }
    else if (file.is_complete() && start_check)
    {
        m_checks.start(*component);
    }
    else if (!file.is_complete() && component->expected_size() > 0)
    {
        m_view.show_integrity(component, VINST_INTEGRITY_STATE::none);
    }
    const quint64 percent =
        percentage(on_disk + bytes_ahead(*component), component->expected_size());
    m_view.show_percentage(component, percent);
    return percent;
}

bool VINST_DOWNLOADER_MGR::check_integrity()
{
    if (is_to_stop())
        return true;
    m_view.show_status(QStringLiteral("Checking file integrity, please wait..."));
    report_line(m_view, QStringLiteral("Checking file integrity ..."));
    m_checks.wait();
    m_passed_components.clear();
    m_failed_components.clear();
    for (VINST_COMPONENT* component : m_components)
        sort_component(component);
    return m_failed_components.empty();
}

void VINST_DOWNLOADER_MGR::sort_component(VINST_COMPONENT* component)
{
    VINST_COMPONENT_FILE& file = component->file;
    if (file.is_verified())
    {
        prepare_installer(*component);
        curl_remove_pieces(utf8(file.path())); // left by a run that was killed
        m_passed_components.push_back(component);
        run_log().debug("add passed component: %s", component->log_name());
        return;
    }
    // The file may have been written after its check.
    if (file.has_passed())
        file.reject();
    m_failed_components.push_back(component);
    run_log().debug("add failed component: %s", component->log_name());
    if (file.is_corrupted())
        m_errors.note_wrong_checksum();
}

void VINST_DOWNLOADER_MGR::prepare_installer(VINST_COMPONENT& component) const
{
    if (m_prepares_installers)
        component.file.make_installer_executable();
}

VINST_INSTALL_OUTCOME VINST_DOWNLOADER_MGR::install()
{
    return run_installation(m_release, m_passed_components, m_view, is_to_stop);
}

VINST_CONNECTION_RESULT VINST_DOWNLOADER_MGR::test_download(const VINST_PROXY_SETTINGS& settings)
{
    return run_connection_test(m_release, m_view, settings);
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::get_default_proxy()
{
    return VINST_PROXY_DISCOVERY(m_release, m_view).get_default_proxy();
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::get_wpad_proxy()
{
    return VINST_PROXY_DISCOVERY(m_release, m_view).get_wpad_proxy();
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::get_pac_proxy(const QString& url)
{
    return VINST_PROXY_DISCOVERY(m_release, m_view).get_pac_proxy(url);
}

CURL_PROXY_INFO VINST_DOWNLOADER_MGR::get_firefox_proxy(QString& autoconfig_url)
{
    return VINST_PROXY_DISCOVERY(m_release, m_view).get_firefox_proxy(autoconfig_url);
}

void VINST_DOWNLOADER_MGR::report_result(bool succeeded)
{
    QString line = QStringLiteral("Download successful");
    if (!succeeded)
        line =
            (QStringList(QStringLiteral("Download failed")) + m_errors.lasting_texts()).join(". ");
    if (m_stopped || is_shutting_down())
        line = QStringLiteral("Download stopped");
    m_view.show_status(line);
    report_line(m_view, line);
}

void VINST_DOWNLOADER_MGR::report_failures(const CURL_DOWNLOADER& downloader)
{
    for (VINST_COMPONENT* component : m_failed_components)
    {
        const CURL_FAILURE transfer = downloader.failure_of(component->progress_data.get());
        component->last_failure = failure_text(file_failure(*component, transfer));
        report_line(m_view, component->last_failure);
        m_error_text = component->last_failure;
    }
}
