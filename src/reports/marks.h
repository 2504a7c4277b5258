#pragma once

#include <QList>
#include <QString>

class QTreeWidgetItem;

namespace varemo {

// The three-state marks of a report tree. A node shows "Nenhum", "Alguns" or "Todos" (its
// image key); a saved definition keeps the last two as 2 and 3.

// "Nenhum" or "Alguns" becomes "Todos"; "Todos" becomes "Nenhum".
void toggleMark(QTreeWidgetItem* node);
// Every descendant takes "Todos" when the node shows "Todos", otherwise "Nenhum".
void pushMarkDown(QTreeWidgetItem* node);
// From the node up, each parent shows what the node and its siblings show. The walk ends at
// a node captioned like the root, so a node of that caption below the root also ends it.
void recomputeMarksUp(QTreeWidgetItem* node);
// A click or the space bar: the three routines in turn.
void clickMark(QTreeWidgetItem* node);

// Gives a "Nenhum" node with marked children the state its children make. A definition
// stored without some ancestor's row (other modules leave the root's out) would otherwise
// lose the branch on its next save, which skips an unmarked node with its subtree.
void fillMissingParents(QTreeWidgetItem* root);

// One stored row of a definition.
struct MarkRow {
    QString nivel; // "N0".."N4", or "NI" for the root
    qint64 codigoConta = 0;
    int imagem = 0; // 2 or 3
    bool operator==(const MarkRow&) const = default;
};

// The marked nodes from the root down, children in order; an unmarked node is skipped with
// its subtree, since no part of it is chosen.
QList<MarkRow> markRows(QTreeWidgetItem* root);

} // namespace varemo
