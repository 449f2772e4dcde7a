#include "install/vinst/download/vinst_downloader_mgr.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/download/vinst_pac_runner.h"
#include "install/vinst/release/vinst_data_install.h"
#include "support/curl/curl_downloader.h"
#include "support/curl/curl_progress_data.h"
#include "support/fio/fio_file_system.h"
#include "support/thr/thr_sleep.h"

#include <QElapsedTimer>
#include <QSet>
#include <QTimer>

#include <algorithm>

std::atomic<bool> download_stop_requested{false};
std::atomic<bool> shutdown_requested{false};

namespace
{

constexpr int curl_write_error = 23;
constexpr int curl_aborted_by_callback = 42;
constexpr int http_not_found = 404;
constexpr long connect_seconds = 10;
constexpr std::chrono::milliseconds progress_interval{1000};

std::int64_t on_progress(CURL_PROGRESS_DATA* data, std::uint64_t total, std::uint64_t received)
{
    if (data != nullptr)
    {
        data->reported_total = total;
        data->bytes_received = received;
    }
    return VINST_DOWNLOADER_MGR::is_to_stop() ? -1 : 0;
}

quint64 received_bytes(const VINST_COMPONENT& component)
{
    return component.progress_data != nullptr ? component.progress_data->bytes_received.load() : 0;
}

QString error_text_of(const CURL_PROGRESS_DATA& data)
{
    return without_control_characters(QString::fromUtf8(data.error_text.data()));
}

}

VINST_DOWNLOADER_MGR::VINST_DOWNLOADER_MGR(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW* view)
    : proxy_source([this] { return discover_proxy(); }), pac_helper(pac_helper_path()),
      m_release(release), m_view(view)
{
}

VINST_DOWNLOADER_MGR::~VINST_DOWNLOADER_MGR()
{
    // One that only tested the connection leaves the window's checks alone.
    if (has_started_integrity_tasks())
        finish_integrity_tasks();
}

void VINST_DOWNLOADER_MGR::set_components(const VINST_COMPONENT_LIST& components, bool start_check)
{
    if (start_check)
        cancel_integrity_tasks();
    if (m_view != nullptr)
    {
        m_view->show_overall({}, 0);
        m_view->show_speed({});
        m_view->show_time_remaining({});
        m_view->show_status(QStringLiteral("Download progress:"));
    }
    m_components.clear();
    std::copy_if(components.begin(), components.end(), std::back_inserter(m_components),
                 [](const VINST_COMPONENT* component) { return !component->filename.isEmpty(); });

    VINST_PROGRESS_TOTALS totals;
    for (VINST_COMPONENT* component : m_components)
    {
        get_progress_percentage(component, start_check, true, 0);
        if (!component->is_selected())
            continue;
        totals.downloaded += component->bytes_on_disk;
        totals.total += component->expected_size();
    }
    if (m_view != nullptr)
        m_view->show_overall(overall_text(totals), percentage(totals.downloaded, totals.total));
}

bool VINST_DOWNLOADER_MGR::download(int parallel_downloads)
{
    // First of all: a stop may come as soon as events are processed below.
    download_stop_requested = false;
    m_stopped = false;
    run_log().info("Do download ...");
    free_disk_space(utf8(m_release.ensure_download_dir()));
    finish_integrity_tasks();

    CURL_DOWNLOADER downloader("", m_release.proxy_info, false, connect_seconds);
    prepare_run(downloader);
    downloader.download_files(parallel_downloads, false);
    if (m_view != nullptr)
        m_view->show_status(QStringLiteral("Downloading selected components..."));
    if (m_console_mode)
        print_placeholders();

    wait_for_downloads(downloader);
    const bool transferred = update_progress();
    if (m_view != nullptr)
    {
        m_view->show_speed({});
        m_view->show_time_remaining({});
    }
    const bool intact = check_integrity();
    const bool succeeded = transferred && intact;
    report_result(succeeded);
    return succeeded;
}

void VINST_DOWNLOADER_MGR::prepare_run(CURL_DOWNLOADER& downloader)
{
    downloader.set_progress_callback(on_progress);
    downloader.set_logger(&run_log());
    m_write_error = false;
    m_not_found_error = false;
    m_progress_text.clear();
    m_error_lines.clear();
    m_logged_error_lines.clear();
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
    if (component->download_complete && component->is_checked_for_current_dir() &&
        component->integrity_passed)
    {
        set_integrity_state(component, VINST_INTEGRITY_STATE::passed);
        return;
    }
    delete_if_corrupted(component);
    downloader.add_file(utf8(component->download_url()), utf8(component->local_file_path()),
                        component->progress_data.get());
}

void VINST_DOWNLOADER_MGR::delete_if_corrupted(VINST_COMPONENT* component)
{
    if (!has_local_file(*component) || !component->download_complete ||
        !component->is_checked_for_current_dir())
        return;
    const QString text = QStringLiteral("Deleting corrupted components...");
    if (m_view != nullptr)
        m_view->show_status(text);
    run_log().info(utf8(text));
    FIO_FILE_SYSTEM::remove_if_exists(utf8(component->local_file_path()),
                                      [this]
                                      {
                                          if (m_view != nullptr)
                                              m_view->process_events();
                                          return is_to_stop();
                                      });
    get_progress_percentage(component, true, true, 0);
}

void VINST_DOWNLOADER_MGR::print_placeholders() const
{
    clear_below_cursor();
    std::string text = "Download progress:\n";
    for (const VINST_COMPONENT* component : m_components)
        text += utf8(component->display_name()) + ": [...]\n";
    print_text(text + "\n\n\n");
}

void VINST_DOWNLOADER_MGR::wait_for_downloads(CURL_DOWNLOADER& downloader)
{
    QTimer timer;
    if (m_view != nullptr)
    {
        QObject::connect(&timer, &QTimer::timeout, &timer,
                         [&]
                         {
                             if (downloader.downloads_complete())
                                 timer.stop();
                             else
                                 update_progress();
                         });
        timer.start(progress_interval);
        while (!downloader.downloads_complete())
            m_view->process_events();
        return;
    }

    // Checks start as soon as a file is there; the figures are renewed once a second.
    std::size_t finished = 0;
    QElapsedTimer since_pass;
    while (!downloader.downloads_complete())
    {
        if (!since_pass.isValid() || since_pass.hasExpired(progress_interval.count()))
        {
            update_progress();
            since_pass.start();
        }
        const std::chrono::milliseconds rest =
            progress_interval - std::chrono::milliseconds(since_pass.elapsed());
        downloader.wait_for_files(finished, std::max(rest, std::chrono::milliseconds(1)));
        if (const std::size_t now = downloader.finished_files(); now != finished)
        {
            finished = now;
            start_checks_of_complete_files();
        }
    }
    if (thr_stop_requested())
        stop();
}

void VINST_DOWNLOADER_MGR::start_checks_of_complete_files()
{
    for (VINST_COMPONENT* component : m_components)
        get_progress_percentage(component, true, false, received_bytes(*component));
}

void VINST_DOWNLOADER_MGR::stop()
{
    cancel_integrity_tasks();
    download_stop_requested = true;
    m_stopped = true;
}

void VINST_DOWNLOADER_MGR::abort_on_close()
{
    cancel_integrity_tasks();
    request_shutdown();
}

void VINST_DOWNLOADER_MGR::request_shutdown()
{
    shutdown_requested = true;
}

bool VINST_DOWNLOADER_MGR::is_to_stop()
{
    return download_stop_requested || shutdown_requested || thr_stop_requested();
}

VINST_DOWNLOADER_MGR::TRANSFER_RESULT
VINST_DOWNLOADER_MGR::judge_transfer(VINST_COMPONENT* component)
{
    // The status is stored last, so it is read first.
    const int http_code = component->progress_data->http_code;
    const int curl_code = component->progress_data->curl_code;
    if (curl_code == curl_write_error)
        m_write_error = true;
    if (http_code == http_not_found)
    {
        m_not_found_error = true;
        // What is held now is tried again at the next look.
        FIO_FILE_SYSTEM::remove_unless_held(utf8(component->local_file_path()));
    }
    if (curl_code == 0)
        return http_code == http_not_found ? TRANSFER_RESULT::error : TRANSFER_RESULT::good;
    return http_code == -1 || curl_code == curl_aborted_by_callback ? TRANSFER_RESULT::unreported
                                                                    : TRANSFER_RESULT::error;
}

VINST_COMPONENT_PROGRESS VINST_DOWNLOADER_MGR::look_at(VINST_COMPONENT* component,
                                                       VINST_PROGRESS_TOTALS& totals)
{
    CURL_PROGRESS_DATA& data = *component->progress_data;
    // A file that was whole before the run is not counted twice.
    if (component->bytes_on_disk >= component->expected_size())
        data.bytes_received = 0;
    const quint64 received = data.bytes_received;

    VINST_COMPONENT_PROGRESS progress;
    progress.name = component->display_name();
    progress.bytes = component->bytes_on_disk + received;
    progress.size = component->expected_size();
    progress.percent = get_progress_percentage(component, true, false, received);

    totals.downloaded += progress.bytes;
    totals.received += received;
    totals.delta += received - std::min<quint64>(received, data.bytes_seen);
    data.bytes_seen = received;
    return progress;
}

void VINST_DOWNLOADER_MGR::take_error(VINST_COMPONENT* component,
                                      VINST_COMPONENT_PROGRESS& progress)
{
    const CURL_PROGRESS_DATA& data = *component->progress_data;
    progress.error_line =
        transfer_error_line(progress.name, error_text_of(data), data.http_code, data.curl_code);
    // A pass a second repeats the line for the screen; once is enough for the log.
    if (!m_logged_error_lines.contains(progress.error_line))
        run_log().info("%s", utf8(progress.error_line));
    m_logged_error_lines.insert(progress.error_line);
    m_error_lines.append(progress.error_line);
    m_error_text = progress.error_line;
}

bool VINST_DOWNLOADER_MGR::update_progress()
{
    VINST_PROGRESS_TOTALS totals;
    totals.total = m_total_size;
    std::vector<VINST_COMPONENT_PROGRESS> progress;
    bool all_good = true;
    for (VINST_COMPONENT* component : m_components)
    {
        progress.push_back(look_at(component, totals));
        if (judge_transfer(component) != TRANSFER_RESULT::error)
            continue;
        take_error(component, progress.back());
        all_good = false;
    }
    show_progress(progress, totals);
    return all_good;
}

void VINST_DOWNLOADER_MGR::show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                                         const VINST_PROGRESS_TOTALS& totals)
{
    if (m_view != nullptr)
    {
        m_view->show_overall(overall_text(totals), percentage(totals.downloaded, totals.total));
        if (const QString speed = speed_text(totals); !speed.isEmpty())
            m_view->show_speed(speed);
        if (const QString remaining = remaining_text(totals); !remaining.isEmpty())
            m_view->show_time_remaining("Est. time remaining " + remaining);
    }
    const int lines_above = m_progress_text.isEmpty() ? static_cast<int>(m_components.size()) + 3
                                                      : line_count(m_progress_text);
    const QString block = progress_block(progress, totals);
    if (m_console_mode)
    {
        print_text(utf8(cursor_up(lines_above)));
        clear_below_cursor();
        print_line(utf8(block));
    }
    m_progress_text = cursor_up(lines_above) + block;
}

quint64 VINST_DOWNLOADER_MGR::get_progress_percentage(VINST_COMPONENT* component, bool start_check,
                                                      bool refresh_from_disk, quint64 extra_bytes)
{
    if (refresh_from_disk)
    {
        const auto file = FIO_FILE_SYSTEM::identity(utf8(component->local_file_path()));
        component->bytes_on_disk = file ? file->size : 0;
    }
    const quint64 on_disk = component->bytes_on_disk + (refresh_from_disk ? 0 : extra_bytes);
    const quint64 size = component->expected_size();
    const quint64 percent = percentage(on_disk, size);

    if (size == 0 || on_disk < size)
    {
        component->download_complete = false;
        if (size > 0)
        {
            component->integrity_checked = false;
            set_integrity_state(component, VINST_INTEGRITY_STATE::none);
        }
    }
    else
    {
        component->download_complete = true;
        if (component->is_checked_for_current_dir())
        {
            if (component->integrity_passed)
                make_installer_executable(*component);
            set_integrity_state(component, component->integrity_passed
                                               ? VINST_INTEGRITY_STATE::passed
                                               : VINST_INTEGRITY_STATE::failed);
        }
        else if (start_check)
        {
            start_integrity_task(component);
        }
    }
    if (m_view != nullptr)
        m_view->show_percentage(component, percent);
    return percent;
}

VINST_INSTALL_OUTCOME VINST_DOWNLOADER_MGR::install()
{
    return run_installation(m_release, m_passed_components, is_to_stop);
}

QStringList VINST_DOWNLOADER_MGR::lasting_error_texts() const
{
    QStringList texts;
    if (m_write_error)
        texts.append(QString::fromStdString(message("ERROR_CURL_WRITE_ERROR")));
    if (m_not_found_error)
        texts.append(QString::fromStdString(message("ERROR_CURL_404_ERROR")));
    return texts;
}

void VINST_DOWNLOADER_MGR::report_result(bool succeeded)
{
    QString line = QStringLiteral("Download successful");
    if (!succeeded)
        line = (QStringList(QStringLiteral("Download failed")) + lasting_error_texts()).join(". ");
    if (m_stopped || shutdown_requested)
        line = QStringLiteral("Download stopped");
    if (m_view != nullptr)
        m_view->show_status(line);
    report(utf8(line), false);
    m_progress_text += line + '\n';
    report_unanswered_transfers();
}

void VINST_DOWNLOADER_MGR::report_unanswered_transfers()
{
    // A file that no server answered for has no error line above; say why, each reason once.
    QSet<QString> said;
    for (VINST_COMPONENT* component : m_components)
    {
        const CURL_PROGRESS_DATA& data = *component->progress_data;
        const QString reason = error_text_of(data);
        if (data.http_code != -1 || data.curl_code <= 0 ||
            data.curl_code == curl_aborted_by_callback || said.contains(reason))
            continue;
        said.insert(reason);
        const QString line = component->display_name() + ": " + reason;
        report(utf8(line), false);
        m_progress_text += line + '\n';
        m_error_text = line;
    }
}

void VINST_DOWNLOADER_MGR::set_integrity_state(VINST_COMPONENT* component,
                                               VINST_INTEGRITY_STATE state)
{
    if (m_view != nullptr)
        m_view->show_integrity(component, state);
}
