#pragma once

#include <QString>

/// How many rows a line takes on a terminal of that width. A wide character that doesn't fit in the
/// last column wraps; an empty line takes one row.
int row_count(const QString& line, int columns);
int row_count(const QStringList& lines, int columns);

/// The part of a line that is in its first rows.
QString first_rows(const QString& line, int columns, int rows);

/// The line, shortened to that width with "…" at its end if it is longer. A character is kept or
/// dropped with its combining characters.
QString elided(const QString& line, int columns);
