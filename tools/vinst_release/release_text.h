#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>

/// The text in single quotes, without control characters.
QString quoted(const QString& text);

/// "1 file", "2 files".
QString counted(std::size_t count, const QString& noun);

/// The known word that was probably meant; empty when none is similar.
QString nearest_word(const QString& word, const QStringList& known);
