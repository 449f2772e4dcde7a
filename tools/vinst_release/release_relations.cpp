#include "tools/vinst_release/release_relations.h"

#include "tools/vinst_release/release_graph.h"
#include "tools/vinst_release/release_text.h"

#include <algorithm>

namespace
{

QString path_text(const std::vector<RELEASE_RELATION>& relations,
                  const std::vector<std::size_t>& cycle)
{
    QStringList labels;
    for (const std::size_t index : cycle)
        labels.append(relations[index].label);
    labels.append(labels.first());
    return labels.join(" -> ");
}

QStringList cycle_texts(const std::vector<RELEASE_RELATION>& relations, const RELEASE_GRAPH& graph)
{
    QStringList texts;
    for (const std::vector<std::size_t>& cycle : find_cycles(graph))
        texts.append(path_text(relations, cycle));
    return texts;
}

}

RELEASE_RELATION_INDEX::RELEASE_RELATION_INDEX(const std::vector<RELEASE_RELATION>& relations)
{
    for (std::size_t i = 0; i < relations.size(); ++i)
        m_places.add(relations[i].name, relations[i].platform, i);
}

std::optional<std::size_t> RELEASE_RELATION_INDEX::find(const QString& name,
                                                        const QString& platform) const
{
    return is_component_platform(platform) ? m_places.find(name, platform) : std::nullopt;
}

std::vector<std::pair<std::size_t, std::size_t>>
find_duplicates(const std::vector<RELEASE_RELATION>& relations)
{
    const RELEASE_RELATION_INDEX index(relations);
    std::vector<std::pair<std::size_t, std::size_t>> duplicates;
    for (std::size_t i = 0; i < relations.size(); ++i)
    {
        const QString& own = relations[i].platform;
        const QStringList platforms =
            own.isEmpty() ? QStringList{"", "linux", "windows"} : QStringList{own};
        std::size_t first = i;
        for (const QString& platform : platforms)
            first = std::min(first, index.find(relations[i].name, platform).value_or(i));
        if (first < i)
            duplicates.emplace_back(i, first);
    }
    return duplicates;
}

QStringList parent_cycles(const std::vector<RELEASE_RELATION>& relations)
{
    const RELEASE_RELATION_INDEX index(relations);
    RELEASE_GRAPH graph(relations.size());
    for (std::size_t i = 0; i < relations.size(); ++i)
        if (!relations[i].parent.isEmpty())
            if (const auto parent = index.find(relations[i].parent, relations[i].platform))
                graph[i].push_back(*parent);
    return cycle_texts(relations, graph);
}

QStringList dependency_cycles(const std::vector<RELEASE_RELATION>& relations)
{
    const RELEASE_RELATION_INDEX index(relations);
    RELEASE_GRAPH graph(relations.size());
    for (std::size_t i = 0; i < relations.size(); ++i)
        for (const QString& name : relations[i].dependency)
            if (const auto dependency = index.find(name, relations[i].platform))
                graph[i].push_back(*dependency);
    return cycle_texts(relations, graph);
}

std::optional<std::vector<std::size_t>>
order_by_relations(const std::vector<RELEASE_RELATION>& relations, QStringList& faults)
{
    const int faults_before = faults.size();
    for (const auto& duplicate : find_duplicates(relations))
        faults.append(relations[duplicate.first].label + " is described twice");

    const RELEASE_RELATION_INDEX index(relations);
    std::vector<std::optional<std::size_t>> parents(relations.size());
    for (std::size_t i = 0; i < relations.size(); ++i)
    {
        const RELEASE_RELATION& relation = relations[i];
        if (!relation.parent.isEmpty())
            parents[i] = index.find(relation.parent, relation.platform);
        if (!relation.parent.isEmpty() && !parents[i])
            faults.append(relation.label + ": its parent " + quoted(relation.parent) +
                          " does not exist on its platform");
        for (const QString& name : relation.dependency)
            if (!index.find(name, relation.platform))
                faults.append(relation.label + ": its dependency " + quoted(name) +
                              " does not exist on its platform");
    }
    for (const QString& cycle : parent_cycles(relations))
        faults.append("parents form a cycle: " + cycle);
    for (const QString& cycle : dependency_cycles(relations))
        faults.append("dependencies form a cycle: " + cycle);
    if (faults.size() != faults_before)
        return std::nullopt;
    return order_parents_first(parents);
}
