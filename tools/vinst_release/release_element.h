#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

class QJsonArray;

/// One element of a manifest as it stands in the file.
struct RELEASE_ELEMENT
{
    std::size_t index = 0; ///< from 0
    QJsonObject object;    ///< empty for an element that is none

    [[nodiscard]] bool has(const char* key) const { return object.contains(QLatin1String(key)); }
    [[nodiscard]] QString text(const char* key) const;
    [[nodiscard]] bool is_release() const { return text("data_type") == QLatin1String("main"); }
    /// Whether it is loaded as a component, as far as its required keys go.
    [[nodiscard]] bool is_component() const;
    /// The name of its file; empty when there is none, or none that the program would take.
    [[nodiscard]] QString filename() const;
    /// "component 'veltrin_base' (linux)", "release", or "element 3", counted from 1.
    [[nodiscard]] QString label() const;
    /// As a manifest's reader shows it in its messages.
    [[nodiscard]] QByteArray compact_text() const;
};

std::vector<RELEASE_ELEMENT> release_elements(const QJsonArray& array);

/// Gathers faults by the element they belong to.
class RELEASE_FAULTS final
{
public:
    /// "component 'a' (linux): <what>".
    void add(const RELEASE_ELEMENT& element, const QString& what);
    /// A fault of the manifest as a whole; comes first.
    void add(const QString& what);
    /// In the order of the elements, and of their finding.
    [[nodiscard]] QStringList in_order() const;

private:
    struct FAULT
    {
        std::size_t place;
        QString text;
    };
    std::vector<FAULT> m_faults;
};
