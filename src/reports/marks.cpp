#include "reports/marks.h"

#include "editor/images.h"
#include "editor/tree.h"

#include <QTreeWidgetItem>

#include <vector>

namespace varemo {

namespace {

// The state a set of siblings makes of their parent; empty when none shows any of the three.
QString parentState(const QTreeWidgetItem* parent)
{
    bool allChosen = true;
    bool noneChosen = true;
    for (int i = 0; i < parent->childCount(); ++i) {
        const QString image = nodeImage(parent->child(i));
        if (image == ImageSome)
            return ImageSome;
        if (image == ImageNone)
            allChosen = false;
        else if (image == ImageAll)
            noneChosen = false;
    }
    if (allChosen && noneChosen)
        return {};
    if (allChosen)
        return ImageAll;
    return noneChosen ? ImageNone : ImageSome;
}

int storedValue(const QString& image)
{
    if (image == ImageSome)
        return 2;
    if (image == ImageAll)
        return 3;
    return 0;
}

} // namespace

void toggleMark(QTreeWidgetItem* node)
{
    const QString image = nodeImage(node);
    if (image == ImageNone || image == ImageSome)
        setNodeImage(node, ImageAll);
    else if (image == ImageAll)
        setNodeImage(node, ImageNone);
}

void pushMarkDown(QTreeWidgetItem* node)
{
    const QString image = nodeImage(node) == ImageAll ? ImageAll : ImageNone;
    // A loop rather than recursion: a click on the root reaches every node of the chart.
    std::vector<QTreeWidgetItem*> pending;
    for (int i = node->childCount() - 1; i >= 0; --i)
        pending.push_back(node->child(i));
    while (!pending.empty()) {
        QTreeWidgetItem* child = pending.back();
        pending.pop_back();
        setNodeImage(child, image);
        for (int i = child->childCount() - 1; i >= 0; --i)
            pending.push_back(child->child(i));
    }
}

void recomputeMarksUp(QTreeWidgetItem* node)
{
    const QTreeWidgetItem* root = node;
    while (root->parent() != nullptr)
        root = root->parent();
    const QString rootText = root->text(0);
    for (QTreeWidgetItem* current = node; current != nullptr; current = current->parent()) {
        // Captions, not identity: whatever reads like the root ends the walk.
        if (current->text(0) == rootText || current->parent() == nullptr)
            return;
        const QString state = parentState(current->parent());
        if (state.isEmpty())
            return;
        setNodeImage(current->parent(), state);
    }
}

void clickMark(QTreeWidgetItem* node)
{
    if (node == nullptr)
        return;
    toggleMark(node);
    pushMarkDown(node);
    recomputeMarksUp(node);
}

void fillMissingParents(QTreeWidgetItem* root)
{
    if (root == nullptr)
        return;
    std::vector<QTreeWidgetItem*> order {root};
    for (std::size_t at = 0; at < order.size(); ++at) {
        for (int i = 0; i < order[at]->childCount(); ++i)
            order.push_back(order[at]->child(i));
    }
    // Breadth-first order read backwards: every child is settled before its parent.
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        QTreeWidgetItem* node = *it;
        if (node->childCount() == 0 || nodeImage(node) != ImageNone)
            continue;
        const QString state = parentState(node);
        if (state == ImageSome || state == ImageAll)
            setNodeImage(node, state);
    }
}

QList<MarkRow> markRows(QTreeWidgetItem* root)
{
    QList<MarkRow> rows;
    if (root == nullptr)
        return rows;
    std::vector<QTreeWidgetItem*> pending {root};
    while (!pending.empty()) {
        QTreeWidgetItem* node = pending.back();
        pending.pop_back();
        const int value = storedValue(nodeImage(node));
        if (value == 0)
            continue;
        const QString key = nodeKeyOf(node);
        rows.append({keyLevelText(key), keyCode(key), value});
        for (int i = node->childCount() - 1; i >= 0; --i)
            pending.push_back(node->child(i));
    }
    return rows;
}

} // namespace varemo
