#include "install/vinst/gui/vinst_tree_selection.h"

#include "install/vinst/gui/vinst_downloader_treeview_model.h"
#include "install/vinst/gui/vinst_downloader_treeview_rules.h"
#include "install/vinst/release/vinst_data.h"

#include <QAction>
#include <QTreeView>

#include <functional>

namespace
{

VINST_DOWNLOADER_TREEVIEW_MODEL& model_of(const QTreeView& tree)
{
    return *static_cast<VINST_DOWNLOADER_TREEVIEW_MODEL*>(tree.model());
}

/// Sets the shown rows below an index that have no rows below them. They decide the states of all
/// others, from the bottom up.
void set_shown_leaves(const QTreeView& tree, const QModelIndex& parent,
                      const std::function<Qt::CheckState(const VINST_COMPONENT*)>& state_of)
{
    VINST_DOWNLOADER_TREEVIEW_MODEL& model = model_of(tree);
    const int rows = model.rowCount(parent);
    for (int row = 0; row < rows; ++row)
    {
        if (tree.isRowHidden(row, parent))
            continue;
        const QModelIndex index = model.index(row, 0, parent);
        VINST_DOWNLOADER_TREEVIEW_ITEM& item = *model.row_at(index);
        set_shown_leaves(tree, index, state_of);
        model.set_alone(item, item.child_count() == 0 ? state_of(item.component())
                                                      : aggregated_state(item.descendant_states()));
    }
}

}

VINST_TREE_SELECTION::VINST_TREE_SELECTION(QTreeView& tree) : QObject(&tree), m_tree(tree)
{
    add_action(CHOICE::all, QStringLiteral("Select all"), QStringLiteral("Ctrl+A"));
    add_action(CHOICE::none, QStringLiteral("Select none"), QStringLiteral("Ctrl+Shift+A"));
    add_action(CHOICE::defaults, QStringLiteral("Select default"), QStringLiteral("Ctrl+D"));
    tree.setContextMenuPolicy(Qt::ActionsContextMenu);
}

void VINST_TREE_SELECTION::add_action(CHOICE choice, const QString& text, const QString& shortcut)
{
    auto* const action = new QAction(text, &m_tree);
    action->setShortcut(QKeySequence(shortcut));
    action->setShortcutContext(Qt::WidgetShortcut);
    connect(action, &QAction::triggered, this, [this, choice] { select(choice); });
    m_tree.addAction(action);
    m_actions.append(action);
}

void VINST_TREE_SELECTION::remember_defaults(const VINST_RELEASE& release)
{
    m_defaults.clear();
    for (const auto& component : release.components())
        m_defaults.insert(component.get(), component->selection);
}

void VINST_TREE_SELECTION::set_enabled(bool is_enabled)
{
    for (QAction* action : m_actions)
        action->setEnabled(is_enabled);
}

Qt::CheckState VINST_TREE_SELECTION::state_for(CHOICE choice,
                                               const VINST_COMPONENT* component) const
{
    if (choice == CHOICE::defaults)
        return check_state_of(m_defaults.value(component, VINST_SELECTION::not_selected));
    return choice == CHOICE::all ? Qt::Checked : Qt::Unchecked;
}

void VINST_TREE_SELECTION::select(CHOICE choice)
{
    set_shown_leaves(
        m_tree, {}, [&](const VINST_COMPONENT* component) { return state_for(choice, component); });
    model_of(m_tree).recompute();
    Q_EMIT selected();
}
