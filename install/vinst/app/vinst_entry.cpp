#include "install/vinst/app/vinst_entry.h"

#include "install/vinst/app/vinst_application.h"
#include "install/vinst/base/vinst_fatal_handlers.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_print.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_stop_signals.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/console/vinst_cmdline.h"
#include "install/vinst/console/vinst_console_run.h"
#include "install/vinst/console/vinst_outcome_file.h"
#include "install/vinst/console/vinst_version.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "support/curl/curl_plain_text.h"
#include "support/fio/fio_file_system.h"
#include "support/mem/mem_initializer.h"
#include "support/thr/thr_sleep.h"

#include <QApplication>
#include <QDir>

#include <memory>

namespace
{

constexpr int stopped_early = 1;

/// Initialized when the library is loaded, before the entry function can be called.
const MEM_INITIALIZER memory_initializer;
const bool has_fatal_handlers = (install_fatal_handlers(), true);

/// Renames a file to the first free name with ".1", ".2" and so on. Other runs may do the same.
bool move_aside(const std::string& path)
{
    for (int number = 1;; ++number)
    {
        const std::string aside = path + "." + std::to_string(number);
        if (FIO_FILE_SYSTEM::move(path, aside, false) || !FIO_FILE_SYSTEM::exists(path))
            return true;
        if (!FIO_FILE_SYSTEM::exists(aside))
            return false;
    }
}

std::string kept_log_path(VINST_RELEASE& release)
{
    return utf8(release.ensure_download_dir() + QDir::separator() + release.log_file_name());
}

/// Moves the log to the download directory, where the user looks for it. Runs that end at the same
/// time keep their logs, too. \return its path afterwards; empty if there is none
std::string keep_log(VINST_RELEASE& release)
{
    const std::string temporary = VINST_MESSAGES::instance().log_path;
    const std::string kept = kept_log_path(release);
    if (!FIO_FILE_SYSTEM::exists(temporary))
        return {};
    constexpr int most_attempts = 20; // another run may take the name after each of them
    for (int attempt = 0; attempt < most_attempts; ++attempt)
    {
        if (FIO_FILE_SYSTEM::move(temporary, kept, false))
            return kept;
        // If it doesn't exist any more, another run has just moved it aside.
        if (FIO_FILE_SYSTEM::exists(kept) && !move_aside(kept))
            return temporary;
    }
    return temporary;
}

/// Prints the log's path where the user doesn't expect it, or needs it.
void print_log_path(VINST_RELEASE& release, const std::string& path, bool is_console,
                    bool has_failed)
{
    // A window that was closed without a download has not created the directory.
    if (path.empty() || (!is_console && !QDir(release.download_dir()).exists()))
        return;
    const bool was_moved = path == kept_log_path(release);
    if (!was_moved)
        print_text("The log could not be moved to the download directory:\n");
    if (!was_moved || has_failed)
        print_text(curl_plain_text(path) + "\n");
}

void use_release(VINST_RELEASE& release)
{
    release.in_use = true;
    set_current_release(&release);
}

std::string console_hint()
{
    return "Use the console program " + utf8(console_host_name(host_platform())) + ".";
}

int run_graphically(VINST_RELEASE& release)
{
    VINST_DOWNLOADER_DLG dialog(release);
    if (is_shutting_down())
        return 0;
    dialog.open();
    return QApplication::exec();
}

struct RUN_END
{
    int exit_code;
    bool has_failed; ///< a console run; its exit code may not say so
};

/// Writes the record of a console run if a file is given for it. \return false if that failed
bool save_record(const VINST_RUN_RECORD& record, const VINST_OPTIONS& options)
{
    if (!options.console_mode || options.json_file.isEmpty())
        return true;
    // The options of a refused run may not have been checked, and could name any file.
    if (record.outcome == VINST_RUN_OUTCOME::refused && !is_replaceable_outcome(options.json_file))
        return true;
    const QString error = replace_file(
        options.json_file, run_record_json(record, options, QDateTime::currentDateTimeUtc()));
    if (!error.isEmpty())
        report("The outcome could not be written to " +
                   utf8(QDir::toNativeSeparators(options.json_file)) + ": " + utf8(error),
               true);
    return error.isEmpty();
}

/// \param usual_code  the exit code without --strict
RUN_END end_of_run(const VINST_RUN_RECORD& record, const VINST_OPTIONS& options, int usual_code)
{
    const bool is_saved = save_record(record, options);
    if (!options.strict)
        return {usual_code, is_failure(record.outcome)};
    const int code = strict_exit_code(record.outcome);
    return {code == 0 && !is_saved ? stopped_early : code, is_failure(record.outcome)};
}

RUN_END run(VINST_OPTIONS& options)
{
    use_release(*options.release);
    if (!options.console_mode)
        return {run_graphically(*options.release), false};
    return end_of_run(run_console(options, has_admin_rights()), options, 0);
}

/// The end of a run that was ended by its options.
RUN_END end_early(const VINST_OPTIONS& options)
{
    return options.early_end ? end_of_run(*options.early_end, options, stopped_early)
                             : RUN_END{stopped_early, false};
}

/// Loads the release. Without one, the help is printed if it is requested.
/// \return whether the run continues: with a release, or with the manifest on the command line
bool load_release(int argc, const char* const* argv, VINST_OPTIONS& options)
{
    const bool gui_host = options.gui_host;
    std::unique_ptr<VINST_RELEASE>& release = options.release;
    QByteArray messages;
    release = find_manifest_file([&](const QByteArray& text) { messages += text; });
    if (release == nullptr && names_manifest(argc, argv))
        return true;
    if (release == nullptr && !gui_host && print_help_without_release(argc, argv))
        return false;
    print_manifest_message(messages);
    if (release != nullptr)
        return true;
    report_early("Cannot read manifest data", true, gui_host);
    options.refuse_unchecked(argc, argv, "Cannot read manifest data");
    return false;
}

/// Runs with a release, and leaves the log where the user finds it.
int run_with_log(VINST_OPTIONS& options, int argc, char** argv)
{
    const bool goes_on = options.parse(argc, argv) == 0;
    const RUN_END end = goes_on ? run(options) : end_early(options);
    VINST_MESSAGES::instance().close_log();
    if (goes_on)
        print_log_path(*options.release, keep_log(*options.release), options.console_mode,
                       end.has_failed);
    else if (!options.is_log_needed)
        FIO_FILE_SYSTEM::remove_if_exists(VINST_MESSAGES::instance().log_path);
    return end.exit_code;
}

/// The run after the application object has been created.
int run_with_application(int argc, char** argv, bool gui_host)
{
    const QString temp = temp_dir();
    if (temp.isEmpty())
    {
        report_early("Ensure your temp directory is writable before running this application.",
                     true, gui_host);
        return stopped_early;
    }
    VINST_OPTIONS options;
    options.gui_host = gui_host;
    if (!load_release(argc, argv, options))
        return end_early(options).exit_code;
    if (options.release != nullptr)
        use_release(*options.release);
    VINST_MESSAGES::instance().log_path = FIO_FILE_SYSTEM::get_tmp_path(utf8(temp));

    const int exit_code = run_with_log(options, argc, argv);
    VINST_MESSAGES::destroy();
    set_current_release(nullptr);
    return exit_code;
}

/// Closes message boxes that are open before the main dialog exists when the process is to stop.
int run_with_message_boxes(int argc, char** argv, bool gui_host)
{
    const THR_STOP_SUBSCRIPTION dismissal(
        [] { QMetaObject::invokeMethod(qApp, dismiss_modal_dialogs, Qt::QueuedConnection); });
    set_message_box(show_message_box);
    const int exit_code = run_with_application(argc, argv, gui_host);
    set_message_box({});
    return exit_code;
}

}

int install_vinst_run(int argc, char** argv, bool gui_host)
{
    open_missing_standard_streams();
    survive_closed_pipes();
    suppress_system_dialogs();
    gate_qt_messages();
    set_up_console();
    use_utf8_file_names();
    if (asks_for_version(argc, argv))
    {
        print_text(version_text());
        return 0;
    }
    const bool with_windows = may_run_graphically(argc, argv, gui_host);
    if (with_windows && !has_display())
    {
        print_text("No display is available. " + console_hint() + "\n");
        return stopped_early;
    }

    std::unique_ptr<QCoreApplication> application = make_application(argv, with_windows);
    // Not earlier: connecting to a display may hang, and until here a signal can end the process
    // safely.
    VINST_STOP_SIGNALS signals;
    const int exit_code = with_windows ? run_with_message_boxes(argc, argv, gui_host)
                                       : run_with_application(argc, argv, gui_host);
    application.reset();
    signals.end_by_signal();
    return exit_code;
}
