#pragma once

#include <QString>

// What the rights of a directory, or of its nearest existing ancestor, mean for a run.

/// Whether no program in the directory can be started, because its file system is mounted with
/// "noexec". Never on Windows.
bool forbids_programs(const QString& dir);

/// Whether this process has all rights, but users without them can write the directory, or rename
/// it or a directory above it, and thus replace what is about to be run. Never on Windows, where
/// directories inherit their access lists.
bool is_open_to_other_users(const QString& dir);
