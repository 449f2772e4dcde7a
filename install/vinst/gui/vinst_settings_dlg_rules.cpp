#include "install/vinst/gui/vinst_settings_dlg_rules.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "support/curl/curl_plain_text.h"
#include "support/curl/curl_proxy_environment.h"
#include "support/curl/curl_redact.h"

#include <QString>

#include <algorithm>

namespace
{

constexpr int highest_port = 65535;

QString printable(const std::string& text)
{
    return QString::fromStdString(curl_plain_text(curl_redact(text)));
}

}

QString port_problem(const QString& port)
{
    const QString text = port.trimmed();
    const bool has_digits_only =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c >= '0' && c <= '9'; });
    const int number = text.toInt(); // 0 if it is too long
    if (text.isEmpty() || (has_digits_only && number >= 1 && number <= highest_port))
        return {};
    return QStringLiteral("A port is a number from 1 to %1.").arg(highest_port);
}

CURL_PROXY_INFO known_default_proxy(const VINST_RELEASE& release)
{
    if (release.proxy_info.has_host() && release.proxy_source() != manual_proxy_source)
        return release.proxy_info;
    return curl_proxy_for(utf8(release.download_url()), {});
}

QString default_proxy_text(const CURL_PROXY_INFO& known)
{
    const QString meaning = QStringLiteral(
        "The default proxy is named by the environment, the system or a proxy script; ");
    if (known.has_host())
        return meaning + "at the moment it is " + printable(known.address()) +
               (known.source().empty() ? QString() : " (" + printable(known.source()) + ')') + '.';
    if (!known.source().empty())
        return meaning + "at the moment there is none, because of " + printable(known.source()) +
               '.';
    return meaning +
           "at the moment the environment names none, and the others are asked when a download "
           "starts.";
}
