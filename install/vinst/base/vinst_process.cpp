#include "install/vinst/base/vinst_process.h"

#include "install/vinst/base/vinst_exit_code.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process_platform.h"
#include "install/vinst/base/vinst_stop_signals.h"
#include "install/vinst/base/vinst_text.h"
#include "support/fio/fio_file_system.h"
#include "support/main/main_assert.h"
#include "support/thr/thr_sleep.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace
{

constexpr int not_started = -1;
constexpr int shown_lines = 10;
constexpr int longest_line = 200;          // characters
constexpr qint64 longest_tail = 16 * 1024; // bytes
constexpr int crash_base = 128;            // as in shells: 128 plus the signal number
constexpr std::chrono::milliseconds grace_after_stop{1200};
constexpr std::chrono::milliseconds stop_check_interval{200};
constexpr std::chrono::milliseconds output_interval{1000};

/// Splits a command: the program, then its arguments.
struct COMMAND_LIST final : QStringList
{
    explicit COMMAND_LIST(const QString& command) : QStringList(QProcess::splitCommand(command))
    {
        MAIN_ASSERT(!isEmpty());
    }
};

/// The installer's own directory; for a program found by PATH, this program's working directory.
QString working_directory(const QString& program)
{
    const QFileInfo file(program);
    return file.isAbsolute() ? file.path() : QString();
}

/// A temporary file for an installer's output, so that large output needs neither memory nor a
/// reader.
class OUTPUT_FILE
{
public:
    OUTPUT_FILE() : m_path(FIO_FILE_SYSTEM::get_tmp_path(utf8(QDir::tempPath())))
    {
        m_exists = FIO_FILE_SYSTEM::create_private_file(m_path);
    }
    /// A process left behind by the installer may still have the file open; don't wait for that.
    ~OUTPUT_FILE() { FIO_FILE_SYSTEM::remove_unless_held(m_path); }
    OUTPUT_FILE(const OUTPUT_FILE&) = delete;
    OUTPUT_FILE& operator=(const OUTPUT_FILE&) = delete;

    const std::string& path() const { return m_path; }
    bool exists() const { return m_exists; }

private:
    std::string m_path;
    bool m_exists = false;
};

/// Ends the installer when a stop is requested, which may happen on any thread.
class STOP_GUARD
{
public:
    STOP_GUARD(QProcess& process, const std::function<bool()>& is_to_stop)
        : m_process(process), m_subscription(
                                  [this]
                                  {
                                      QMetaObject::invokeMethod(
                                          &m_context, [this] { stop(); }, Qt::QueuedConnection);
                                  })
    {
        if (!is_to_stop)
            return;
        QObject::connect(&m_check, &QTimer::timeout, &m_context,
                         [this, is_to_stop]
                         {
                             if (is_to_stop())
                                 stop();
                         });
        m_check.start(stop_check_interval);
    }
    /// Child processes of the installer may have outlived it.
    ~STOP_GUARD()
    {
        if (m_is_stopping)
            kill_group(m_process);
    }
    STOP_GUARD(const STOP_GUARD&) = delete;
    STOP_GUARD& operator=(const STOP_GUARD&) = delete;

private:
    void stop()
    {
        if (std::exchange(m_is_stopping, true))
            return;
        run_log().info("Stop requested, ending the installer");
        pass_signal_on(m_process, VINST_STOP_SIGNALS::received());
        QTimer::singleShot(grace_after_stop, &m_context, [this] { kill_group(m_process); });
    }

    QProcess& m_process;
    QObject m_context;
    QTimer m_check;
    bool m_is_stopping = false;
    THR_STOP_SUBSCRIPTION m_subscription;
};

/// Starts the process and returns when it has ended or could not be started.
void run_to_end(QProcess& process, const std::function<bool()>& is_to_stop)
{
    QEventLoop loop;
    QObject::connect(&process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
                     [&loop] { loop.quit(); });
    QObject::connect(&process, &QProcess::errorOccurred, &loop,
                     [&loop](QProcess::ProcessError error)
                     {
                         if (error == QProcess::FailedToStart)
                             loop.quit();
                     });
    process.start();
    const STOP_GUARD guard(process, is_to_stop);
    if (process.state() != QProcess::NotRunning)
        loop.exec();
}

}

QString command_part(const QString& text)
{
    const bool is_plain =
        std::none_of(text.begin(), text.end(), [](QChar c) { return c.isSpace() || c == '"'; });
    if (is_plain)
        return text;
    QString escaped = text;
    return '"' + escaped.replace('"', "\"\"\"") + '"';
}

QString crash_text(int code, const QString& platform)
{
    if (platform == "linux")
        return QStringLiteral("It was ended by signal %1").arg(code);
    return QStringLiteral("It was ended with status 0x%1")
        .arg(static_cast<quint32>(code), 8, 16, QLatin1Char('0'));
}

namespace
{

/// The lines at the end of a file that are not empty; the first one may lack its beginning.
QStringList lines_at_end_of(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const bool is_cut = file.size() > longest_tail && file.seek(file.size() - longest_tail);
    // With the size, because the text may contain NUL. "\r" ends what progress bars overwrite.
    const QByteArray bytes = file.readAll();
    static const QRegularExpression line_end(QStringLiteral("[\r\n]+"));
    QStringList lines;
    for (const QString& line : QString::fromUtf8(bytes.constData(), bytes.size()).split(line_end))
        lines.append(line.trimmed());
    if (is_cut && lines.size() > 1)
        lines.removeFirst();
    lines.removeAll(QString());
    return lines.mid(std::max(0, lines.size() - shown_lines));
}

}

QStringList last_lines_of(const QString& path)
{
    QStringList lines = lines_at_end_of(path);
    for (QString& line : lines)
        line = without_control_characters(line.right(longest_line));
    return lines;
}

namespace
{

/// Reports the last line of a file that grows, once per second if it has changed.
class OUTPUT_WATCH
{
public:
    OUTPUT_WATCH(const QString& path, const std::function<void(const QString&)>& on_output)
    {
        if (!on_output)
            return;
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this, path, on_output]
                         {
                             const QStringList lines = lines_at_end_of(path);
                             if (lines.isEmpty())
                                 return;
                             const QString line =
                                 without_control_characters(lines.last().left(longest_line));
                             if (std::exchange(m_last_line, line) != line)
                                 on_output(line);
                         });
        m_timer.start(output_interval);
    }

private:
    QTimer m_timer;
    QString m_last_line;
};

void discard_output(QProcess& process)
{
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(QProcess::nullDevice());
}

}

VINST_COMMAND_RESULT run_command(const QString& command, const std::function<bool()>& is_to_stop,
                                 const std::function<void(const QString&)>& on_output)
{
    const COMMAND_LIST parts(command);
    run_log().info("Run command: %s\n", utf8(command));

    const OUTPUT_FILE output;
    const std::unique_ptr<QProcess> process = make_installer_process();
    process->setProgram(parts.first());
    process->setArguments(parts.mid(1));
    if (output.exists())
        write_output_to(*process, output.path());
    else
        discard_output(*process);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setWorkingDirectory(working_directory(parts.first()));
    const OUTPUT_WATCH watch(QString::fromStdString(output.path()), on_output);
    run_to_end(*process, is_to_stop);

    int code = process->exitCode();
    QString cause;
    if (process->error() == QProcess::FailedToStart)
    {
        code = not_started;
        cause = "It could not be started: " + process->errorString();
        if (needs_elevation(*process))
            cause += "\nRun this program as an administrator to install it.";
    }
    else if (process->exitStatus() == QProcess::CrashExit)
    {
        cause = crash_text(code, host_platform());
        if (code >= 0 && code < crash_base)
            code += crash_base;
    }
    const std::string logged_cause = cause.isEmpty() ? std::string() : utf8(cause) + '\n';
    run_log().info_with_file(
        CURL_LOGGER::formatted("Command: %s returned %d: %s", utf8(command), code, logged_cause),
        output.path());
    VINST_EXIT_MEANING meaning{false, false, cause};
    if (cause.isEmpty())
        meaning = meaning_of_exit_code(code, host_platform());
    if (meaning.succeeded)
        return {code, true, meaning.needs_restart, {}, {}};
    return {code, false, false, meaning.cause,
            last_lines_of(QString::fromStdString(output.path()))};
}

bool run_command_detached(const QString& command, const std::function<void(int)>& ended)
{
    const COMMAND_LIST parts(command);
    run_log().info("Run command: %s\n", utf8(command));
    return start_detached(parts.first(), parts.mid(1), working_directory(parts.first()), ended);
}
