#include "install/vinst/base/vinst_text.h"

#include "support/curl/curl_plain_text.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <array>
#include <limits>

QString program_title()
{
    return QStringLiteral("Orvane\u00ae Veltrin\u00ae Crest Installer");
}

std::string utf8(const QString& text)
{
    return text.toStdString();
}

bool is_utf8(std::string_view bytes)
{
    // QString drops a byte order mark, but not after another character.
    const std::string guarded = std::string(1, '.').append(bytes);
    return QString::fromStdString(guarded).toStdString() == guarded;
}

std::string_view utf8_piece(std::string_view text, std::size_t at_most)
{
    if (text.size() <= at_most)
        return text;
    const auto is_inside_character = [text](std::size_t at)
    { return (static_cast<unsigned char>(text[at]) & 0xc0U) == 0x80U; };
    constexpr std::size_t longest_character = 4; // bytes
    for (std::size_t end = at_most; end > 0 && at_most - end < longest_character; --end)
        if (!is_inside_character(end))
            return text.substr(0, end);
    return text.substr(0, at_most); // not UTF-8
}

QString without_control_characters(const QString& text)
{
    QString result = text;
    for (QChar& c : result)
        if (curl_is_control(c.unicode()))
            c = QChar::ReplacementCharacter;
    return result;
}

std::string timed_lines(const std::string& text)
{
    const QString time = QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss ");
    QString result;
    for (const QString& line : QString::fromStdString(curl_plain_text(text)).split('\n'))
        if (!line.trimmed().isEmpty())
            result += time + line + '\n';
    return utf8(result);
}

QString readable_size(quint64 bytes)
{
    static constexpr std::array<const char*, 5> units = {"B", "KB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 1024 && unit + 1 < units.size(); ++unit)
        value /= 1024;
    return QString::number(value, 'f', 2) + ' ' + QLatin1String(units[unit]);
}

std::string format_duration(int seconds)
{
    std::string text;
    const auto add = [&text](int number, const char* unit)
    {
        if (number <= 0)
            return;
        if (!text.empty())
            text += ' ';
        text += std::to_string(number) + ' ' + unit + (number >= 2 ? "s" : "");
    };
    add(seconds / 3600, "hour");
    add(seconds % 3600 / 60, "min");
    add(seconds % 60, "sec");
    return text.empty() ? "N/A" : text;
}

QString format_elapsed(double seconds)
{
    if (seconds < 1.0)
        return QStringLiteral("less than 1 sec");
    const double longest = std::numeric_limits<int>::max();
    return QString::fromStdString(format_duration(static_cast<int>(std::min(seconds, longest))));
}
