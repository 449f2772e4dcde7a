#include "install/vinst/console/vinst_terminal_text.h"

#include "install/vinst/console/vinst_terminal.h"

#include <QStringList>
#include <QVector>

#include <algorithm>
#include <numeric>

namespace
{

/// Where a terminal draws the characters of a line.
struct CURSOR
{
    void put(uint character)
    {
        const int width = cell_width(character);
        if (column + width > columns)
        {
            ++row;
            column = 0;
        }
        column += width;
    }

    int columns;
    int row = 0;
    int column = 0;
};

int cell_count(const QVector<uint>& characters)
{
    return std::accumulate(characters.begin(), characters.end(), 0,
                           [](int cells, uint character) { return cells + cell_width(character); });
}

}

int row_count(const QString& line, int columns)
{
    CURSOR cursor{columns};
    for (const uint character : line.toUcs4())
        cursor.put(character);
    return cursor.row + 1;
}

int row_count(const QStringList& lines, int columns)
{
    return std::accumulate(lines.begin(), lines.end(), 0,
                           [columns](int rows, const QString& line)
                           { return rows + row_count(line, columns); });
}

QString first_rows(const QString& line, int columns, int rows)
{
    CURSOR cursor{columns};
    const QVector<uint> characters = line.toUcs4();
    const auto end = std::find_if(characters.begin(), characters.end(),
                                  [&](uint character)
                                  {
                                      cursor.put(character);
                                      return cursor.row >= rows;
                                  });
    return QString::fromUcs4(characters.data(), static_cast<int>(end - characters.begin()));
}

QString elided(const QString& line, int columns)
{
    const QVector<uint> characters = line.toUcs4();
    if (cell_count(characters) <= columns)
        return line;
    if (columns <= 0)
        return {};
    int room = columns - 1; // for the "…"
    const auto end =
        std::find_if(characters.begin(), characters.end(),
                     [&room](uint character) { return (room -= cell_width(character)) < 0; });
    return QString::fromUcs4(characters.data(), static_cast<int>(end - characters.begin())) +
           QChar(0x2026);
}
