#pragma once

#include <QTreeView>

/// A tree view with the suite's look: striped rows of one height, each with room to breathe.
class AFCQ_TREE_VIEW : public QTreeView
{
    Q_OBJECT

public:
    explicit AFCQ_TREE_VIEW(QWidget* parent = nullptr);
};
