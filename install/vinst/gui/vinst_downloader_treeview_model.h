#pragma once

#include "install/vinst/release/vinst_data_components.h"

#include <QHash>
#include <QStandardItemModel>

/// The columns of the component tree, in order.
enum VINST_TREE_COLUMN : int
{
    name_column,
    base_name_column,
    download_size_column,
    install_size_column,
    progress_column,
    integrity_column,
    run_column,
    description_column,
    md5sum_column,
    sha1sum_column
};

/// The cell's progress text, integrity code, or whether a Run button is shown.
inline constexpr int tree_cell_role = Qt::UserRole + 1;
/// Whether the installer that the cell's Run button has started is still running.
inline constexpr int tree_running_role = Qt::UserRole + 2;
/// The state of a row, in its progress cell: as a number, and in words.
inline constexpr int tree_state_role = Qt::UserRole + 3;
inline constexpr int tree_state_text_role = Qt::UserRole + 4;
/// What is selected in the group of a name, such as "3 of 9, 4.5 GB"; invalid if it is no group.
inline constexpr int tree_summary_role = Qt::UserRole + 5;

/// A cell of the tree's first column, which represents its row.
class VINST_DOWNLOADER_TREEVIEW_ITEM final : public QStandardItem
{
public:
    /// \param component  outlives the item
    explicit VINST_DOWNLOADER_TREEVIEW_ITEM(VINST_COMPONENT* component);

    VINST_COMPONENT* component() const { return m_component; }

    int child_count() const { return rowCount(); }
    VINST_DOWNLOADER_TREEVIEW_ITEM* child_row(int row) const;
    VINST_DOWNLOADER_TREEVIEW_ITEM* parent_row() const;
    /// The other cells of its row.
    QStandardItem* cell(VINST_TREE_COLUMN column) const;

    /// The check states of all rows below, depth first.
    std::vector<Qt::CheckState> descendant_states() const;

private:
    VINST_COMPONENT* m_component;
};

/// The rows of the tree, one per download component of a platform, below their parents. Their check
/// states are the components' selection.
class VINST_DOWNLOADER_TREEVIEW_MODEL final : public QStandardItemModel
{
    Q_OBJECT

public:
    using ITEM = VINST_DOWNLOADER_TREEVIEW_ITEM;

    explicit VINST_DOWNLOADER_TREEVIEW_MODEL(QObject* parent);

    void populate(const VINST_RELEASE& release, const QString& platform);

    /// A cell without a tool tip of its own has the reason why the component's file isn't verified.
    /// The name has its whole title before it, and the progress cell has the state of its row. The
    /// name of a group also has its summary.
    QVariant data(const QModelIndex& index, int role) const override;

    /// The row of a component; null when it has none.
    ITEM* row_of(const VINST_COMPONENT* component) const { return m_rows.value(component); }
    ITEM* row_at(const QModelIndex& index) const;
    const QHash<const VINST_COMPONENT*, ITEM*>& rows() const { return m_rows; }

    /// Toggles a row and all rows below it, and updates the rows above.
    void toggle(ITEM& row);
    /// Sets a row without changing others; `recompute` then updates the rows above.
    void set_alone(ITEM& row, Qt::CheckState state);
    /// Sets every row that has children to the aggregated state of the rows below it.
    void recompute();

    /// Stores a cell's value without a signal. \return whether it has changed
    static bool store(QStandardItem& cell, const QVariant& value);

Q_SIGNALS:
    /// Check states have changed, in any number of rows.
    void states_changed();

private:
    QString tool_tip_at(const QModelIndex& index) const;
    QVariant summary_at(const QModelIndex& index) const;
    ITEM* append_row(QStandardItem& parent, VINST_COMPONENT* component, const QString& platform);
    void follow_change(QStandardItem* item);
    void push_down(ITEM& row, Qt::CheckState state);
    void walk_up(ITEM& row);
    void recompute_below(ITEM& row);

    QHash<const VINST_COMPONENT*, ITEM*> m_rows;
    bool m_is_following = false; ///< guards against reacting to own changes
};
