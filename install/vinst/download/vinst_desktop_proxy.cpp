#include "install/vinst/download/vinst_desktop_proxy.h"

#include "install/vinst/base/vinst_child_process.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_proxy_rules.h"

#include <QEventLoop>
#include <QMap>
#include <QProcessEnvironment>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <array>

namespace
{

constexpr qint64 output_limit = 64 * 1024; // bytes
constexpr std::chrono::milliseconds stop_check_interval{100};

/// The desktop's "socks" proxies resolve host names themselves.
const QMap<QString, QString>& schemes()
{
    static const QMap<QString, QString> known{{"http", ""},
                                              {"https", "https://"},
                                              {"socks", "socks5h://"},
                                              {"socks5", "socks5h://"},
                                              {"socks5h", "socks5h://"},
                                              {"socks4", "socks4://"},
                                              {"socks4a", "socks4a://"}};
    return known;
}

/// GIO would read them, too, by rules of its own. This program has read them already.
QProcessEnvironment without_proxy_variables()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QStringList names = environment.keys();
    for (const QString& name : names)
        if (name.endsWith("_proxy", Qt::CaseInsensitive))
            environment.remove(name);
    return environment;
}

int default_port(const QString& scheme)
{
    if (scheme == "http")
        return 80;
    return scheme == "https" ? 443 : 1080;
}

void log_failure(const QString& reason)
{
    run_log().debug("No proxy from the desktop's settings: %s",
                    utf8(without_control_characters(reason)));
}

}

QString desktop_proxy_helper_path()
{
    return library_directory() + "/vinst_desktop_proxy";
}

bool is_in_desktop_session()
{
    // GIO and libproxy choose the settings that they read by the first five.
    constexpr std::array names{"XDG_CURRENT_DESKTOP",      "DESKTOP_SESSION",
                               "GNOME_DESKTOP_SESSION_ID", "KDE_FULL_SESSION",
                               "MATE_DESKTOP_SESSION_ID",  "DISPLAY",
                               "WAYLAND_DISPLAY"};
    return std::any_of(names.begin(), names.end(),
                       [](const char* name) { return !qEnvironmentVariableIsEmpty(name); });
}

CURL_PROXY_INFO ask_desktop_for_proxy(const QString& helper, const QString& url,
                                      const std::function<bool()>& may_go_on,
                                      std::chrono::milliseconds at_most)
{
    QEventLoop loop;
    // After the loop, so that it is destroyed first: it may still send signals.
    VINST_CHILD_PROCESS process;
    process.setProgram(helper);
    process.setProcessEnvironment(without_proxy_variables());
    QObject::connect(&process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
                     &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop,
                     [&loop](QProcess::ProcessError error)
                     {
                         if (error == QProcess::FailedToStart)
                             loop.quit();
                     });
    QTimer::singleShot(at_most, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    QTimer stop_check;
    QObject::connect(&stop_check, &QTimer::timeout, &loop,
                     [&]
                     {
                         if (!may_go_on())
                             loop.quit();
                     });
    stop_check.start(stop_check_interval);
    QByteArray answer;
    QByteArray errors;
    const auto is_too_long = [&] { return answer.size() + errors.size() > output_limit; };
    const auto take_output = [&]
    {
        answer += process.readAllStandardOutput();
        errors += process.readAllStandardError();
        if (is_too_long())
            loop.quit();
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &loop, take_output);
    QObject::connect(&process, &QProcess::readyReadStandardError, &loop, take_output);
    process.start();
    process.write(url.toUtf8() + '\n');
    process.closeWriteChannel();
    if (process.state() != QProcess::NotRunning)
        loop.exec();

    QString trouble;
    if (process.state() != QProcess::NotRunning)
    {
        trouble = is_too_long() ? "its answer is too long"
                  : may_go_on() ? "it takes too long"
                                : "a stop was requested";
        process.kill();
        process.waitForFinished();
    }
    else if (process.error() == QProcess::FailedToStart)
        trouble = helper + " can't be started: " + process.errorString();
    else if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        trouble = QString::fromUtf8(errors).trimmed();
    else
        return proxy_of_desktop_answer(answer);
    log_failure(trouble);
    return {};
}

CURL_PROXY_INFO proxy_of_desktop_answer(const QByteArray& answer)
{
    for (const QByteArray& line : answer.split('\n'))
    {
        const QUrl url(QString::fromUtf8(line.trimmed()), QUrl::StrictMode);
        if (url.scheme() == "direct")
            return {};
        if (!schemes().contains(url.scheme()))
            continue;
        CURL_PROXY_INFO proxy =
            checked_proxy(url.host(), QString::number(url.port(default_port(url.scheme()))),
                          schemes()[url.scheme()]);
        if (!proxy.has_host())
            continue;
        if (!url.userName().isEmpty())
        {
            proxy.set_username(utf8(url.userName(QUrl::FullyDecoded)));
            proxy.set_unecrypted_password(utf8(url.password(QUrl::FullyDecoded)));
        }
        return proxy;
    }
    return {};
}
