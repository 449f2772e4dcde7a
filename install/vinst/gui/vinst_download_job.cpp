#include "install/vinst/gui/vinst_download_job.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/download/vinst_retry.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/release/vinst_data_space.h"

#include <QCoreApplication>

#include <algorithm>

using namespace std::chrono_literals;

namespace
{

using RESULT = VINST_JOB_END::RESULT;

constexpr std::chrono::milliseconds time_update_interval{1000};

VINST_JOB_END::RESULT result_of(const VINST_INSTALL_OUTCOME& outcome)
{
    switch (outcome.result)
    {
    case VINST_INSTALL_OUTCOME::RESULT::installed:
        return RESULT::installed;
    case VINST_INSTALL_OUTCOME::RESULT::nothing_to_install:
        return RESULT::downloaded;
    case VINST_INSTALL_OUTCOME::RESULT::stopped:
        return RESULT::stopped;
    case VINST_INSTALL_OUTCOME::RESULT::failed:
        break;
    }
    return RESULT::failed;
}

double elapsed_seconds(const QElapsedTimer& clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

}

VINST_DOWNLOAD_JOB::VINST_DOWNLOAD_JOB(VINST_RELEASE& release, VINST_DOWNLOADER_MGR& manager,
                                       const VINST_DIALOG_HOST& host, VINST_JOB_VIEW& view,
                                       VINST_JOB_FORM& form)
    : m_release(release), m_manager(manager), m_view(view), m_preparation(release, host, form)
{
    m_time_updates.setInterval(time_update_interval);
    QObject::connect(&m_time_updates, &QTimer::timeout, &m_time_updates, [this] { show_time(); });
}

VINST_JOB_REPORT VINST_DOWNLOAD_JOB::run(const VINST_JOB_CHOICES& choices)
{
    m_choices = choices;
    begin_stoppable_work();
    m_record.reset();
    m_result = RESULT::none;
    VINST_JOB_REPORT report = run_steps();
    report.end = m_record.end(m_result, m_choices.download_dir, m_choices.install_dir);
    m_preparation.release_install_dir();
    m_time_updates.stop();
    return report;
}

void VINST_DOWNLOAD_JOB::show_time_remaining(const QString& text)
{
    m_remaining_text = text;
    show_time();
}

void VINST_DOWNLOAD_JOB::forget_times()
{
    m_download_seconds = 0;
    m_remaining_text.clear();
    show_time();
}

VINST_JOB_REPORT VINST_DOWNLOAD_JOB::run_steps()
{
    if (const QString reason = reason_for_nothing(); !reason.isEmpty())
    {
        run_log().info("%s", utf8(reason));
        m_view.show_status(reason);
        return {reason, false, false};
    }
    if (!m_preparation.prepare(m_choices))
        return {};
    const auto note_obstacle = [this]
    { m_result = is_to_stop() ? RESULT::stopped : RESULT::failed; };
    if (!establish_connection())
    {
        note_obstacle();
        return {};
    }
    log_run_summary();
    m_download_seconds = 0;
    m_time_updates.start();
    m_record.begin(
        selected_components(m_release, VINST_COMPONENT_KIND::download, m_choices.platform));
    VINST_JOB_REPORT report;
    if (!download_with_retries(report))
    {
        note_obstacle();
        return report;
    }
    m_result = RESULT::downloaded;
    if (!m_choices.auto_install)
        return {download_report(static_cast<int>(m_manager.passed_components().size())), false,
                true};
    return install_components();
}

QString VINST_DOWNLOAD_JOB::reason_for_nothing() const
{
    constexpr auto kind = VINST_COMPONENT_KIND::download;
    if (!selected_components(m_release, kind, m_choices.platform).empty())
        return {};
    const VINST_COMPONENT_LIST offered = components_of_kind(m_release, kind, m_choices.platform);
    const bool is_group_selected =
        std::any_of(offered.begin(), offered.end(),
                    [](const VINST_COMPONENT* component) { return component->is_selected(); });
    return is_group_selected
               ? QStringLiteral("There is nothing to download: no selected component has a file.")
               : QStringLiteral("There is nothing to download: no component is selected.");
}

bool VINST_DOWNLOAD_JOB::establish_connection()
{
    m_view.show_status(QStringLiteral("Establishing a connection..."));
    QCoreApplication::processEvents();
    if (is_to_stop())
        return false;
    const VINST_CONNECTION_RESULT result = m_manager.test_download(m_choices.proxy);
    if (is_to_stop())
        return false;
    if (result.works)
        return true;
    m_view.show_status(QStringLiteral("Download failed"));
    show_message_box(result.error, true);
    return false;
}

void VINST_DOWNLOAD_JOB::log_run_summary()
{
    const VINST_RUN_SETTINGS settings{m_choices.platform, m_choices.auto_install,
                                      m_choices.parallel_downloads,
                                      static_cast<int>(m_choices.retry_duration.count())};
    for (const QString& line : run_summary(m_release, settings))
        run_log().info("%s", utf8(line));
}

bool VINST_DOWNLOAD_JOB::download_with_retries(VINST_JOB_REPORT& report)
{
    QElapsedTimer since_start;
    since_start.start();
    for (int attempt = 1;; ++attempt)
    {
        download_once();
        if (is_to_stop())
            return false;
        if (m_manager.failed_components().empty())
            return true;

        const VINST_RETRY_DECISION decision =
            decide_retry(attempt, std::chrono::nanoseconds(since_start.nsecsElapsed()),
                         m_choices.retry_duration, m_manager.errors().fault());
        switch (decision.action)
        {
        case VINST_RETRY_DECISION::ACTION::give_up_on_error:
            report = {m_manager.errors().lasting_texts().join('\n'), true, false};
            m_view.show_status(m_manager.errors().lasting_texts().join(' '));
            return false;
        case VINST_RETRY_DECISION::ACTION::give_up_on_time:
            report = retries_exhausted();
            return false;
        case VINST_RETRY_DECISION::ACTION::retry:
            break;
        }
        if (!wait_for_retry(attempt, decision.wait))
            return false;
    }
}

void VINST_DOWNLOAD_JOB::download_once()
{
    m_attempt_clock.start();
    m_manager.download(m_choices.parallel_downloads);
    m_download_seconds += elapsed_seconds(m_attempt_clock);
    m_attempt_clock.invalidate();
    show_time();
}

bool VINST_DOWNLOAD_JOB::wait_for_retry(int attempt, std::chrono::seconds wait)
{
    run_log().info("%s", utf8(retry_status(attempt, wait)));
    for (std::chrono::seconds left = wait; left > 0s; left -= 1s)
    {
        m_view.show_status(retry_status(attempt, left));
        m_view.show_retry_wait(m_manager.failed_components(), left);
        if (!wait_unless_stopped(1s))
            return false;
    }
    return true;
}

VINST_JOB_REPORT VINST_DOWNLOAD_JOB::retries_exhausted()
{
    const QString status =
        QStringLiteral("Download failed. Exceeded retry limit. Process aborted.");
    m_view.show_status(status);
    run_log().info("%s", utf8(status));
    QStringList names;
    for (const VINST_COMPONENT* component : m_manager.failed_components())
        names.append(component->display_name());
    return {failed_components_text(names, m_manager.error_text()), true, false};
}

VINST_JOB_REPORT VINST_DOWNLOAD_JOB::install_components()
{
    m_view.show_status(QStringLiteral("Installing the selected components, please wait..."));
    m_install_clock.start();
    m_record.begin_installation();
    const VINST_INSTALL_OUTCOME outcome = m_manager.install();
    const double seconds = elapsed_seconds(m_install_clock);
    m_install_clock.invalidate();
    m_preparation.note(outcome);
    m_record.note(outcome);
    m_result = result_of(outcome);
    const QString status = install_status(outcome, seconds);
    m_view.show_status(status);
    for (const QString& line : install_remarks(outcome))
        run_log().info("%s", utf8(line));
    run_log().info("%s", utf8(status));
    return {install_report(outcome), outcome.result != VINST_INSTALL_OUTCOME::RESULT::installed,
            true, m_result == RESULT::failed || m_result == RESULT::stopped};
}

void VINST_DOWNLOAD_JOB::show_time()
{
    if (is_installing())
        m_view.show_install_time(
            std::chrono::seconds(static_cast<int>(elapsed_seconds(m_install_clock))));
    if (!m_remaining_text.isEmpty())
    {
        m_view.show_time(m_remaining_text);
        return;
    }
    double seconds = m_download_seconds;
    if (m_attempt_clock.isValid())
        seconds += elapsed_seconds(m_attempt_clock);
    m_view.show_time(seconds > 0 ? "Total download time: " + format_elapsed(seconds) : QString());
}
