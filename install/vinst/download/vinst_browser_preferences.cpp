#include "install/vinst/download/vinst_browser_preferences.h"

#include "install/vinst/download/vinst_proxy_rules.h"

#include <QDir>
#include <QRegularExpression>

namespace
{

constexpr int depth_limit = 6;
constexpr int file_limit = 200;

QString without_http_scheme(const QString& host)
{
    for (const char* scheme : {"http://", "https://"})
        if (host.startsWith(scheme, Qt::CaseInsensitive))
            return host.mid(static_cast<int>(qstrlen(scheme)));
    return host;
}

}

CURL_PROXY_INFO VINST_BROWSER_PREFERENCES::proxy() const
{
    constexpr int manual = 1;
    if (type.toInt() != manual)
        return {};
    if (!http_host.isEmpty())
        return checked_proxy(http_host, http_port);
    return checked_proxy(without_http_scheme(socks_host), socks_port,
                         socks_version == "4" ? "socks4://" : "socks5://");
}

QString VINST_BROWSER_PREFERENCES::chosen_autoconfig_url() const
{
    constexpr int automatic = 2;
    return type.toInt() == automatic ? autoconfig_url : QString();
}

namespace
{

/// Removes the comments from a line. \param in_comment whether a comment continues from the
/// previous line, and to the next one
QString without_comments(const QString& line, bool& in_comment)
{
    QString code;
    QChar quote;
    for (int i = 0; i < line.size(); ++i)
    {
        const QStringView rest = QStringView(line).mid(i);
        if (in_comment)
        {
            in_comment = !rest.startsWith(u"*/");
            i += in_comment ? 0 : 1;
            continue;
        }
        if (quote.isNull() && rest.startsWith(u"/*"))
        {
            in_comment = true;
            ++i;
            continue;
        }
        if (quote.isNull() && (rest.startsWith(u"//") || rest.startsWith(u'#')))
            break;
        code += line[i];
        if (line[i] == '\\' && !quote.isNull() && i + 1 < line.size())
            code += line[++i];
        else if (!quote.isNull() && line[i] == quote)
            quote = {};
        else if (quote.isNull() && (line[i] == '"' || line[i] == '\''))
            quote = line[i];
    }
    return code;
}

QString unescaped(const QString& text)
{
    QString result;
    for (int i = 0; i < text.size(); ++i)
    {
        if (text[i] != '\\' || i + 1 == text.size())
        {
            result += text[i];
            continue;
        }
        const QChar mark = text[++i];
        const int digits = mark == 'x' ? 2 : mark == 'u' ? 4 : 0;
        bool is_number = false;
        const ushort code = text.midRef(i + 1, digits).toUShort(&is_number, 16);
        if (digits > 0 && is_number && i + digits < text.size())
        {
            result += QChar(code);
            i += digits;
        }
        else
        {
            result += mark == 'n' ? QChar('\n') : mark == 'r' ? QChar('\r') : mark;
        }
    }
    return result;
}

}

QString VINST_PREFERENCE_READER::take_line(const QString& line)
{
    static const QRegularExpression setting(
        R"re(^\s*user_pref\s*\(\s*(["'])((?:\\.|(?!\1).)*)\1\s*,\s*(?:(["'])((?:\\.|(?!\3).)*)\3|([^\s)"']+))\s*\))re");
    const QRegularExpressionMatch match = setting.match(without_comments(line, m_in_comment));
    if (!match.hasMatch())
        return {};

    struct FIELD
    {
        const char* key;
        QString VINST_BROWSER_PREFERENCES::*value;
    };
    static constexpr FIELD fields[] = {
        {"network.proxy.http_port", &VINST_BROWSER_PREFERENCES::http_port},
        {"network.proxy.http", &VINST_BROWSER_PREFERENCES::http_host},
        {"network.proxy.socks_port", &VINST_BROWSER_PREFERENCES::socks_port},
        {"network.proxy.socks_version", &VINST_BROWSER_PREFERENCES::socks_version},
        {"network.proxy.socks", &VINST_BROWSER_PREFERENCES::socks_host},
        {"network.proxy.autoconfig_url", &VINST_BROWSER_PREFERENCES::autoconfig_url},
        {"network.proxy.type", &VINST_BROWSER_PREFERENCES::type}};
    const QString key = unescaped(match.captured(2));
    const QString value =
        match.captured(5).isEmpty() ? unescaped(match.captured(4)) : match.captured(5);
    for (const FIELD& field : fields)
    {
        if (key != field.key)
            continue;
        m_preferences.*field.value = value;
        return key + ": " + value;
    }
    return {};
}

namespace
{

void collect_files(const QDir& dir, int depth, const std::function<bool()>& keep_looking,
                   QStringList& files)
{
    if (files.size() >= file_limit || !keep_looking())
        return;
    const QFileInfo file(dir.filePath("prefs.js"));
    if (file.isFile() && !file.isSymLink())
        files.append(file.filePath());
    if (depth == depth_limit)
        return;
    const QDir::Filters real_dirs =
        QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks;
    for (const QString& name : dir.entryList(real_dirs, QDir::Name))
        collect_files(QDir(dir.filePath(name)), depth + 1, keep_looking, files);
}

}

QStringList preference_files(const QString& root, const std::function<bool()>& keep_looking)
{
    QStringList files;
    collect_files(QDir(root), 0, keep_looking, files);
    return files;
}
