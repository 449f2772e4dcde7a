#include "tools/vinst_release/release_text.h"

#include "install/vinst/base/vinst_text.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace
{

/// The number of characters to insert, delete or replace to turn one word into the other.
int distance(const QString& from, const QString& to)
{
    std::vector<int> row(static_cast<std::size_t>(to.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < from.size(); ++i)
    {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < to.size(); ++j)
        {
            const auto at = static_cast<std::size_t>(j) + 1;
            const int replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[at];
            row[at] = std::min({replaced, diagonal + 1, row[at - 1] + 1});
        }
    }
    return row.back();
}

}

QString quoted(const QString& text)
{
    return '\'' + without_control_characters(text) + '\'';
}

QString counted(std::size_t count, const QString& noun)
{
    return QString::number(count) + ' ' + noun + (count == 1 ? "" : "s");
}

QString nearest_word(const QString& word, const QStringList& known)
{
    constexpr int longest_compared = 100; // characters; longer words are not typing errors
    if (word.size() > longest_compared)
        return {};
    QString nearest;
    int shortest = std::max(2, word.size() / 3) + 1;
    for (const QString& candidate : known)
    {
        const int apart = distance(word.toLower(), candidate.toLower());
        if (apart < shortest)
        {
            shortest = apart;
            nearest = candidate;
        }
    }
    return nearest;
}
