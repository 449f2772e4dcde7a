#pragma once

#include <functional>
#include <memory>
#include <string>

class QProcess;
class QString;
class QStringList;

// Internal to vinst_process: what each platform implements.

/// A process that starts in its own process group, on Windows also in its own job. The functions
/// below accept only processes created by this one.
std::unique_ptr<QProcess> make_installer_process();

/// Writes the output and the errors of the process, which has not been started yet, to an existing
/// file. The file can be removed even while the process or one of its children has it open; on
/// Windows its name may then stay until they have closed it.
void write_output_to(QProcess& process, const std::string& path);

/// Asks the group to end.
/// \param signal_number  the signal that this program received; 0 when there was none
void pass_signal_on(QProcess& process, int signal_number);

/// Ends every process of the group at once, also after the installer itself has ended.
void kill_group(QProcess& process);

/// Kills the group of the installer that is running, if there is one. On Linux, also removes the
/// file with its output: the program ends now and can't do it later. May be called in a signal
/// handler or on any thread.
void kill_running_installer();

/// Starts a program that outlives this one. \return whether it started
/// \param ended  called from the event loop with the exit code; never once that has ended
bool start_detached(const QString& program, const QStringList& arguments,
                    const QString& working_directory, const std::function<void(int)>& ended);

/// Whether the process failed to start because it requires administrator rights.
bool needs_elevation(const QProcess& process);
