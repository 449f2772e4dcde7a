#pragma once

#include <QHash>
#include <QObject>

class QAction;
class QTreeView;
enum class VINST_SELECTION : qint32;
class VINST_RELEASE;
struct VINST_COMPONENT;

/// The commands that select components: all, none, or those that the release selects, in the
/// context menu of the tree and by keys. They apply to the rows that no filter hides.
class VINST_TREE_SELECTION final : public QObject
{
    Q_OBJECT

public:
    /// \param tree  owns this object; its model is a VINST_DOWNLOADER_TREEVIEW_MODEL
    explicit VINST_TREE_SELECTION(QTreeView& tree);

    /// To be called before the user's selection is restored.
    void remember_defaults(const VINST_RELEASE& release);
    void set_enabled(bool is_enabled);

Q_SIGNALS:
    void selected();

private:
    enum class CHOICE
    {
        all,
        none,
        defaults
    };
    void add_action(CHOICE choice, const QString& text, const QString& shortcut);
    void select(CHOICE choice);
    Qt::CheckState state_for(CHOICE choice, const VINST_COMPONENT* component) const;

    QTreeView& m_tree;
    QList<QAction*> m_actions; ///< owned by the tree
    QHash<const VINST_COMPONENT*, VINST_SELECTION> m_defaults;
};
