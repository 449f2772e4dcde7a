#pragma once

#include <cstddef>
#include <optional>
#include <vector>

/// For each node, the nodes that it points at.
using RELEASE_GRAPH = std::vector<std::vector<std::size_t>>;

/// One cycle for each strongly connected component, including nodes that point at themselves, in
/// the order of their first nodes. The first node of a cycle is not repeated at its end. Takes
/// linear time and does not recurse, so a chain of any length is safe.
std::vector<std::vector<std::size_t>> find_cycles(const RELEASE_GRAPH& graph);

/// An order with every parent before its children that otherwise keeps the given order: a parent
/// that comes too late is moved directly before its first child.
///
/// \param parents  the parent of each node, if any; without cycles
std::vector<std::size_t>
order_parents_first(const std::vector<std::optional<std::size_t>>& parents);
