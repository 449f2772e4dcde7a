#include "tools/vinst_release/release_graph.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr std::size_t unseen = std::numeric_limits<std::size_t>::max();

/// Tarjan's strongly connected components, with a stack of its own instead of recursion.
class GROUP_FINDER
{
public:
    explicit GROUP_FINDER(const RELEASE_GRAPH& graph)
        : m_graph(graph), m_order(graph.size(), unseen), m_lowest(graph.size(), 0),
          m_group(graph.size(), unseen)
    {
    }

    /// For each node, the number of its group; and the groups with their nodes.
    void find()
    {
        for (std::size_t node = 0; node < m_graph.size(); ++node)
            if (m_order[node] == unseen)
                visit(node);
    }

    const std::vector<std::vector<std::size_t>>& groups() const { return m_groups; }
    std::size_t group_of(std::size_t node) const { return m_group[node]; }

private:
    struct STEP
    {
        std::size_t node;
        std::size_t next_edge;
    };

    void enter(std::size_t node)
    {
        m_order[node] = m_lowest[node] = m_count++;
        m_open.push_back(node);
        m_path.push_back({node, 0});
    }

    void visit(std::size_t start)
    {
        enter(start);
        while (!m_path.empty())
        {
            const std::size_t node = m_path.back().node;
            if (m_path.back().next_edge < m_graph[node].size())
            {
                follow(node, m_graph[node][m_path.back().next_edge++]);
                continue;
            }
            m_path.pop_back();
            if (!m_path.empty())
                lower(m_path.back().node, m_lowest[node]);
            if (m_lowest[node] == m_order[node])
                close_group(node);
        }
    }

    void follow(std::size_t node, std::size_t target)
    {
        if (m_order[target] == unseen)
            enter(target);
        else if (m_group[target] == unseen)
            lower(node, m_order[target]);
    }

    void lower(std::size_t node, std::size_t order)
    {
        m_lowest[node] = std::min(m_lowest[node], order);
    }

    void close_group(std::size_t first)
    {
        std::vector<std::size_t> members;
        do
        {
            members.push_back(m_open.back());
            m_group[members.back()] = m_groups.size();
            m_open.pop_back();
        } while (members.back() != first);
        m_groups.push_back(std::move(members));
    }

    const RELEASE_GRAPH& m_graph;
    std::vector<std::size_t> m_order;
    std::vector<std::size_t> m_lowest;
    std::vector<std::size_t> m_group;
    std::vector<std::size_t> m_open;
    std::vector<STEP> m_path;
    std::vector<std::vector<std::size_t>> m_groups;
    std::size_t m_count = 0;
};

/// Walks inside a group until a node comes back; nothing when the group is one node without a loop.
std::vector<std::size_t> cycle_inside(const RELEASE_GRAPH& graph, const GROUP_FINDER& finder,
                                      const std::vector<std::size_t>& group,
                                      std::vector<std::size_t>& place)
{
    std::vector<std::size_t> walked;
    std::size_t node = *std::min_element(group.begin(), group.end());
    while (place[node] == unseen)
    {
        place[node] = walked.size();
        walked.push_back(node);
        const auto inside = [&](std::size_t target)
        { return finder.group_of(target) == finder.group_of(node); };
        const auto next = std::find_if(graph[node].begin(), graph[node].end(), inside);
        if (next == graph[node].end())
            return {};
        node = *next;
    }
    walked.erase(walked.begin(), walked.begin() + static_cast<std::ptrdiff_t>(place[node]));
    return walked;
}

}

std::vector<std::vector<std::size_t>> find_cycles(const RELEASE_GRAPH& graph)
{
    GROUP_FINDER finder(graph);
    finder.find();
    std::vector<std::size_t> place(graph.size(), unseen);
    std::vector<std::vector<std::size_t>> cycles;
    for (const auto& group : finder.groups())
    {
        std::vector<std::size_t> cycle = cycle_inside(graph, finder, group, place);
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
