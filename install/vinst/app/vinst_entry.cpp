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
#include "install/vinst/console/vinst_version.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "support/fio/fio_file_system.h"
#include "support/mem/mem_initializer.h"
#include "support/thr/thr_sleep.h"

#include <QApplication>
#include <QDir>
#include <QRegularExpression>

#include <memory>

namespace
{

constexpr int stopped_early = 1;

/// Initialized when the library is loaded, before the entry function can be called.
const MEM_INITIALIZER memory_initializer;
const bool has_fatal_handlers = (install_fatal_handlers(), true);

/// Makes text from the manifest safe as a part of the log's file name.
QString file_name_part(QString text)
{
    static const QRegularExpression unsafe(QStringLiteral(R"([^\p{L}\p{N}._-])"));
    return text.replace(unsafe, "_");
}

/// Renames an existing file to the first free name with ".1", ".2" and so on.
void move_aside(const std::string& path)
{
    if (!FIO_FILE_SYSTEM::exists(path))
        return;
    int number = 1;
    while (FIO_FILE_SYSTEM::exists(path + "." + std::to_string(number)))
        ++number;
    FIO_FILE_SYSTEM::move(path, path + "." + std::to_string(number), true);
}

/// Moves the log to the download directory, where the user looks for it.
void keep_log(VINST_RELEASE& release)
{
    const std::string temporary = VINST_MESSAGES::instance().log_path;
    const QString dir = release.ensure_download_dir();
    if (!FIO_FILE_SYSTEM::exists(temporary) || !QDir(dir).exists())
        return;
    const std::string kept =
        utf8(dir + QDir::separator() + "vinst-" + file_name_part(release.version) + '-' +
             file_name_part(release.edition) + ".log");
    move_aside(kept);
    FIO_FILE_SYSTEM::move(temporary, kept, true);
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

int run(VINST_OPTIONS& options)
{
    use_release(*options.release);
    if (!options.console_mode)
        return run_graphically(*options.release);
    run_console(options, has_admin_rights());
    return 0;
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
    options.release = find_manifest_file(print_manifest_message);
    if (options.release == nullptr)
    {
        report_early("Cannot read manifest data", true, gui_host);
        return stopped_early;
    }
    use_release(*options.release);
    VINST_MESSAGES::instance().log_path = FIO_FILE_SYSTEM::get_tmp_path(utf8(temp));

    const bool goes_on = options.parse(argc, argv) == 0;
    const int exit_code = goes_on ? run(options) : stopped_early;
    VINST_MESSAGES::instance().close_log();
    if (goes_on)
        keep_log(*options.release);
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

    std::unique_ptr<QApplication> application = make_application(argv, with_windows);
    // Not earlier: connecting to a display may hang, and until here a signal can end the process
    // safely.
    VINST_STOP_SIGNALS signals;
    const int exit_code = run_with_message_boxes(argc, argv, gui_host);
    application.reset();
    signals.end_by_signal();
    return exit_code;
}
