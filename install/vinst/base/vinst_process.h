#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// How an installer ended.
struct VINST_COMMAND_RESULT
{
    int exit_code; ///< never 0 for an installer that couldn't be started, crashed or was killed
    bool succeeded;
    bool needs_restart; ///< of the computer, to complete the installation
    QString cause;      ///< why it counts as failed, in a sentence; empty when it succeeded
    /// The last lines of what it wrote, at most ten, without control characters; none when it
    /// succeeded.
    QStringList last_lines;
};

/// Runs an installer and waits for it. Processes the caller's events meanwhile.
///
/// Its complete output and its exit code are logged. It runs in a separate process group. A stop
/// request is passed on to that group, which is killed if it doesn't end by itself.
///
/// \param command     program and arguments in one text, parts with spaces in double quotes
/// \param is_to_stop  called several times per second; true is a stop request
/// \param on_output   called with the last line that it has written, at most once per second
VINST_COMMAND_RESULT run_command(const QString& command,
                                 const std::function<bool()>& is_to_stop = {},
                                 const std::function<void(const QString&)>& on_output = {});

/// Starts an installer without waiting for it. \return whether it started
/// \param ended  called from the event loop with its exit code; not if this program ends first
[[nodiscard]] bool run_command_detached(const QString& command,
                                        const std::function<void(int)>& ended);

/// A part of a command: in double quotes if it contains white space or a quote, otherwise
/// unchanged.
QString command_part(const QString& text);

/// The last lines of a text file that aren't empty, at most ten, shortened and without control
/// characters. Reads only the end of a long file.
QStringList last_lines_of(const QString& path);

/// The log message for an installer that did not exit normally.
///
/// \param code  a signal number on Linux, the system's exit status on Windows
QString crash_text(int code, const QString& platform);
