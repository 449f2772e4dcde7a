#include "install/vinst/gui/vinst_message_box_rules.h"

#include "support/afcq/afcq_colors.h"

#include <algorithm>

namespace
{

constexpr int most_lines = 12;
constexpr int most_characters = 1000;
constexpr int longest_word = 120;
constexpr int shortened_length = 200;
constexpr int longest_unbroken_word = 60;
constexpr int break_distance = 30;
constexpr double headline_contrast = 3.5; // large, bold text needs 3
constexpr QChar zero_width_space(0x200B);

int longest_word_in(const QString& text)
{
    int longest = 0;
    int length = 0;
    for (const QChar c : text)
    {
        length = c.isSpace() ? 0 : length + 1;
        longest = std::max(longest, length);
    }
    return longest;
}

bool is_short(const QString& text)
{
    return text.count('\n') < most_lines && text.size() <= most_characters &&
           longest_word_in(text) <= longest_word;
}

/// Leaves the blanks with which the first line may be indented.
QString without_outer_line_breaks(const QString& text)
{
    int begin = 0;
    int end = text.size();
    while (begin < end && text[begin] == '\n')
        ++begin;
    while (end > begin && text[end - 1] == '\n')
        --end;
    return text.mid(begin, end - begin);
}

QString broken(const QString& word)
{
    if (word.size() <= longest_unbroken_word)
        return word;
    QString result;
    int since_break = 0;
    for (const QChar c : word)
    {
        result += c;
        const bool is_end_of_part = c == '/' || c == '\\';
        // Never between the two halves of a character.
        const bool is_due = ++since_break >= break_distance && !c.isHighSurrogate();
        if (!is_end_of_part && !is_due)
            continue;
        result += zero_width_space;
        since_break = 0;
    }
    return result;
}

}

VINST_MESSAGE_PARTS divided_message(const QString& text)
{
    if (is_short(text))
        return {text, {}};
    for (const QString& separator : {QStringLiteral("\n\n"), QStringLiteral("\n")})
    {
        const int end = text.indexOf(separator);
        if (end > 0 && is_short(text.left(end)))
            return {text.left(end), without_outer_line_breaks(text.mid(end))};
    }
    const QString first_line = text.left(text.indexOf('\n'));
    return {first_line.left(shortened_length).trimmed() + QChar(0x2026), text};
}

QString with_breaks(const QString& text)
{
    QString result;
    QString word;
    for (const QChar c : text)
    {
        if (!c.isSpace())
        {
            word += c;
            continue;
        }
        result += broken(word) + c;
        word.clear();
    }
    return result + broken(word);
}

QString with_readable_headlines(QString markup, const QPalette& palette)
{
    if (!afcq_is_dark(palette))
        return markup;
    for (const char* color : {"green", "red"})
    {
        const QString tag = QStringLiteral("<font color=%1>").arg(color);
        const QColor ground =
            afcq_readable_ground(QColor(color), palette.color(QPalette::Window), headline_contrast);
        markup.replace(tag, tag.chopped(1) + " style=\"background-color:" + ground.name() + "\">");
    }
    return markup;
}
