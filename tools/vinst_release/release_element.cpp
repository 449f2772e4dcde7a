#include "tools/vinst_release/release_element.h"

#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_text.h"
#include "tools/vinst_release/release_text.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

QString RELEASE_ELEMENT::text(const char* key) const
{
    return object.value(QLatin1String(key)).toString();
}

bool RELEASE_ELEMENT::is_component() const
{
    return has("data_type") && !is_release() && has("name");
}

QString RELEASE_ELEMENT::filename() const
{
    const QString name = text("filename");
    return is_component() && is_safe_file_name(name) ? name : QString();
}

QString RELEASE_ELEMENT::label() const
{
    if (is_release())
        return QStringLiteral("release");
    if (text("name").isEmpty())
        return "element " + QString::number(index + 1);
    const QString platform = text("platform");
    return "component " + quoted(text("name")) + " (" +
           (platform.isEmpty() ? "no platform" : without_control_characters(platform)) + ')';
}

QByteArray RELEASE_ELEMENT::compact_text() const
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::vector<RELEASE_ELEMENT> release_elements(const QJsonArray& array)
{
    std::vector<RELEASE_ELEMENT> elements;
    elements.reserve(static_cast<std::size_t>(array.size()));
    for (const QJsonValue& value : array)
        elements.push_back({elements.size(), value.toObject()});
    return elements;
}

void RELEASE_FAULTS::add(const RELEASE_ELEMENT& element, const QString& what)
{
    m_faults.push_back({element.index + 1, element.label() + ": " + what});
}

void RELEASE_FAULTS::add(const QString& what)
{
    m_faults.push_back({0, what});
}

QStringList RELEASE_FAULTS::in_order() const
{
    std::vector<const FAULT*> ordered;
    for (const FAULT& fault : m_faults)
        ordered.push_back(&fault);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const FAULT* a, const FAULT* b) { return a->place < b->place; });
    QStringList lines;
    for (const FAULT* fault : ordered)
        lines.append(fault->text);
    return lines;
}
