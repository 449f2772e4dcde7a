#pragma once

#include "install/vinst/release/vinst_name_index.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

/// What a component says of others.
struct RELEASE_RELATION
{
    QString name;
    QString platform; ///< "linux", "windows", or empty for both
    QString parent;
    QStringList dependency;
    QString label; ///< the component in a sentence
};

/// Finds components by name, as the program does. Nothing is found for an unknown platform.
class RELEASE_RELATION_INDEX final
{
public:
    RELEASE_RELATION_INDEX() = default;
    explicit RELEASE_RELATION_INDEX(const std::vector<RELEASE_RELATION>& relations);
    std::optional<std::size_t> find(const QString& name, const QString& platform) const;

private:
    VINST_NAME_INDEX m_places;
};

/// For each component whose name an earlier one has on the same platform, the two indices.
std::vector<std::pair<std::size_t, std::size_t>>
find_duplicates(const std::vector<RELEASE_RELATION>& relations);

/// "a -> b -> a" for each ring of parents, and for each of dependencies.
QStringList parent_cycles(const std::vector<RELEASE_RELATION>& relations);
QStringList dependency_cycles(const std::vector<RELEASE_RELATION>& relations);

/// The components in an order with parents before their children, as near to the given one as can
/// be. Nothing when a relation is broken; then `faults` has a sentence for each that is.
std::optional<std::vector<std::size_t>>
order_by_relations(const std::vector<RELEASE_RELATION>& relations, QStringList& faults);
