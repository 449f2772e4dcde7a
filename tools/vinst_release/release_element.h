#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

class QJsonArray;

/// One element of a manifest, unchanged.
struct RELEASE_ELEMENT
{
    std::size_t index = 0; ///< from 0
    QJsonObject object;    ///< empty if the element is not an object

    [[nodiscard]] bool has(const char* key) const { return object.contains(QLatin1String(key)); }
    [[nodiscard]] QString text(const char* key) const;
    [[nodiscard]] bool is_release() const { return text("data_type") == QLatin1String("main"); }
    /// Whether it has the keys required to be loaded as a component.
    [[nodiscard]] bool is_component() const;
    /// The name of its file; empty when there is none or the program would reject it.
    [[nodiscard]] QString filename() const;
    /// "component 'veltrin_base' (linux)", "release", or "element 3", counted from 1.
    [[nodiscard]] QString label() const;
    /// As shown in the messages of the manifest loader.
    [[nodiscard]] QByteArray compact_text() const;
};

std::vector<RELEASE_ELEMENT> release_elements(const QJsonArray& array);

/// Collects faults by element.
class RELEASE_FAULTS final
{
public:
    /// "component 'a' (linux): <what>".
    void add(const RELEASE_ELEMENT& element, const QString& what);
    /// A fault of the complete manifest; listed first.
    void add(const QString& what);
    /// In the order of the elements, then in the order in which they were added.
    [[nodiscard]] QStringList in_order() const;

private:
    struct FAULT
    {
        std::size_t place;
        QString text;
    };
    std::vector<FAULT> m_faults;
};
