#pragma once

// Included into every file of the test programs, so that failures print Qt strings as text. These
// overloads must be identical in every file to satisfy the one-definition rule.

#include <QString>
#include <QStringList>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& texts, std::ostream* out)
{
    *out << "{\"" << texts.join("\", \"").toStdString() << "\"}";
}
