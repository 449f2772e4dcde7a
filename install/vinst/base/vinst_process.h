#pragma once

#include <QString>

#include <functional>

/// Runs an installer and waits for it, with the caller's event loop alive.
///
/// What it prints is logged whole, with its exit code. It runs in a process group of its own; a
/// stop request of the run is passed on to that group, which is ended when it doesn't go by itself.
///
/// \param command     program and arguments in one text, parts with blanks in double quotes
/// \param is_to_stop  asked several times a second; when it answers true, that is a stop request
/// \return the exit code; never 0 for an installer that couldn't be started, crashed or was killed
int run_command(const QString& command, const std::function<bool()>& is_to_stop = {});

/// Starts an installer and leaves it to itself. \return whether it started
[[nodiscard]] bool run_command_detached(const QString& command);

/// A part of a command: in double quotes where it holds white space or a quote, else as it stands.
QString command_part(const QString& text);

/// The log's sentence for an installer that did not exit by itself.
///
/// \param code  a signal number on Linux, the system's exit status on Windows
QString crash_text(int code, const QString& platform);
