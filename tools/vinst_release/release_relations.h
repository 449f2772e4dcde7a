#pragma once

#include "install/vinst/release/vinst_name_index.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

/// The relations of a component to others.
struct RELEASE_RELATION
{
    QString name;
    QString platform; ///< "linux", "windows", or empty for both
    QString parent;
    QStringList dependency;
    QString label; ///< how messages name the component
};

/// Finds components by name in the same way as the program. Finds nothing for an unknown platform.
class RELEASE_RELATION_INDEX final
{
public:
    RELEASE_RELATION_INDEX() = default;
    explicit RELEASE_RELATION_INDEX(const std::vector<RELEASE_RELATION>& relations);
    std::optional<std::size_t> find(const QString& name, const QString& platform) const;

private:
    VINST_NAME_INDEX m_places;
};

/// The index pairs of components that have the same name as an earlier one on the same platform.
std::vector<std::pair<std::size_t, std::size_t>>
find_duplicates(const std::vector<RELEASE_RELATION>& relations);

/// "a -> b -> a" for each cycle of parents and of dependencies, respectively.
QStringList parent_cycles(const std::vector<RELEASE_RELATION>& relations);
QStringList dependency_cycles(const std::vector<RELEASE_RELATION>& relations);

/// An order with parents before their children that is as close to the given one as possible.
/// Nothing if a relation is broken; `faults` then has a sentence for each broken relation.
std::optional<std::vector<std::size_t>>
order_by_relations(const std::vector<RELEASE_RELATION>& relations, QStringList& faults);
