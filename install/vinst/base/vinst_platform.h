#pragma once

#include <QString>

#include <cstddef>

/// The platform that this build runs on: "windows" or "linux".
QString host_platform();

/// Whether the text is "windows" or "linux".
bool is_platform(const QString& text);

/// Whether the process has the rights to install. On Windows it must be able to act as a member of
/// the administrators group. On Linux the permissions of the directories decide, so the answer is
/// always true.
bool has_admin_rights();

/// The longest installation path that the platform's installers accept, in bytes of UTF-8.
std::size_t install_path_limit(const QString& platform);

/// ".exe" or ".run".
QString installer_suffix(const QString& platform);

/// "vinst_cli" or "vinst": the console host's name.
QString console_host_name(const QString& platform);

/// The shell command that opens a local page; the path is quoted for the platform's shell.
QString open_page_command(const QString& path, const QString& platform);

/// Whether a manifest's file name is a plain name that every platform can create in a directory: no
/// separators, control characters, characters or names that Windows reserves, or trailing dots; nor
/// that of the directory of pieces.
bool is_safe_file_name(const QString& name);

/// The directory of the file that contains this code: the shared library or the executable.
QString library_directory();

/// Opens the standard streams that the caller has closed. Otherwise a file opened later could get a
/// standard stream's number, and printed text would end up in it. To be called before anything is
/// opened.
void open_missing_standard_streams();

/// Makes a write to a pipe without a reader fail instead of ending the process. Child processes
/// start with the system's default again. A host that ignores such writes keeps doing so.
void survive_closed_pipes();

/// Enables escape sequences and UTF-8 in the terminal where the platform requires it. At the end of
/// the process, the terminal is as before.
void set_up_console();

/// Makes the terminal as it was before set_up_console(), for ends of the process that run no
/// destructors. Can be called from any thread.
void restore_console() noexcept;

/// Makes access to a drive without a medium fail, instead of a window of the system that waits for
/// the user. Installers inherit this.
void suppress_system_dialogs();

/// Whether windows can be shown: there is a display, or a Qt platform that needs none is selected.
bool has_display();

/// Makes Qt encode file names as UTF-8, whatever the locale.
void use_utf8_file_names();
