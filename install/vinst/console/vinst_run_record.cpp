#include "install/vinst/console/vinst_run_record.h"

#include "install/vinst/console/vinst_cmdline.h"
#include "install/vinst/console/vinst_version.h"
#include "support/curl/curl_plain_text.h"
#include "support/curl/curl_redact.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace
{

constexpr int format_version = 1;

QString outcome_name(VINST_RUN_OUTCOME outcome)
{
    switch (outcome)
    {
    case VINST_RUN_OUTCOME::complete:
        return QStringLiteral("complete");
    case VINST_RUN_OUTCOME::refused:
        return QStringLiteral("refused");
    case VINST_RUN_OUTCOME::no_connection:
        return QStringLiteral("no_connection");
    case VINST_RUN_OUTCOME::download_incomplete:
        return QStringLiteral("download_incomplete");
    case VINST_RUN_OUTCOME::verification_failed:
        return QStringLiteral("verification_failed");
    case VINST_RUN_OUTCOME::installation_failed:
        return QStringLiteral("installation_failed");
    case VINST_RUN_OUTCOME::partly_installed:
        return QStringLiteral("partly_installed");
    case VINST_RUN_OUTCOME::nothing_to_install:
        return QStringLiteral("nothing_to_install");
    case VINST_RUN_OUTCOME::stopped:
        break;
    }
    return QStringLiteral("stopped");
}

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonValue bytes_value(quint64 bytes)
{
    return static_cast<qint64>(bytes);
}

QString time_text(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

double in_seconds(std::chrono::nanoseconds time)
{
    return static_cast<double>(
               std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) /
           1000;
}

QJsonObject versions_object()
{
    QJsonObject result;
    for (const auto& [name, version] : program_versions())
        result.insert(QString::fromStdString(name).toLower(), QString::fromStdString(version));
    return result;
}

QJsonObject proxy_object(const VINST_CONNECTION_RESULT& connection)
{
    return {
        {"address", text_or_null(QString::fromStdString(curl_redact(connection.proxy.address())))},
        {"source",
         text_or_null(QString::fromStdString(curl_plain_text(connection.proxy.source())))}};
}

QJsonObject checksum_object(const VINST_COMPONENT& component)
{
    const bool is_known = component.file.is_complete() && component.file.is_checked();
    return {{"algorithm", "md5"},
            {"expected", component.md5sum},
            {"found", is_known ? text_or_null(component.file.last_check().md5) : QJsonValue()}};
}

/// What the installation did for a component; empty fields if it did nothing.
VINST_COMPONENT_INSTALLATION detail_of(const VINST_INSTALL_OUTCOME& installation,
                                       const VINST_COMPONENT& component)
{
    const auto found =
        std::find_if(installation.details.begin(), installation.details.end(),
                     [&](const auto& detail) { return detail.component == &component; });
    return found != installation.details.end() ? *found : VINST_COMPONENT_INSTALLATION{&component};
}

QJsonValue exit_code_value(const VINST_COMPONENT_INSTALLATION& detail)
{
    return detail.exit_code ? QJsonValue(*detail.exit_code) : QJsonValue();
}

QString state_of(const VINST_COMPONENT_FILE& file, const VINST_COMPONENT_INSTALLATION& detail)
{
    if (detail.is_installed)
        return QStringLiteral("installed");
    if (detail.exit_code)
        return QStringLiteral("installation_failed");
    if (file.is_verified())
        return QStringLiteral("verified");
    if (file.is_corrupted())
        return QStringLiteral("corrupted");
    if (file.is_complete())
        return QStringLiteral("unverified");
    return file.bytes_on_disk() > 0 ? QStringLiteral("incomplete") : QStringLiteral("missing");
}

QJsonObject component_object(VINST_COMPONENT& component, const VINST_COMPONENT_INSTALLATION& detail)
{
    component.file.measure();
    const VINST_COMPONENT_WORK& work = component.work;
    const QString& error = detail.error.isEmpty() ? component.last_failure : detail.error;
    return {{"name", component.name},
            {"file", component.filename},
            {"state", state_of(component.file, detail)},
            {"bytes", bytes_value(component.expected_size())},
            {"bytes_fetched", bytes_value(work.bytes_fetched)},
            {"bytes_reused", bytes_value(work.bytes_reused)},
            {"attempts", work.attempts},
            {"seconds", in_seconds(work.time)},
            {"checksum", checksum_object(component)},
            {"error", text_or_null(error)},
            {"installer_exit_code", exit_code_value(detail)}};
}

QJsonArray components_array(const VINST_INSTALL_OUTCOME& installation,
                            const VINST_COMPONENT_LIST& components)
{
    QJsonArray result;
    for (VINST_COMPONENT* component : components)
        if (!component->filename.isEmpty())
            result.append(component_object(*component, detail_of(installation, *component)));
    return result;
}

/// The after-install actions that were run.
QJsonArray actions_array(const VINST_INSTALL_OUTCOME& installation)
{
    QJsonArray result;
    for (const VINST_COMPONENT_INSTALLATION& detail : installation.details)
        if (detail.component->kind == VINST_COMPONENT_KIND::install)
            result.append(QJsonObject{{"name", detail.component->name},
                                      {"exit_code", exit_code_value(detail)},
                                      {"error", text_or_null(detail.error)}});
    return result;
}

QJsonValue release_value(const VINST_RELEASE* release)
{
    if (release == nullptr)
        return {};
    return QJsonObject{{"version", release->version}, {"edition", release->edition}};
}

QString download_dir_of(const VINST_OPTIONS& options)
{
    return options.release != nullptr ? options.release->download_dir() : QString();
}

QString install_dir_of(const VINST_OPTIONS& options)
{
    return options.release != nullptr && options.auto_install ? options.release->install_dir()
                                                              : QString();
}

}

QByteArray run_record_json(const VINST_RUN_RECORD& record, const VINST_OPTIONS& options,
                           const QDateTime& end)
{
    const QJsonObject object{
        {"format", format_version},
        {"result", outcome_name(record.outcome)},
        {"error", text_or_null(record.error)},
        {"started", time_text(options.start)},
        {"ended", time_text(end)},
        {"versions", versions_object()},
        {"release", release_value(options.release.get())},
        {"platform", text_or_null(QString::fromStdString(options.platform))},
        {"download_dir", text_or_null(download_dir_of(options))},
        {"install_dir", text_or_null(install_dir_of(options))},
        {"proxy", proxy_object(record.connection)},
        {"restart_required", record.installation.needs_restart},
        {"components", components_array(record.installation, options.selected_components)},
        {"actions", actions_array(record.installation)}};
    return QJsonDocument(object).toJson();
}
