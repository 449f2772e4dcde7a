#pragma once

#include <QHash>
#include <QString>

#include <cstddef>
#include <optional>
#include <utility>

/// Whether a component is available on a platform: the platforms are equal, or the component's is
/// empty, which means every platform.
bool suits_platform(const QString& component_platform, const QString& platform);

/// Whether components can be looked up for a platform: it is "linux", "windows" or empty.
bool is_component_platform(const QString& platform);

/// Finds components by name and platform. Components are identified by their position in the
/// manifest.
class VINST_NAME_INDEX
{
public:
    /// For each pair of name and platform, the first position is kept.
    void add(const QString& name, const QString& platform, std::size_t place);

    /// The lowest position of a component with this name for the platform. An empty platform finds
    /// only components without a platform.
    std::optional<std::size_t> find(const QString& name, const QString& platform) const;

private:
    QHash<std::pair<QString, QString>, std::size_t> m_places;
};
