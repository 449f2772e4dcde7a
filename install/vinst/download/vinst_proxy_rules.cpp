#include "install/vinst/download/vinst_proxy_rules.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QTextCodec>
#include <QUrl>

namespace
{

/// An IPv6 address, with or without the brackets required before a port.
bool is_ipv6_address(const QString& host)
{
    const bool has_brackets = host.startsWith('[') && host.endsWith(']');
    const QHostAddress address(has_brackets ? host.mid(1, host.size() - 2) : host);
    return address.protocol() == QAbstractSocket::IPv6Protocol;
}

bool is_host(const QString& host)
{
    static const QRegularExpression foreign(R"([\s/@\\"'\p{Cc}\p{Cf}\p{Zl}\p{Zp}])");
    return !host.isEmpty() && !host.contains(foreign) &&
           (is_ipv6_address(host) || is_valid_proxy_server(utf8(host)));
}

/// Host and port of "host:port" or "[address]:port".
CURL_PROXY_INFO proxy_of_token(const QString& token)
{
    if (token.startsWith('['))
    {
        const int end = token.indexOf("]:");
        return end < 0 ? CURL_PROXY_INFO() : checked_proxy(token.left(end + 1), token.mid(end + 2));
    }
    const QStringList parts = token.split(':');
    return checked_proxy(parts.value(0), parts.value(1));
}

QStringList words_of(const QString& text)
{
    static const QRegularExpression blanks(R"(\s+)");
    return text.split(blanks, Qt::SkipEmptyParts);
}

}

QStringList wpad_urls(const QString& domain)
{
    const QStringList labels = domain.split('.', Qt::SkipEmptyParts);
    const bool has_three = labels.size() >= 3;
    QStringList hosts{"wpad"};
    if (has_three)
        hosts.append("wpad." + labels.mid(labels.size() - 2).join('.'));
    if (!labels.isEmpty())
        hosts.append("wpad." + labels.join('.'));
    if (has_three)
        hosts.append("wpad." + labels.last());
    for (QString& host : hosts)
        host = "http://" + host + "/wpad.dat";
    return hosts;
}

QString url_for_script(const QUrl& url)
{
    QUrl visible = url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
    if (visible.scheme() == "https")
    {
        visible = visible.adjusted(QUrl::RemoveQuery);
        visible.setPath("/");
    }
    return visible.toString(QUrl::FullyEncoded);
}

QString script_text(const QByteArray& bytes)
{
    if (const QTextCodec* marked = QTextCodec::codecForUtfText(bytes, nullptr))
        return marked->toUnicode(bytes);
    QTextCodec::ConverterState state;
    const QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0 ? text : QString::fromLatin1(bytes);
}

CURL_PROXY_INFO checked_proxy(const QString& host, const QString& port, const QString& scheme)
{
    if (!is_host(host) || !is_valid_proxy_port(utf8(port)))
        return {};
    const bool needs_brackets = is_ipv6_address(host) && !host.startsWith('[');
    return {utf8(scheme + (needs_brackets ? '[' + host + ']' : host)), utf8(port), {}, {}};
}

CURL_PROXY_INFO proxy_of_directive(const QString& directive)
{
    if (directive.trimmed().toUpper() == "DIRECT")
        return {};
    for (const QString& entry : directive.split(';', Qt::SkipEmptyParts))
    {
        const QStringList words = words_of(entry);
        if (words.value(0).compare("PROXY", Qt::CaseInsensitive) != 0)
            continue;
        for (const QString& word : words)
        {
            if (!word.contains(':'))
                continue;
            if (CURL_PROXY_INFO proxy = proxy_of_token(word); proxy.has_host())
                return proxy;
            break;
        }
    }
    return {};
}
