#pragma once

#include <QByteArray>
#include <QString>

class VINST_RELEASE;

// The file that the option --json names.

/// Why the file can't be written; empty if it can. Leaves an existing file as it is.
///
/// \param release  the file must not be one of its files, its manifest or the run's log
[[nodiscard]] QString obstacle_to_writing(const QString& path, const VINST_RELEASE& release);

/// Whether the file is new, empty or the outcome of an earlier run, so that it may be replaced even
/// though the options could not be checked.
[[nodiscard]] bool is_replaceable_outcome(const QString& path);

/// Replaces the file by these bytes, or leaves it as it was. \return why it could not be written;
/// empty if it was
[[nodiscard]] QString replace_file(const QString& path, const QByteArray& bytes);
