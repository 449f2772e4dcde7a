#include "install/vinst/console/vinst_console_run.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/console/vinst_cmdline.h"
#include "install/vinst/console/vinst_console_view.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/download/vinst_file_failure.h"
#include "install/vinst/download/vinst_install_place.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/download/vinst_retry.h"
#include "install/vinst/release/vinst_data_space.h"

#include <QDir>

#include <chrono>

namespace
{

QString text_of(const char* id)
{
    return QString::fromStdString(message(id));
}

QString obstacle_to_installing(VINST_RELEASE& release, VINST_INSTALL_LOCK& lock)
{
    const QString obstacle = install_obstacle(release);
    return obstacle.isEmpty() ? lock.take(release.install_dir()) : obstacle;
}

/// Why the run can't start; empty if it can.
QString obstacle_to_run(const VINST_OPTIONS& options, bool is_admin, VINST_INSTALL_LOCK& lock)
{
    VINST_RELEASE& release = *options.release;
    const QString platform = QString::fromStdString(options.platform);
    if (options.auto_install && !is_admin)
        return text_of("ERROR_ADMIN_PRIV");
    if (options.auto_install && !is_empty_or_missing_dir(release.install_dir()))
        return text_of("ERROR_INSTALLDIR_IS_NOT_EMPTY");
    if (options.auto_install)
        if (const QString obstacle = obstacle_to_installing(release, lock); !obstacle.isEmpty())
            return obstacle;
    if (const QString warning = open_download_dir_warning(release); !warning.isEmpty())
        report(utf8(warning), false);
    if (options.bypass)
        return {};
    if (!options.offline && !has_enough_download_space(release, platform))
        return text_of("WARNING_INSUFFICIENT_DOWNLOADDIR_DISK_SPACE_CLI");
    if (options.auto_install && !has_enough_install_space(release, platform))
        return text_of("WARNING_INSUFFICIENT_INSTALLDIR_DISK_SPACE_CLI");
    return {};
}

void report_summary(const VINST_OPTIONS& options)
{
    const VINST_RUN_SETTINGS settings{QString::fromStdString(options.platform),
                                      options.auto_install, options.parallel_downloads,
                                      options.retry_duration};
    for (const QString& line : run_summary(*options.release, settings))
        report(utf8(line), false);
    if (options.rate_limit > 0)
        report("Rate limit: " + utf8(readable_size(options.rate_limit)) + "/sec", false);
}

void report_giving_up(const VINST_DOWNLOADER_MGR& manager, VINST_RETRY_DECISION::ACTION action)
{
    if (action == VINST_RETRY_DECISION::ACTION::give_up_on_time)
    {
        report("Download failed. Exceeded retry limit. Process aborted.", false);
        return;
    }
    for (const QString& text : manager.errors().lasting_texts())
        report(utf8(text), false);
}

/// \return false after a stop
bool wait_for_retry(VINST_CONSOLE_VIEW& view, int attempt, std::chrono::seconds wait)
{
    view.begin_wait(QString::fromStdString("Retrying #" + std::to_string(attempt) + " after " +
                                           format_duration(static_cast<int>(wait.count())) +
                                           " ...\n"));
    if (wait_unless_stopped(wait))
    {
        view.end_wait();
        return true;
    }
    const QString result = QStringLiteral("Download stopped");
    view.show_reported_line(result);
    report(utf8(result), false);
    return false;
}

/// \return whether all components are complete and passed their checks
bool download_with_retries(VINST_DOWNLOADER_MGR& manager, VINST_CONSOLE_VIEW& view,
                           const VINST_OPTIONS& options)
{
    using CLOCK = std::chrono::steady_clock;
    const CLOCK::time_point start = CLOCK::now();
    view.start();
    for (int attempt = 1;; ++attempt)
    {
        manager.download(options.parallel_downloads);
        if (is_to_stop())
            return false;
        if (manager.failed_components().empty())
            return true;
        const VINST_RETRY_DECISION decision =
            decide_retry(attempt, CLOCK::now() - start,
                         std::chrono::minutes(options.retry_duration), manager.errors().fault());
        if (decision.action != VINST_RETRY_DECISION::ACTION::retry)
        {
            report_giving_up(manager, decision.action);
            return false;
        }
        if (!wait_for_retry(view, attempt, decision.wait))
            return false;
    }
}

/// Reports a line below what the view shows.
void report_below(VINST_CONSOLE_VIEW& view, const QString& line, bool is_error)
{
    view.show_reported_line(line);
    report(utf8(line), is_error);
}

QString offline_verdict(std::size_t bad_files, std::size_t files, bool auto_install)
{
    if (bad_files == 0)
        return QStringLiteral("All files are complete and verified.");
    return (auto_install ? QStringLiteral("Nothing was installed: ") : QString()) +
           QString::number(bad_files) + " of " + QString::number(files) +
           (files == 1 ? " file" : " files") + (bad_files == 1 ? " is" : " are") +
           " missing or wrong.";
}

/// Verifies the files in the download directory. \return whether all are complete and correct
bool verify_without_network(VINST_DOWNLOADER_MGR& manager, VINST_CONSOLE_VIEW& view,
                            const VINST_OPTIONS& options)
{
    manager.set_components(options.selected_components, true);
    report_summary(options);
    manager.check_integrity();
    if (is_to_stop())
    {
        report_below(view, QStringLiteral("Verification stopped"), false);
        return false;
    }
    const VINST_COMPONENT_LIST& failed = manager.failed_components();
    for (const VINST_COMPONENT* component : failed)
        report_below(view, local_failure_text(*component), true);
    const std::size_t files = failed.size() + manager.passed_components().size();
    report_below(view, offline_verdict(failed.size(), files, options.auto_install),
                 !failed.empty());
    return failed.empty();
}

/// \return whether all components are downloaded and verified
bool download(VINST_DOWNLOADER_MGR& manager, VINST_CONSOLE_VIEW& view, const VINST_OPTIONS& options,
              VINST_RUN_RECORD& record)
{
    record.connection = manager.test_download(options.proxy_settings());
    record.error = QString::fromStdString(record.connection.error);
    if (!record.connection.works)
        return false;
    // Corrupt files of earlier runs are deleted at the start of an attempt. If there is only one,
    // they have to be known by then; otherwise, checking them while others download is faster.
    const bool is_only_attempt = options.retry_duration == 0;
    manager.set_components(options.selected_components, is_only_attempt);
    report_summary(options);
    QDir().mkpath(options.release->download_dir());
    manager.wait_for_integrity_tasks();
    return download_with_retries(manager, view, options);
}

/// Counts the files that are not verified.
void take_download(const VINST_DOWNLOADER_MGR& manager, VINST_RUN_FACTS& facts)
{
    for (const VINST_COMPONENT* component : manager.failed_components())
        ++(component->file.is_corrupted() ? facts.corrupted_files : facts.incomplete_files);
}

void install(VINST_DOWNLOADER_MGR& manager, VINST_RUN_FACTS& facts, VINST_RUN_RECORD& record)
{
    const VINST_INSTALL_OUTCOME outcome = manager.install();
    record.installation = outcome;
    record.error = outcome.reason;
    facts.was_stopped = is_to_stop();
    facts.installation = outcome.result;
    facts.has_left_out = !outcome.not_installed.isEmpty();
    if (facts.was_stopped)
        return;
    for (const QString& line : install_remarks(outcome))
        report(utf8(line), false);
    report(utf8(install_verdict(outcome)), false);
}

VINST_RUN_FACTS run_steps(VINST_OPTIONS& options, bool is_admin, VINST_RUN_RECORD& record)
{
    VINST_RUN_FACTS facts;
    facts.was_stopped = is_to_stop();
    if (facts.was_stopped)
        return facts;
    VINST_INSTALL_LOCK lock;
    record.error = obstacle_to_run(options, is_admin, lock);
    facts.was_refused = !record.error.isEmpty();
    if (facts.was_refused)
    {
        report(utf8(record.error), true);
        return facts;
    }

    const std::unique_ptr<VINST_CONSOLE_VIEW> view = options.make_view();
    VINST_DOWNLOADER_MGR manager(*options.release, *view);
    manager.set_rate_limit(options.rate_limit);
    const bool has_files = options.offline ? verify_without_network(manager, *view, options)
                                           : download(manager, *view, options, record);
    if (!has_files)
    {
        facts.was_stopped = is_to_stop();
        facts.is_connected = options.offline || record.connection.works;
        take_download(manager, facts);
        return facts;
    }
    if (options.auto_install)
        install(manager, facts, record);
    return facts;
}

}

VINST_RUN_RECORD run_console(VINST_OPTIONS& options, bool is_admin)
{
    VINST_RUN_RECORD record;
    record.outcome = decide_run_outcome(run_steps(options, is_admin, record));
    return record;
}
