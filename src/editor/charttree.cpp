#include "editor/charttree.h"

#include "data/dialect.h"
#include "data/errors.h"
#include "data/recordset.h"
#include "editor/chartitem.h"

#include <QSignalBlocker>
#include <QTreeWidget>

#include <algorithm>
#include <optional>

namespace varemo {

ChartTree::ChartTree(QTreeWidget& tree)
    : m_tree(tree)
{
    connect(&m_tree, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* item) { fill(item); });
}

ChartTree::~ChartTree()
{
    // The widget outlives this index: its items must not report to it any more.
    if (m_root != nullptr)
        m_root->detach();
    for (Level& level : m_levels) {
        for (Entry& row : level) {
            if (row.item != nullptr)
                row.item->detach();
        }
    }
}

int ChartTree::build(const std::array<const Recordset*, 5>& levels)
{
    // Everything is read first: a failing table leaves the tree as it was.
    for (const Recordset* table : levels)
        table->recordCount();
    showTop(*levels[0], {});
    return indexBelow(levels);
}

namespace {

struct Columns {
    int code;
    int name;
    int parent;
};

Columns columnsOf(const Recordset& table, int level)
{
    const Columns columns {table.fieldIndex(QStringLiteral("Codigo")),
        table.fieldIndex(QStringLiteral("Nome")),
        level > 0 ? table.fieldIndex(QStringLiteral("CodigoCategoria") + QString::number(level - 1)) : -1};
    if (columns.code < 0 || columns.name < 0 || (level > 0 && columns.parent < 0))
        throw JetError(jet::ItemNotFound, QStringLiteral("Item não encontrado nesta coleção."));
    return columns;
}

} // namespace

void ChartTree::showTop(const Recordset& categories, std::function<void()> indexer)
{
    const Columns columns = columnsOf(categories, 0);
    Level top;
    std::vector<qint64> order;
    for (int i = 0, count = categories.recordCount(); i < count; ++i) {
        const QVariant code = categories.cell(i, columns.code);
        if (code.isNull() || top.contains(code.toLongLong()))
            continue;
        top[code.toLongLong()].name = categories.cell(i, columns.name).toString();
        order.push_back(code.toLongLong());
    }
    m_tree.clear();
    m_levels = {};
    m_levels[0] = std::move(top);
    m_categories = std::move(order);
    m_indexer = std::move(indexer);
    m_root = new ChartItem(RootKey, RootText, -1, 0, this);
    m_tree.addTopLevelItem(m_root);
    QList<QTreeWidgetItem*> made;
    std::stable_sort(m_categories.begin(), m_categories.end(), [this](qint64 a, qint64 b) {
        return dialect::compareText(m_levels[0][a].name, m_levels[0][b].name) < 0;
    });
    for (const qint64 code : m_categories) {
        ChartItem* item = makeItem(0, code, m_levels[0][code]);
        // Whether a category has sectors is known once the levels below are read.
        if (m_indexer)
            item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
        made.append(item);
    }
    m_root->addChildren(made);
    m_root->setExpanded(true);
}

int ChartTree::indexBelow(const std::array<const Recordset*, 5>& levels)
{
    m_indexer = {};
    std::array<Level, 5> index;
    int orphans = 0;
    for (int level = 1; level <= 4; ++level) {
        const Recordset& table = *levels[static_cast<std::size_t>(level)];
        const Columns columns = columnsOf(table, level);
        Level& rows = index[static_cast<std::size_t>(level)];
        Level& above = level == 1 ? m_levels[0] : index[static_cast<std::size_t>(level - 1)];
        const int count = table.recordCount();
        rows.reserve(count);
        for (int i = 0; i < count; ++i) {
            const QVariant code = table.cell(i, columns.code);
            if (code.isNull())
                continue;
            // A row whose parent is missing stays out, and so does everything below it.
            const QVariant parentCode = table.cell(i, columns.parent);
            const qint64 parent = parentCode.toLongLong();
            const auto found = above.find(parent);
            if (parentCode.isNull() || found == above.end()) {
                ++orphans;
                continue;
            }
            const qint64 value = code.toLongLong();
            const qsizetype before = rows.size();
            Entry& entry = rows[value];
            if (rows.size() == before) {
                ++orphans; // a code seen already in this level
                continue;
            }
            entry.name = table.cell(i, columns.name).toString();
            entry.parent = parent;
            found->children.push_back(value);
        }
    }
    for (int level = 1; level <= 4; ++level)
        m_levels[static_cast<std::size_t>(level)] = std::move(index[static_cast<std::size_t>(level)]);
    for (const qint64 code : m_categories)
        updateIndicator(0, code);
    return orphans;
}

void ChartTree::ensureIndexed()
{
    if (m_indexer) {
        const std::function<void()> indexer = std::move(m_indexer);
        m_indexer = {};
        indexer();
    }
}

ChartTree::Entry* ChartTree::entry(int level, qint64 code)
{
    if (level < 0 || level > 4)
        return nullptr;
    Level& rows = m_levels[static_cast<std::size_t>(level)];
    const auto found = rows.find(code);
    return found == rows.end() ? nullptr : &found.value();
}

std::vector<qint64>* ChartTree::childrenOf(int level, qint64 code)
{
    if (level < 0)
        return &m_categories;
    Entry* row = entry(level, code);
    return row != nullptr ? &row->children : nullptr;
}

ChartItem* ChartTree::makeItem(int level, qint64 code, const Entry& row)
{
    auto* item = new ChartItem(nodeKey(code, level), row.name, level, code, this);
    if (!row.image.isEmpty())
        item->setData(0, ImageRole, row.image);
    if (!row.children.empty())
        item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    entry(level, code)->item = item;
    return item;
}

void ChartTree::fill(QTreeWidgetItem* item)
{
    ChartItem* chart = ChartItem::of(item);
    if (chart == nullptr || chart->owner() != this || chart == m_root)
        return;
    const int level = chart->level();
    ensureIndexed();
    Entry* row = entry(level, chart->code());
    if (row == nullptr || row->filled || level >= 4)
        return;
    row->filled = true;
    // Siblings in name order as the database compares names; equal names keep row order.
    const Level& below = m_levels[static_cast<std::size_t>(level + 1)];
    std::vector<std::pair<QString, qint64>> order;
    order.reserve(row->children.size());
    for (const qint64 code : row->children)
        order.emplace_back(dialect::foldKey(below.value(code).name), code);
    std::stable_sort(
        order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    QList<QTreeWidgetItem*> made;
    made.reserve(static_cast<qsizetype>(order.size()));
    for (const auto& [fold, code] : order)
        made.append(makeItem(level + 1, code, below[code]));
    chart->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);
    chart->addChildren(made);
}

QTreeWidgetItem* ChartTree::itemFor(int level, qint64 code)
{
    const Entry* row = entry(level, code);
    if (row == nullptr)
        return nullptr;
    if (row->item != nullptr)
        return row->item;
    QTreeWidgetItem* parent = level == 0 ? m_root : itemFor(level - 1, row->parent);
    if (parent == nullptr)
        return nullptr;
    fill(parent);
    return entry(level, code)->item;
}

QTreeWidgetItem* ChartTree::node(const QString& key)
{
    if (key == RootKey)
        return m_root;
    const int level = keyLevel(key);
    if (level < 0)
        return nullptr;
    const qint64 code = keyCode(key);
    if (nodeKey(code, level) != key)
        return nullptr;
    if (level > 0)
        ensureIndexed();
    return itemFor(level, code);
}

void ChartTree::updateIndicator(int level, qint64 code)
{
    const Entry* row = entry(level, code);
    if (row == nullptr || row->item == nullptr || row->filled)
        return;
    row->item->setChildIndicatorPolicy(row->children.empty() ? QTreeWidgetItem::DontShowIndicatorWhenChildless
                                                             : QTreeWidgetItem::ShowIndicator);
}

bool ChartTree::contains(int level, qint64 code)
{
    ensureIndexed();
    return entry(level, code) != nullptr;
}

void ChartTree::place(int level, qint64 code, const QString& name, qint64 parent)
{
    ensureIndexed();
    if (level < 1 || level > 4 || entry(level - 1, parent) == nullptr)
        return;
    Level& rows = m_levels[static_cast<std::size_t>(level)];
    auto at = rows.find(code);
    std::optional<qint64> oldParent;
    if (at == rows.end()) {
        at = rows.insert(code, Entry {});
    } else {
        oldParent = at->parent;
        if (std::vector<qint64>* siblings = childrenOf(level - 1, at->parent))
            siblings->erase(std::remove(siblings->begin(), siblings->end(), code), siblings->end());
    }
    at->name = name;
    at->parent = parent;
    Entry& above = *entry(level - 1, parent);
    above.children.push_back(code);

    // Among the items: only under a parent whose children are made; an item left under a
    // closed branch goes, to be made again when that branch opens.
    const bool parentOpen = above.item != nullptr && above.filled;
    ChartItem* item = at->item;
    if (item != nullptr) {
        if (parentOpen) {
            if (item->parent() != nullptr)
                item->parent()->removeChild(item);
        } else {
            const QSignalBlocker blocker(&m_tree);
            delete item;
            item = nullptr;
        }
    }
    if (parentOpen) {
        if (item == nullptr)
            item = makeItem(level, code, *at);
        item->setText(0, name);
        // Siblings stay in name order, compared as the database compares names, as a
        // rebuilt tree would have them.
        int index = 0;
        while (index < above.item->childCount()
            && dialect::compareText(above.item->child(index)->text(0), name) <= 0)
            ++index;
        above.item->insertChild(index, item);
    }
    if (oldParent)
        updateIndicator(level - 1, *oldParent);
    updateIndicator(level - 1, parent);
}

void ChartTree::dropBranch(int level, qint64 code)
{
    Level& rows = m_levels[static_cast<std::size_t>(level)];
    const auto found = rows.find(code);
    if (found == rows.end())
        return;
    const std::vector<qint64> children = std::move(found->children);
    rows.erase(found);
    if (level < 4) {
        for (const qint64 child : children)
            dropBranch(level + 1, child);
    }
}

void ChartTree::remove(int level, qint64 code)
{
    ensureIndexed();
    const Entry* row = entry(level, code);
    if (row == nullptr)
        return;
    const qint64 parent = row->parent;
    if (row->item != nullptr) {
        const QSignalBlocker blocker(&m_tree);
        delete row->item;
    }
    dropBranch(level, code);
    if (std::vector<qint64>* siblings = childrenOf(level - 1, parent))
        siblings->erase(std::remove(siblings->begin(), siblings->end(), code), siblings->end());
    updateIndicator(level - 1, parent);
}

void ChartTree::applyMarks(const QHash<QString, int>& stored)
{
    ensureIndexed();
    for (auto mark = stored.begin(); mark != stored.end(); ++mark) {
        if (mark.value() != 2 && mark.value() != 3)
            continue;
        const QString image = mark.value() == 2 ? ImageSome : ImageAll;
        if (mark.key() == QStringLiteral("0") + RootKey) {
            setNodeImage(m_root, image);
            continue;
        }
        Entry* row = entry(keyLevel(mark.key()), keyCode(mark.key()));
        if (row == nullptr)
            continue;
        row->image = image;
        if (row->item != nullptr)
            setNodeImage(row->item, image);
    }
}

void ChartTree::clearMarks()
{
    ensureIndexed();
    setNodeImage(m_root, ImageNone);
    for (Level& level : m_levels) {
        for (Entry& row : level) {
            if (row.image.isEmpty())
                continue;
            row.image.clear();
            if (row.item != nullptr)
                setNodeImage(row.item, ImageNone);
        }
    }
}

void ChartTree::forget(const ChartItem* item)
{
    if (item == m_root) {
        m_root = nullptr;
        return;
    }
    Entry* row = entry(item->level(), item->code());
    if (row != nullptr && row->item == item) {
        row->item = nullptr;
        row->filled = false;
    }
}

void ChartTree::imageChanged(const ChartItem* item, const QString& image)
{
    if (Entry* row = entry(item->level(), item->code()); row != nullptr && row->item == item)
        row->image = image == ImageNone ? QString() : image;
}

void fillChildren(QTreeWidgetItem* item)
{
    if (ChartItem* chart = ChartItem::of(item); chart != nullptr && chart->owner() != nullptr)
        chart->owner()->fill(item);
}

} // namespace varemo
