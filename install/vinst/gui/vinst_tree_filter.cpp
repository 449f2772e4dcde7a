#include "install/vinst/gui/vinst_tree_filter.h"

#include <QStringList>
#include <QTreeView>

#include <algorithm>

namespace
{

class FILTER
{
public:
    FILTER(QTreeView& tree, const QString& text)
        : m_tree(tree), m_words(text.simplified().split(' ', Qt::SkipEmptyParts))
    {
    }

    /// \param is_match_above  a row above matches, so that all rows below it are shown
    /// \return whether any row is shown
    bool apply_below(const QModelIndex& parent, bool is_match_above)
    {
        bool is_any_shown = false;
        const int rows = m_tree.model()->rowCount(parent);
        for (int row = 0; row < rows; ++row)
            is_any_shown |= apply(row, parent, is_match_above);
        return is_any_shown;
    }

private:
    bool apply(int row, const QModelIndex& parent, bool is_match_above)
    {
        const QModelIndex index = m_tree.model()->index(row, 0, parent);
        const bool matches_here = is_match_above || matches(index);
        const bool is_match_below = apply_below(index, matches_here);
        const bool is_shown = matches_here || is_match_below;
        if (m_tree.isRowHidden(row, parent) == is_shown)
            m_tree.setRowHidden(row, parent, !is_shown);
        if (!m_words.isEmpty() && is_match_below && !matches_here)
            m_tree.expand(index);
        return is_shown;
    }

    bool matches(const QModelIndex& index) const
    {
        const QString title = index.data().toString();
        const QString name = index.siblingAtColumn(1).data().toString();
        return std::all_of(m_words.begin(), m_words.end(),
                           [&](const QString& word) {
                               return title.contains(word, Qt::CaseInsensitive) ||
                                      name.contains(word, Qt::CaseInsensitive);
                           });
    }

    QTreeView& m_tree;
    const QStringList m_words;
};

}

bool filter_tree(QTreeView& tree, const QString& text)
{
    return FILTER(tree, text).apply_below({}, false);
}
