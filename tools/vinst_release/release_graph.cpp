#include "tools/vinst_release/release_graph.h"

// Must be included first: strong_components.hpp needs its functions for std::vector.
#include <boost/graph/vector_as_graph.hpp>

#include <boost/graph/strong_components.hpp>

#include <algorithm>
#include <limits>

namespace
{

constexpr std::size_t unseen = std::numeric_limits<std::size_t>::max();

/// For each node, the number of its strongly connected component.
std::vector<std::size_t> number_groups(const RELEASE_GRAPH& graph)
{
    const boost::typed_identity_property_map<std::size_t> node_index;
    std::vector<std::size_t> groups(graph.size());
    boost::strong_components(graph, boost::make_iterator_property_map(groups.begin(), node_index),
                             boost::vertex_index_map(node_index));
    return groups;
}

/// Follows edges within the group of the first node until a node repeats. Empty if the group is a
/// single node that doesn't point at itself.
///
/// \param places  of the visited nodes in their paths; written for this group
std::vector<std::size_t> cycle_in_group_of(std::size_t first, const RELEASE_GRAPH& graph,
                                           const std::vector<std::size_t>& groups,
                                           std::vector<std::size_t>& places)
{
    const auto is_inside = [&](std::size_t node) { return groups[node] == groups[first]; };
    std::vector<std::size_t> walked;
    std::size_t node = first;
    while (places[node] == unseen)
    {
        places[node] = walked.size();
        walked.push_back(node);
        const auto next = std::find_if(graph[node].begin(), graph[node].end(), is_inside);
        if (next == graph[node].end())
            return {};
        node = *next;
    }
    walked.erase(walked.begin(), walked.begin() + static_cast<std::ptrdiff_t>(places[node]));
    return walked;
}

}

std::vector<std::vector<std::size_t>> find_cycles(const RELEASE_GRAPH& graph)
{
    const std::vector<std::size_t> groups = number_groups(graph);
    std::vector<bool> is_group_walked(graph.size(), false);
    std::vector<std::size_t> places(graph.size(), unseen);
    std::vector<std::vector<std::size_t>> cycles;
    for (std::size_t node = 0; node < graph.size(); ++node)
    {
        if (is_group_walked[groups[node]])
            continue;
        is_group_walked[groups[node]] = true;
        std::vector<std::size_t> cycle = cycle_in_group_of(node, graph, groups, places);
        if (!cycle.empty())
            cycles.push_back(std::move(cycle));
    }
    return cycles;
}

std::vector<std::size_t> order_parents_first(const std::vector<std::optional<std::size_t>>& parents)
{
    std::vector<std::size_t> order;
    std::vector<bool> placed(parents.size(), false);
    std::vector<std::size_t> line_of_ancestors;
    for (std::size_t node = 0; node < parents.size(); ++node)
    {
        for (std::optional<std::size_t> next = node; next && !placed[*next]; next = parents[*next])
        {
            placed[*next] = true;
            line_of_ancestors.push_back(*next);
        }
        order.insert(order.end(), line_of_ancestors.rbegin(), line_of_ancestors.rend());
        line_of_ancestors.clear();
    }
    return order;
}
