#pragma once

#include <cstddef>
#include <optional>
#include <vector>

/// For each node, the nodes that it points at.
using RELEASE_GRAPH = std::vector<std::vector<std::size_t>>;

/// One closed path for each group of nodes that reach each other, a node that points at itself
/// included. The first node of a path is not repeated at its end. Takes time in proportion to the
/// graph, and no stack.
std::vector<std::vector<std::size_t>> find_cycles(const RELEASE_GRAPH& graph);

/// An order in which every parent comes before its children, and which otherwise keeps the given
/// one: a parent that comes too late moves right before its first child.
///
/// \param parents  of each node, if it has one; without cycles
std::vector<std::size_t>
order_parents_first(const std::vector<std::optional<std::size_t>>& parents);
