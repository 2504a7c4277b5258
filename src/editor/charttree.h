#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <array>
#include <functional>
#include <vector>

class QTreeWidget;
class QTreeWidgetItem;

namespace varemo {

class ChartItem;
class Recordset;

// The main window's tree, made on demand: a big chart has tens of thousands of items, and
// making an item for each at start-up costs several times reading the tables. The five
// levels are kept as a compact index (code -> name, parent, children, mark); the root and the
// categories are items from the start, and a node's children become items when its branch
// opens or when code asks for a node below it. Marks of nodes not yet made wait in the index.
class ChartTree : public QObject {
public:
    explicit ChartTree(QTreeWidget& tree);
    ~ChartTree() override;
    ChartTree(const ChartTree&) = delete;
    ChartTree& operator=(const ChartTree&) = delete;

    // Empties the widget and indexes the five level tables (whole tables, by name); returns
    // the rows left out because their parent is missing. Throws JetError.
    int build(const std::array<const Recordset*, 5>& levels);
    // The start of a build when the window must come up before the chart is read: the root
    // and the categories only. `indexer` is called the first time anything needs the levels
    // below (a branch opened, a node asked for, a mark, a save) and must call indexBelow.
    void showTop(const Recordset& categories, std::function<void()> indexer);
    // The rest of the build: levels 1..4 under the categories shown; the items made stay.
    int indexBelow(const std::array<const Recordset*, 5>& levels);
    // Runs the indexer now, when it has not run yet.
    void ensureIndexed();

    // The node of a key, made with its ancestors' children when not made yet; nullptr when
    // the chart has no such node.
    QTreeWidgetItem* node(const QString& key);
    // Whether the chart holds the row.
    bool contains(int level, qint64 code);
    // Makes the children of a node, once.
    void fill(QTreeWidgetItem* item);

    // A saved row of level 1..4 under its parent: named, moved or added, in the index and
    // among the items made.
    void place(int level, qint64 code, const QString& name, qint64 parent);
    // A deleted row and everything below it.
    void remove(int level, qint64 code);

    // Report marks by "<code>N<level>": 2 "Alguns", 3 "Todos"; other values leave a node as
    // it is.
    void applyMarks(const QHash<QString, int>& stored);
    void clearMarks();

    // Called by the items.
    void forget(const ChartItem* item);
    void imageChanged(const ChartItem* item, const QString& image);

private:
    struct Entry {
        QString name;
        QString image; // empty: "Nenhum"
        qint64 parent = 0;
        std::vector<qint64> children; // row order; sorted by name when made
        ChartItem* item = nullptr;
        bool filled = false; // the item's children are made
    };
    using Level = QHash<qint64, Entry>;

    Entry* entry(int level, qint64 code);
    std::vector<qint64>* childrenOf(int level, qint64 code);
    QTreeWidgetItem* itemFor(int level, qint64 code);
    ChartItem* makeItem(int level, qint64 code, const Entry& row);
    void dropBranch(int level, qint64 code);
    void updateIndicator(int level, qint64 code);

    QTreeWidget& m_tree;
    std::array<Level, 5> m_levels;
    std::vector<qint64> m_categories; // the root's children
    ChartItem* m_root = nullptr;
    std::function<void()> m_indexer;
};

} // namespace varemo
