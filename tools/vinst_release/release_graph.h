#pragma once

#include <cstddef>
#include <optional>
#include <vector>

/// For each node, the nodes that it points at.
using RELEASE_GRAPH = std::vector<std::vector<std::size_t>>;

/// One cycle for each group of nodes that reach each other, including a node that points at itself,
/// in the order of the groups' first nodes. The first node of a cycle is not repeated at its end.
/// Takes time proportional to the size of the graph and does not recurse, so a chain of any length
/// is safe.
std::vector<std::vector<std::size_t>> find_cycles(const RELEASE_GRAPH& graph);

/// An order in which every parent comes before its children, and which otherwise keeps the given
/// one: a parent that comes too late moves right before its first child.
///
/// \param parents  of each node, if it has one; without cycles
std::vector<std::size_t>
order_parents_first(const std::vector<std::optional<std::size_t>>& parents);
