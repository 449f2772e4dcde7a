#include "install/vinst/gui/vinst_downloader_treeview_model.h"

#include "install/vinst/gui/vinst_downloader_treeview_rules.h"

#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QTextDocument>

namespace
{

QStandardItem* text_cell(const QString& text)
{
    auto* const cell = new QStandardItem(text);
    cell->setEditable(false);
    return cell;
}

QStandardItem* number_cell(const QString& text)
{
    QStandardItem* const cell = text_cell(text);
    cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return cell;
}

QStandardItem* value_cell(const QVariant& value)
{
    QStandardItem* const cell = text_cell({});
    cell->setData(value, tree_cell_role);
    return cell;
}

/// Adds what has a file below a row.
void add_files_below(const VINST_DOWNLOADER_TREEVIEW_ITEM& row, VINST_GROUP_FIGURES& figures)
{
    for (int i = 0; i < row.child_count(); ++i)
    {
        const VINST_DOWNLOADER_TREEVIEW_ITEM& child = *row.child_row(i);
        const VINST_COMPONENT& component = *child.component();
        add_files_below(child, figures);
        if (component.filename.isEmpty())
            continue;
        ++figures.all;
        if (!component.is_selected())
            continue;
        ++figures.selected;
        figures.bytes += component.expected_size();
    }
}

bool belongs_to(const VINST_COMPONENT& component, const QString& platform)
{
    return component.kind == VINST_COMPONENT_KIND::download &&
           suits_platform(component.platform, platform);
}

}

VINST_DOWNLOADER_TREEVIEW_ITEM::VINST_DOWNLOADER_TREEVIEW_ITEM(VINST_COMPONENT* component)
    : QStandardItem(component->display_name()), m_component(component)
{
    setData(component->name, Qt::UserRole);
    setEditable(false);
    setCheckable(true);
    setAutoTristate(true);
    setCheckState(check_state_of(component->selection));
}

VINST_DOWNLOADER_TREEVIEW_ITEM* VINST_DOWNLOADER_TREEVIEW_ITEM::child_row(int row) const
{
    return static_cast<VINST_DOWNLOADER_TREEVIEW_ITEM*>(child(row));
}

VINST_DOWNLOADER_TREEVIEW_ITEM* VINST_DOWNLOADER_TREEVIEW_ITEM::parent_row() const
{
    return static_cast<VINST_DOWNLOADER_TREEVIEW_ITEM*>(parent());
}

QStandardItem* VINST_DOWNLOADER_TREEVIEW_ITEM::cell(VINST_TREE_COLUMN column) const
{
    return parent() != nullptr ? parent()->child(row(), column) : model()->item(row(), column);
}

std::vector<Qt::CheckState> VINST_DOWNLOADER_TREEVIEW_ITEM::descendant_states() const
{
    std::vector<Qt::CheckState> states;
    std::vector<const VINST_DOWNLOADER_TREEVIEW_ITEM*> open{this};
    while (!open.empty())
    {
        const VINST_DOWNLOADER_TREEVIEW_ITEM* const item = open.back();
        open.pop_back();
        if (item != this)
            states.push_back(item->checkState());
        for (int i = item->child_count(); i-- > 0;)
            open.push_back(item->child_row(i));
    }
    return states;
}

VINST_DOWNLOADER_TREEVIEW_MODEL::VINST_DOWNLOADER_TREEVIEW_MODEL(QObject* parent)
    : QStandardItemModel(parent)
{
    connect(this, &QStandardItemModel::itemChanged, this,
            &VINST_DOWNLOADER_TREEVIEW_MODEL::follow_change);
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::populate(const VINST_RELEASE& release,
                                               const QString& platform)
{
    setHorizontalHeaderLabels({"Name", "Base Name", "Download Size", "Install Size", "Progress",
                               "File Integrity", "", "Description", "md5sum", "sha1sum"});
    for (const VINST_TREE_COLUMN column : {download_size_column, install_size_column})
        horizontalHeaderItem(column)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (const VINST_TREE_COLUMN column : {progress_column, integrity_column})
        horizontalHeaderItem(column)->setTextAlignment(Qt::AlignCenter);
    for (const auto& component : release.components())
    {
        const VINST_COMPONENT* const parent = component->parent;
        const bool is_top = parent == nullptr || !belongs_to(*parent, platform);
        if (is_top && belongs_to(*component, platform))
            append_row(*invisibleRootItem(), component.get(), platform);
    }
}

QVariant VINST_DOWNLOADER_TREEVIEW_MODEL::data(const QModelIndex& index, int role) const
{
    if (index.column() == name_column &&
        (role == tree_summary_role || role == Qt::AccessibleDescriptionRole))
        return summary_at(index);
    const QVariant own = QStandardItemModel::data(index, role);
    // Qt reports only two states of a check box in a tree to screen readers.
    if (role == Qt::AccessibleTextRole && index.column() == name_column && !own.isValid() &&
        data(index, Qt::CheckStateRole).toInt() == Qt::PartiallyChecked)
        return data(index, Qt::DisplayRole).toString() + ", partly selected";
    if (role != Qt::ToolTipRole || own.isValid())
        return own;
    const QString text = tool_tip_at(index);
    if (text.isEmpty())
        return own;
    // Tool tips interpret text as markup if it looks like it.
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

QString VINST_DOWNLOADER_TREEVIEW_MODEL::tool_tip_at(const QModelIndex& index) const
{
    const ITEM* const row = row_at(index);
    if (row == nullptr)
        return {};
    const QString& failure = row->component()->last_failure;
    if (index.column() == name_column)
        return row->component()->display_name() + (failure.isEmpty() ? QString() : '\n' + failure);
    const QString state =
        index.column() == progress_column ? index.data(tree_state_text_role).toString() : QString();
    return state.isEmpty() ? failure : state;
}

QVariant VINST_DOWNLOADER_TREEVIEW_MODEL::summary_at(const QModelIndex& index) const
{
    const ITEM* const row = row_at(index);
    if (row == nullptr || row->child_count() == 0)
        return {};
    VINST_GROUP_FIGURES figures;
    add_files_below(*row, figures);
    return group_summary(figures);
}

VINST_DOWNLOADER_TREEVIEW_MODEL::ITEM*
VINST_DOWNLOADER_TREEVIEW_MODEL::append_row(QStandardItem& parent, VINST_COMPONENT* component,
                                            const QString& platform)
{
    auto* const row = new ITEM(component);
    // Children are added before the row is appended, because that emits no signals and is faster.
    for (VINST_COMPONENT* child : component->children)
        if (belongs_to(*child, platform))
            append_row(*row, child, platform);
    const bool has_file = !component->filename.isEmpty();
    const double install_size = has_file ? component->installsize : 0;
    parent.appendRow({row, text_cell(component->name),
                      number_cell(size_text(component->downloadsize_str,
                                            has_file ? static_cast<double>(component->size) : 0)),
                      number_cell(size_text(component->installsize_str, install_size)),
                      value_cell("-1%"), value_cell(0), value_cell(false),
                      text_cell(component->desc), text_cell(component->md5sum),
                      text_cell(component->sha1sum)});
    m_rows.insert(component, row);
    return row;
}

VINST_DOWNLOADER_TREEVIEW_MODEL::ITEM*
VINST_DOWNLOADER_TREEVIEW_MODEL::row_at(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<ITEM*>(itemFromIndex(index.siblingAtColumn(name_column)))
                           : nullptr;
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::toggle(ITEM& row)
{
    row.setCheckState(row.checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::set_alone(ITEM& row, Qt::CheckState state)
{
    const QSignalBlocker blocker(this);
    row.setCheckState(state);
    row.component()->selection = selection_of(state);
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::follow_change(QStandardItem* item)
{
    if (m_is_following || item->column() != name_column)
        return;
    const QScopedValueRollback<bool> following(m_is_following, true);
    auto& row = static_cast<ITEM&>(*item);
    row.component()->selection = selection_of(row.checkState());
    push_down(row, row.checkState());
    walk_up(row);
    Q_EMIT states_changed();
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::push_down(ITEM& row, Qt::CheckState state)
{
    for (int i = 0; i < row.child_count(); ++i)
    {
        ITEM& child = *row.child_row(i);
        set_alone(child, state);
        child.component()->selection =
            state == Qt::Unchecked ? VINST_SELECTION::not_selected : VINST_SELECTION::selected;
        push_down(child, state);
    }
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::walk_up(ITEM& row)
{
    for (ITEM* above = row.parent_row(); above != nullptr; above = above->parent_row())
        set_alone(*above, aggregated_state(above->descendant_states()));
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::recompute()
{
    for (int i = 0; i < rowCount(); ++i)
        recompute_below(*static_cast<ITEM*>(item(i)));
    Q_EMIT states_changed();
}

void VINST_DOWNLOADER_TREEVIEW_MODEL::recompute_below(ITEM& row)
{
    if (row.child_count() == 0)
        return;
    set_alone(row, aggregated_state(row.descendant_states()));
    for (int i = 0; i < row.child_count(); ++i)
        recompute_below(*row.child_row(i));
}

bool VINST_DOWNLOADER_TREEVIEW_MODEL::store(QStandardItem& cell, const QVariant& value)
{
    if (cell.data(tree_cell_role) == value)
        return false;
    const QSignalBlocker blocker(cell.model());
    cell.setData(value, tree_cell_role);
    return true;
}
