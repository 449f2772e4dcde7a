#include "install/vinst/base/vinst_platform.h"

#include "install/vinst/base/vinst_text.h"
#include "support/curl/curl_pieces.h"

#include <QRegularExpression>

namespace
{

constexpr int longest_file_name = 255; // bytes, on every file system in use

bool is_windows(const QString& platform)
{
    return platform == "windows";
}

/// Quotes for a POSIX shell; a text that needs no quotes is unchanged.
QString shell_quoted(const QString& text)
{
    static const QRegularExpression special(QStringLiteral("[^A-Za-z0-9_./:=@%+,-]"));
    if (!text.contains(special))
        return text;
    QString quoted = text;
    return '\'' + quoted.replace('\'', "'\\''") + '\'';
}

/// Quotes for the "start" command of cmd.exe, which treats the first quoted text as a window title.
QString command_processor_quoted(const QString& path)
{
    static const QRegularExpression special(QStringLiteral("[^A-Za-z0-9_.:\\\\/-]"));
    return path.contains(special) ? "\"\" \"" + path + '"' : path;
}

}

bool is_platform(const QString& text)
{
    return text == "linux" || text == "windows";
}

std::size_t install_path_limit(const QString& platform)
{
    return is_windows(platform) ? 65 : 3091;
}

QString installer_suffix(const QString& platform)
{
    return is_windows(platform) ? ".exe" : ".run";
}

QString console_host_name(const QString& platform)
{
    return platform == "linux" ? "vinst" : "vinst_cli";
}

QString open_page_command(const QString& path, const QString& platform)
{
    return is_windows(platform) ? "start " + command_processor_quoted(path)
                                : "xdg-open " + shell_quoted(path);
}

bool is_safe_file_name(const QString& name)
{
    static const QRegularExpression forbidden(QStringLiteral(R"([/\\:*?"<>|])"));
    static const QRegularExpression reserved(
        QStringLiteral(
            "^(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)[0-9\u00b9\u00b2\u00b3])( *\\..*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    return !name.isEmpty() && name.toUtf8().size() <= longest_file_name &&
           name == without_control_characters(name) && !name.contains(forbidden) &&
           !name.contains(reserved) && !name.endsWith('.') && !name.endsWith(' ') &&
           name.compare(QLatin1String(curl_piece_directory), Qt::CaseInsensitive) != 0;
}
