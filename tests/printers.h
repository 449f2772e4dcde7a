#pragma once

// Included into every file of the test programs, so that a failure shows Qt's texts as texts. They
// would all have to be the same in every file anyway.

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
