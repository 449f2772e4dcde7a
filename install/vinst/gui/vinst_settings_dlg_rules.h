#pragma once

class CURL_PROXY_INFO;
class QString;
class VINST_RELEASE;

// Texts of the settings dialog, independent of the window.

/// What is wrong with the port of a proxy; empty if nothing is. Without a port, the default one of
/// the proxy's scheme is used.
QString port_problem(const QString& port);

/// What is known of the default proxy without asking anything that may be slow: the one that passed
/// the last connection test, otherwise that of the environment.
CURL_PROXY_INFO known_default_proxy(const VINST_RELEASE& release);

/// Says in a sentence what the default proxy is, and which one is known.
QString default_proxy_text(const CURL_PROXY_INFO& known);

/// What names the proxy of the fields.
inline constexpr const char* manual_proxy_source = "the settings";
