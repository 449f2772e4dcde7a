#include "support/afcq/afcq_tree_view.h"

#include <QHeaderView>

AFCQ_TREE_VIEW::AFCQ_TREE_VIEW(QWidget* parent) : QTreeView(parent)
{
    setAlternatingRowColors(true);
    setUniformRowHeights(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setExpandsOnDoubleClick(false);
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}
