#include "install/vinst/download/vinst_file_failure.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/release/vinst_component.h"
#include "support/curl/curl_redact.h"

#include <algorithm>

namespace
{

using KIND = CURL_FAILURE::KIND;

/// " (...)" for the statuses that users meet; otherwise empty.
QString meaning_of_status(int status)
{
    switch (status)
    {
    case 401:
        return QStringLiteral(" (a user name and password are required)");
    case 403:
        return QStringLiteral(" (access denied)");
    case 404:
        return QStringLiteral(" (file not found)");
    case 429:
        return QStringLiteral(" (too many requests)");
    case 511:
        return QStringLiteral(" (the network requires a login)");
    default:
        return status >= 500 ? QStringLiteral(" (server error)") : QString();
    }
}

QString proxy_refusal(const CURL_FAILURE& failure)
{
    constexpr int authentication_required = 407;
    const QString number = "HTTP status " + QString::number(failure.status);
    if (failure.status != authentication_required)
        return "the proxy refused the connection (" + number + ')';
    const QString schemes = failure.proxy_schemes.empty()
                                ? QString()
                                : "; it offers " + QString::fromStdString(failure.proxy_schemes);
    return "the proxy requires a valid user name and password (" + number + schemes + ')';
}

/// "the proxy HOST:PORT (SOURCE)"
QString proxy_of(const CURL_FAILURE& failure)
{
    const QString source = failure.proxy_source.empty()
                               ? QString()
                               : " (" + QString::fromStdString(failure.proxy_source) + ')';
    return "the proxy " + QString::fromStdString(failure.proxy) + source;
}

QString peer_of(const CURL_FAILURE& failure)
{
    return failure.proxy.empty() ? QString::fromStdString(failure.server) : proxy_of(failure);
}

/// With a remedy where there is one; not for a transfer that succeeded.
QString transfer_reason(const CURL_FAILURE& failure)
{
    const QString reason = QString::fromStdString(failure.reason);
    switch (failure.kind)
    {
    case KIND::http_status:
        return "the server answered with HTTP status " + QString::number(failure.status) +
               meaning_of_status(failure.status);
    case KIND::proxy_status:
        return proxy_refusal(failure);
    case KIND::connection:
        return "no connection to " + peer_of(failure) + ": " + reason;
    case KIND::tls:
        return "the TLS connection to " + QString::fromStdString(failure.server) +
               " failed: " + reason +
               ". If the network uses its own certificate authority, set SSL_CERT_FILE to a file "
               "with its certificate";
    case KIND::none:
    case KIND::stopped:
    case KIND::write:
    case KIND::other:
        break;
    }
    return reason;
}

QString file_reason(const VINST_FILE_FAILURE& failure)
{
    if (failure.on_disk < failure.size)
        return QString::number(failure.on_disk) + " of " + QString::number(failure.size) +
               " bytes are on the disk";
    if (!failure.problem.isEmpty())
        return "the file was not accepted: " + failure.problem;
    if (failure.md5_found.isEmpty())
        return QStringLiteral("the file could not be verified");
    return "checksum mismatch: the release lists MD5 " + failure.md5_listed + ", the file has " +
           failure.md5_found;
}

/// For a file that was not transferred in this run.
QString local_reason(const VINST_COMPONENT& component, const std::string& path)
{
    if (!FIO_FILE_SYSTEM::exists(path))
        return QStringLiteral("the file is missing");
    if (!FIO_FILE_SYSTEM::identity(path))
        return QStringLiteral("it belongs to another user or is not a regular file");
    const VINST_FILE_FAILURE failure = file_failure(component, {});
    if (failure.on_disk > failure.size)
        return "the file has " + QString::number(failure.on_disk) +
               " bytes, but the release lists " + QString::number(failure.size);
    return file_reason(failure);
}

QString figures(const VINST_FILE_FAILURE& failure)
{
    if (!failure.free_space)
        return {};
    const quint64 needed = failure.size - std::min(failure.size, failure.on_disk);
    return "; " + QString::number(needed) + " bytes are needed, " +
           QString::number(*failure.free_space) + " are free";
}

}

VINST_FILE_FAILURE file_failure(const VINST_COMPONENT& component, const CURL_FAILURE& transfer)
{
    VINST_FILE_FAILURE failure;
    failure.title = component.display_name();
    failure.url = component.download_url();
    failure.transfer = transfer;
    failure.size = component.expected_size();
    if (const auto file = FIO_FILE_SYSTEM::identity(utf8(component.file.path())); file)
        failure.on_disk = file->size;
    if (transfer.kind == KIND::write)
        failure.free_space = free_disk_space(utf8(component.file.path()));
    failure.md5_listed = component.md5sum;
    if (component.file.is_checked())
    {
        failure.md5_found = component.file.last_check().md5;
        failure.problem = component.file.last_check().problem;
    }
    return failure;
}

QString failure_text(const VINST_FILE_FAILURE& failure)
{
    const bool is_transferred = failure.transfer.kind == KIND::none;
    QString text =
        failure.title + " (" + QString::fromStdString(curl_redact(utf8(failure.url))) +
        "): " + (is_transferred ? file_reason(failure) : transfer_reason(failure.transfer)) +
        figures(failure);
    const bool names_proxy =
        failure.transfer.kind == KIND::connection || failure.transfer.kind == KIND::write;
    if (!failure.transfer.proxy.empty() && !names_proxy)
        text += ", through " + proxy_of(failure.transfer);
    return without_control_characters(text);
}

QString local_failure_text(const VINST_COMPONENT& component)
{
    const QString path = component.file.path();
    return without_control_characters(component.display_name() + " (" + path +
                                      "): " + local_reason(component, utf8(path)));
}

QString connection_failure_text(const CURL_FAILURE& transfer)
{
    if (transfer.kind == KIND::none)
        return QStringLiteral(
            "The answer is not the test file. If this network requires a login (captive portal), "
            "log in with a web browser and try again.");
    if (transfer.kind != KIND::proxy_status && transfer.kind != KIND::tls)
        return {};
    QString reason = without_control_characters(transfer_reason(transfer));
    reason[0] = reason[0].toUpper();
    return reason + '.';
}
