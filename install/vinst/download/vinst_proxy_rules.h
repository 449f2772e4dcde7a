#pragma once

#include "support/curl/curl_proxy_info.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class QUrl;

/// The addresses where an automatic-configuration file may be, in the order of trying.
/// \param domain  this machine's own, such as "lab.example.com"; may be empty
QStringList wpad_urls(const QString& domain);

/// What an automatic-configuration script may see of an address: never credentials, and of an
/// https address neither path nor query.
QString url_for_script(const QUrl& url);

/// The text of an automatic-configuration file: UTF-8 or UTF-16 by its byte-order mark, else UTF-8
/// where it is valid, else Latin-1.
QString script_text(const QByteArray& bytes);

/// A proxy of these parts; empty unless host and port are usable.
/// \param scheme  such as "socks5://"; empty for an HTTP proxy
CURL_PROXY_INFO checked_proxy(const QString& host, const QString& port, const QString& scheme = {});

/// The first entry of a directive ("PROXY a:3128; DIRECT") that names a usable HTTP proxy; empty
/// when none does, or when the directive is "DIRECT".
CURL_PROXY_INFO proxy_of_directive(const QString& directive);
