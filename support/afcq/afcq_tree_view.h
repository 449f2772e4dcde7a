#pragma once

#include <QTreeView>

/// A tree view with the suite's look: alternating row colours and rows of equal height. It takes
/// the room that there is, and asks for little.
class AFCQ_TREE_VIEW : public QTreeView
{
    Q_OBJECT

public:
    explicit AFCQ_TREE_VIEW(QWidget* parent = nullptr);

    QSize sizeHint() const override { return minimumSizeHint(); }
};
