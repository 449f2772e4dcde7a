#include "install/vinst/release/vinst_name_index.h"

#include "install/vinst/base/vinst_platform.h"

bool suits_platform(const QString& component_platform, const QString& platform)
{
    return component_platform.isEmpty() || component_platform == platform;
}

bool is_component_platform(const QString& platform)
{
    return platform.isEmpty() || is_platform(platform);
}

void VINST_NAME_INDEX::add(const QString& name, const QString& platform, std::size_t place)
{
    const std::pair key(name, platform);
    if (!m_places.contains(key))
        m_places.insert(key, place);
}

std::optional<std::size_t> VINST_NAME_INDEX::find(const QString& name,
                                                  const QString& platform) const
{
    std::optional<std::size_t> lowest;
    // A matching component has this platform or none.
    for (const QString& suitable : {platform, QString()})
    {
        const auto found = m_places.constFind({name, suitable});
        if (found != m_places.constEnd() && (!lowest || *found < *lowest))
            lowest = *found;
    }
    return lowest;
}
