#pragma once

#include "support/curl/curl_proxy_info.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class QUrl;

/// The URLs where an auto-configuration file may be, in the order in which they are tried.
/// \param domain  this machine's domain, such as "lab.example.com"; may be empty
QStringList wpad_urls(const QString& domain);

/// The part of a URL that an auto-configuration script may see: no credentials and, for https,
/// neither path nor query.
QString url_for_script(const QUrl& url);

/// The text of an auto-configuration file: UTF-8 or UTF-16 by its byte-order mark, otherwise UTF-8
/// where valid, otherwise Latin-1.
QString script_text(const QByteArray& bytes);

/// A proxy made from these parts; empty unless host and port are valid.
/// \param scheme  such as "socks5://"; empty for an HTTP proxy
CURL_PROXY_INFO checked_proxy(const QString& host, const QString& port, const QString& scheme = {});

/// The first entry of a directive ("PROXY a:3128; DIRECT") that names a usable HTTP proxy; empty
/// when none does, or when the directive is "DIRECT".
CURL_PROXY_INFO proxy_of_directive(const QString& directive);
