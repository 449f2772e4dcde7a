#include "install/vinst/download/vinst_pac_runner.h"

#include "install/pac/pac_request.h"
#include "install/vinst/base/vinst_child_process.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"

#include <QEventLoop>
#include <QProcessEnvironment>
#include <QTimer>

namespace
{

constexpr int output_limit = 64 * 1024; // bytes
constexpr std::chrono::milliseconds stop_check_interval{100};

/// The helper gets none of the user's environment, such as passwords in proxy variables or HOME.
QProcessEnvironment bare_environment()
{
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    QProcessEnvironment bare;
    for (const char* name : {"TZ", "LD_LIBRARY_PATH", "LOCALDOMAIN", "RES_OPTIONS"})
        if (own.contains(name))
            bare.insert(name, own.value(name));
    bare.insert("LC_ALL", "C.UTF-8");
    return bare;
}

/// Runs the helper until it ends or is killed.
class HELPER_RUN
{
public:
    HELPER_RUN(const QString& program, std::string request) : m_request(std::move(request))
    {
        m_process.setProgram(program);
        m_process.setProcessEnvironment(bare_environment());
        m_process.setWorkingDirectory("/");
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_loop,
                         [this] { take(m_process.readAllStandardOutput(), m_output); });
        QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_loop,
                         [this] { take(m_process.readAllStandardError(), m_words); });
        QObject::connect(&m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished),
                         &m_loop, [this] { m_loop.quit(); });
        QObject::connect(&m_process, &QProcess::errorOccurred, &m_loop,
                         [this](QProcess::ProcessError error)
                         {
                             if (error == QProcess::FailedToStart)
                                 m_loop.quit();
                         });
    }

    void run(std::chrono::milliseconds at_most, const std::function<bool()>& may_go_on)
    {
        m_process.start();
        m_process.write(m_request.data(), static_cast<qint64>(m_request.size()));
        m_process.closeWriteChannel();
        QTimer::singleShot(at_most, Qt::PreciseTimer, &m_loop,
                           [this] { end("it takes too long"); });
        QTimer stop_check;
        QObject::connect(&stop_check, &QTimer::timeout, &m_loop,
                         [&]
                         {
                             if (!may_go_on())
                                 end("a stop was requested");
                         });
        stop_check.start(stop_check_interval);
        if (m_process.state() != QProcess::NotRunning)
            m_loop.exec();
        take(m_process.readAllStandardOutput(), m_output);
        take(m_process.readAllStandardError(), m_words);
    }

    const QByteArray& output() const { return m_output; }
    const QByteArray& words() const { return m_words; }

    /// Why there is no directive; empty when there is one.
    QString trouble() const
    {
        if (!m_ended_because.isEmpty())
            return m_ended_because;
        if (m_process.error() == QProcess::FailedToStart)
            return m_process.program() + " can't be started: " + m_process.errorString();
        if (m_process.exitStatus() == QProcess::CrashExit)
            return QStringLiteral("it exceeded its limits (signal %1)").arg(m_process.exitCode());
        if (m_process.exitCode() != pac_directive_found)
            return "it yields no proxy";
        return {};
    }

private:
    void take(const QByteArray& bytes, QByteArray& all)
    {
        all += bytes;
        if (all.size() <= output_limit)
            return;
        all.truncate(output_limit);
        end("it prints too much");
    }

    void end(const QString& reason)
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_ended_because = reason;
        m_process.kill();
    }

    const std::string m_request;
    QEventLoop m_loop;
    QByteArray m_output;
    QByteArray m_words;
    QString m_ended_because;
    /// Last, so that it is destroyed first: it may still send signals.
    VINST_CHILD_PROCESS m_process;
};

void log_words(const QByteArray& words)
{
    const QByteArray mark(pac_report_mark.data(), static_cast<int>(pac_report_mark.size()));
    for (const QByteArray& line : words.split('\n'))
    {
        const bool is_report = line.startsWith(mark);
        const std::string text = utf8(without_control_characters(
            QString::fromUtf8(is_report ? line.mid(mark.size()) : line)));
        if (is_report)
            run_log().info("autoproxy script: %s", text);
        else if (!line.isEmpty())
            run_log().debug("autoproxy script: %s", text);
    }
}

}

QString pac_helper_path()
{
    return library_directory() + "/vinst_pac";
}

std::optional<QString> run_pac_script(const QString& helper, const QString& script,
                                      const QString& url, const QString& host,
                                      std::chrono::milliseconds at_most,
                                      const std::function<bool()>& may_go_on,
                                      std::chrono::milliseconds longest)
{
    PAC_REQUEST request{utf8(url), utf8(host), utf8(script)};
    QString trouble = "it is larger than 1 MiB";
    if (request.script.size() <= pac_script_limit)
    {
        HELPER_RUN run(helper, to_text(request));
        run.run(std::min(at_most, longest), may_go_on);
        log_words(run.words());
        trouble = run.trouble();
        if (trouble.isEmpty())
            return QString::fromUtf8(run.output());
    }
    run_log().info("No proxy from the autoproxy file: %s", utf8(trouble));
    return std::nullopt;
}
