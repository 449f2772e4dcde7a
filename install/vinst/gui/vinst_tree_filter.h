#pragma once

#include <QString>

class QTreeView;

/// Hides the rows of a tree whose texts in the first two columns don't contain all words of a text,
/// unless a row above or below them matches. Groups with matching rows are expanded. Selections and
/// check states stay as they are.
///
/// \return whether any row is shown
bool filter_tree(QTreeView& tree, const QString& text);
