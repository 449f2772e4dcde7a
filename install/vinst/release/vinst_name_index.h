#pragma once

#include <QHash>
#include <QString>

#include <cstddef>
#include <optional>
#include <utility>

/// Whether a component of one platform belongs to another: the platforms are equal, or the
/// component's is empty, which stands for every platform.
bool suits_platform(const QString& component_platform, const QString& platform);

/// Whether components can be looked up for a platform: it is "linux", "windows" or empty.
bool is_component_platform(const QString& platform);

/// Finds components by name and platform. Components are known by their place in manifest order.
class VINST_NAME_INDEX
{
public:
    /// Keeps the place that was added first for each pair of name and platform.
    void add(const QString& name, const QString& platform, std::size_t place);

    /// The lowest place of a component with the name that suits the platform. Only a component
    /// without a platform suits an empty one.
    std::optional<std::size_t> find(const QString& name, const QString& platform) const;

private:
    QHash<std::pair<QString, QString>, std::size_t> m_places;
};
