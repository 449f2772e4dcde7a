#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

/// Reads a file that contains one JSON object. Errors are added to `faults`, with the line number.
std::optional<QJsonObject> read_json_object(const QString& path, QStringList& faults);

/// An object in a description file. The getters return the default when a key is absent, and add a
/// fault when its value has the wrong type.
class RELEASE_JSON_OBJECT final
{
public:
    /// \param owner  begins every sentence: "component 'veltrin_base'"
    RELEASE_JSON_OBJECT(const QJsonObject& object, QString owner, QStringList& faults);

    QJsonValue value(const char* key) const { return m_object.value(QLatin1String(key)); }
    QString text(const char* key, const QString& otherwise = {}) const;
    QString required_text(const char* key) const;
    QStringList texts(const char* key) const;
    bool flag(const char* key) const;
    /// An integer number of bytes; nothing for "auto".
    std::optional<quint64> byte_count_or_auto(const char* key) const;

    /// "component 'a': 'size' <why>".
    void refuse(const char* key, const QString& why) const;
    void refuse_unknown_keys(const QStringList& known) const;

private:
    const QJsonObject m_object;
    const QString m_owner;
    QStringList& m_faults;
};
