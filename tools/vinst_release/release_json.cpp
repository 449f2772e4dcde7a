#include "tools/vinst_release/release_json.h"

#include "tools/vinst_release/release_text.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <utility>

std::optional<QJsonObject> read_json_object(const QString& path, QStringList& faults)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
    {
        faults.append("cannot read " + quoted(path) + ": " + file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
    {
        const int line = bytes.left(error.offset).count('\n') + 1;
        faults.append(quoted(path) + ", line " + QString::number(line) + ": " +
                      error.errorString());
        return std::nullopt;
    }
    if (!document.isObject())
    {
        faults.append(quoted(path) + " must contain one JSON object");
        return std::nullopt;
    }
    return document.object();
}

RELEASE_JSON_OBJECT::RELEASE_JSON_OBJECT(const QJsonObject& object, QString owner,
                                         QStringList& faults)
    : m_object(object), m_owner(std::move(owner)), m_faults(faults)
{
}

QString RELEASE_JSON_OBJECT::text(const char* key, const QString& otherwise) const
{
    const QJsonValue found = value(key);
    if (!found.isUndefined() && !found.isString())
        refuse(key, QStringLiteral("must be a string"));
    return found.toString(otherwise);
}

QString RELEASE_JSON_OBJECT::required_text(const char* key) const
{
    if (value(key).isUndefined())
        refuse(key, QStringLiteral("is missing"));
    else if (value(key).isString() && value(key).toString().isEmpty())
        refuse(key, QStringLiteral("must not be empty"));
    return text(key);
}

QStringList RELEASE_JSON_OBJECT::texts(const char* key) const
{
    QStringList found;
    const QJsonValue list = value(key);
    bool all_texts = list.isUndefined() || list.isArray();
    const QJsonArray entries = list.toArray();
    for (const auto& entry : entries)
    {
        all_texts = all_texts && entry.isString() && !entry.toString().isEmpty();
        found.append(entry.toString());
    }
    if (!all_texts)
        refuse(key, QStringLiteral("must be a list of strings"));
    return found;
}

bool RELEASE_JSON_OBJECT::flag(const char* key) const
{
    const QJsonValue found = value(key);
    if (!found.isUndefined() && !found.isBool())
        refuse(key, QStringLiteral("must be true or false"));
    return found.toBool();
}

std::optional<quint64> RELEASE_JSON_OBJECT::byte_count_or_auto(const char* key) const
{
    constexpr double largest = 9007199254740992.0; // 2^53 - 1; larger JSON numbers are not exact
    const QJsonValue found = value(key);
    if (found.isUndefined() || found == QStringLiteral("auto"))
        return std::nullopt;
    const double number = found.toDouble(-1);
    if (number >= 0 && number <= largest && std::floor(number) == number)
        return static_cast<quint64>(number);
    refuse(key, QStringLiteral("must be a whole number of bytes or \"auto\""));
    return std::nullopt;
}

void RELEASE_JSON_OBJECT::refuse(const char* key, const QString& why) const
{
    m_faults.append(m_owner + ": '" + QLatin1String(key) + "' " + why);
}

void RELEASE_JSON_OBJECT::refuse_unknown_keys(const QStringList& known) const
{
    for (const QString& key : m_object.keys())
    {
        if (known.contains(key))
            continue;
        const QString nearest = nearest_word(key, known);
        m_faults.append(m_owner + ": unknown key " + quoted(key) + "; " +
                        (nearest.isEmpty() ? "the keys are " + known.join(", ")
                                           : "did you mean '" + nearest + "'?"));
    }
}
