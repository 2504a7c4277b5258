#include "editor/tree.h"

#include "data/database.h"
#include "data/dialect.h"
#include "data/recordset.h"
#include "editor/chartitem.h"
#include "editor/charttree.h"
#include "editor/images.h"

#include <QTreeWidget>

#include <algorithm>
#include <numeric>
#include <vector>

namespace varemo {

QString nodeKey(qint64 code, int level)
{
    return QString::number(code) + QLatin1Char('N') + QString::number(level);
}

int keyLevel(const QString& key)
{
    if (key.size() < 3 || key.at(key.size() - 2) != QLatin1Char('N'))
        return -1;
    const int digit = key.back().digitValue();
    return (digit >= 0 && digit <= 4) ? digit : -1;
}

qint64 keyCode(const QString& key)
{
    if (key.size() < 3)
        return 0;
    return QStringView(key).first(key.size() - 2).toLongLong();
}

QString keyLevelText(const QString& key)
{
    return key.right(2);
}

QString nodeKeyOf(const QTreeWidgetItem* item)
{
    return item != nullptr ? item->data(0, KeyRole).toString() : QString();
}

QString nodeImage(const QTreeWidgetItem* item)
{
    return item != nullptr ? item->data(0, ImageRole).toString() : QString();
}

void setNodeImage(QTreeWidgetItem* item, const QString& image)
{
    if (item == nullptr || nodeImage(item) == image)
        return;
    item->setData(0, ImageRole, image);
    item->setIcon(0, checkIcon(image));
}

void walkTree(QTreeWidgetItem* node, const std::function<void(QTreeWidgetItem*)>& visit)
{
    if (node == nullptr)
        return;
    visit(node);
    fillChildren(node);
    for (int i = 0; i < node->childCount(); ++i)
        walkTree(node->child(i), visit);
}

ChartItem::ChartItem(QString key, QString name, int level, qint64 code, ChartTree* owner)
    : QTreeWidgetItem(ItemType)
    , m_key(std::move(key))
    , m_name(std::move(name))
    , m_image(ImageNone)
    , m_level(level)
    , m_code(code)
    , m_owner(owner)
{
}

ChartItem::~ChartItem()
{
    if (m_owner != nullptr)
        m_owner->forget(this);
}

QVariant ChartItem::data(int column, int role) const
{
    if (column == 0) {
        switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return m_name;
        case Qt::DecorationRole:
            return checkIcon(m_image);
        case KeyRole:
            return m_key;
        case ImageRole:
            return m_image;
        default:
            break;
        }
    }
    return QTreeWidgetItem::data(column, role);
}

void ChartItem::setData(int column, int role, const QVariant& value)
{
    if (column == 0) {
        switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            m_name = value.toString();
            emitDataChanged();
            return;
        case Qt::DecorationRole:
            return; // the icon always follows the image key
        case KeyRole:
            m_key = value.toString();
            return;
        case ImageRole:
            m_image = value.toString();
            if (m_owner != nullptr)
                m_owner->imageChanged(this, m_image);
            emitDataChanged();
            return;
        default:
            break;
        }
    }
    QTreeWidgetItem::setData(column, role, value);
}

namespace {

struct Row {
    QString sortKey;
    qint64 code = 0;
    qint64 parent = 0;
    bool hasParent = false;
    QString name;
};

std::vector<Row> readLevel(const Recordset& table, int level)
{
    const int codeColumn = table.fieldIndex(QStringLiteral("Codigo"));
    const int nameColumn = table.fieldIndex(QStringLiteral("Nome"));
    const int parentColumn
        = level > 0 ? table.fieldIndex(QStringLiteral("CodigoCategoria") + QString::number(level - 1)) : -1;
    if (codeColumn < 0 || nameColumn < 0 || (level > 0 && parentColumn < 0))
        throw JetError(jet::ItemNotFound, QStringLiteral("Item não encontrado nesta coleção."));
    std::vector<Row> rows;
    const int count = table.recordCount();
    rows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const QVariant code = table.cell(i, codeColumn);
        if (code.isNull())
            continue;
        Row out;
        out.name = table.cell(i, nameColumn).toString();
        out.sortKey = dialect::foldKey(out.name);
        out.code = code.toLongLong();
        if (level > 0) {
            const QVariant parent = table.cell(i, parentColumn);
            out.hasParent = !parent.isNull();
            out.parent = parent.toLongLong();
        }
        rows.push_back(std::move(out));
    }
    return rows;
}

} // namespace

TreeBuild buildTree(QTreeWidget& tree, Database& database)
{
    std::array<std::unique_ptr<Recordset>, 5> tables;
    std::array<const Recordset*, 5> levels {};
    for (int level = 0; level <= 4; ++level) {
        const auto at = static_cast<std::size_t>(level);
        tables[at] = database.openRecordset(
            QStringLiteral("NivelCategoria") + QString::number(level), RecordsetType::Table);
        levels[at] = tables[at].get();
    }
    return buildTree(tree, levels);
}

TreeBuild buildTree(QTreeWidget& tree, const std::array<const Recordset*, 5>& levels)
{
    // Everything is read first: a failing table leaves the tree as it was.
    std::array<std::vector<Row>, 5> rows;
    for (int level = 0; level <= 4; ++level)
        rows[static_cast<std::size_t>(level)] = readLevel(*levels[static_cast<std::size_t>(level)], level);

    TreeBuild build;
    tree.clear();
    auto* root = new ChartItem(RootKey, RootText);
    build.nodes.insert(RootKey, root);
    tree.addTopLevelItem(root);
    // Level by level from the root down, each parent's children sorted by name and added in
    // one call while they have no children of their own: nothing is visited twice.
    QHash<qint64, QTreeWidgetItem*> above;
    for (int level = 0; level <= 4; ++level) {
        const std::vector<Row>& levelRows = rows[static_cast<std::size_t>(level)];
        QHash<qint64, std::vector<int>> byParent;
        for (std::size_t i = 0; i < levelRows.size(); ++i) {
            const Row& row = levelRows[i];
            if (level == 0 || row.hasParent)
                byParent[level == 0 ? 0 : row.parent].push_back(static_cast<int>(i));
            else
                ++build.orphans;
        }
        build.nodes.reserve(build.nodes.size() + static_cast<qsizetype>(levelRows.size()));
        QHash<qint64, QTreeWidgetItem*> made;
        made.reserve(static_cast<qsizetype>(levelRows.size()));
        for (auto group = byParent.begin(); group != byParent.end(); ++group) {
            QTreeWidgetItem* parent = level == 0 ? root : above.value(group.key());
            std::vector<int>& members = group.value();
            if (parent == nullptr) {
                build.orphans += static_cast<int>(members.size());
                continue;
            }
            std::stable_sort(members.begin(), members.end(), [&levelRows](int a, int b) {
                return levelRows[static_cast<std::size_t>(a)].sortKey
                    < levelRows[static_cast<std::size_t>(b)].sortKey;
            });
            QList<QTreeWidgetItem*> children;
            children.reserve(static_cast<qsizetype>(members.size()));
            for (const int index : members) {
                const Row& row = levelRows[static_cast<std::size_t>(index)];
                if (made.contains(row.code)) {
                    ++build.orphans;
                    continue;
                }
                const QString key = nodeKey(row.code, level);
                auto* node = new ChartItem(key, row.name, level, row.code);
                made.insert(row.code, node);
                build.nodes.insert(key, node);
                children.append(node);
            }
            parent->addChildren(children);
        }
        above = std::move(made);
    }
    root->setExpanded(true);
    return build;
}

QString orphansMessage(int orphans)
{
    return QString::number(orphans)
        + QStringLiteral(" registro(s) sem nível superior cadastrado não aparecem na árvore");
}

QHash<QString, int> readMarks(Database& database, qint32 reportCode, QString& sql)
{
    sql = QStringLiteral("SELECT * FROM RelatorioItens WHERE ") + QStringLiteral("CodigoRelatorio = ")
        + QString::number(reportCode);
    const auto items = database.openRecordset(sql);
    // The first row of a code and level wins, as a find-first over the items would.
    QHash<QString, int> stored;
    if (items->recordCount() > 0)
        items->moveFirst();
    while (!items->eof()) {
        const QVariant code = items->value(QStringLiteral("CodigoConta"));
        const QVariant level = items->value(QStringLiteral("Nivel"));
        if (!code.isNull() && !level.isNull()) {
            const QString key = QString::number(code.toLongLong()) + level.toString();
            if (!stored.contains(key))
                stored.insert(key, items->value(QStringLiteral("Imagem")).toInt());
        }
        items->moveNext();
    }
    items->close();
    return stored;
}

void showMarks(QTreeWidgetItem* root, Database& database, qint32 reportCode, QString& sql)
{
    const QHash<QString, int> stored = readMarks(database, reportCode, sql);
    walkTree(root, [&stored](QTreeWidgetItem* node) {
        const QString key = nodeKeyOf(node);
        const auto found = stored.constFind(QString::number(keyCode(key)) + keyLevelText(key));
        if (found == stored.constEnd())
            return;
        if (*found == 2)
            setNodeImage(node, ImageSome);
        else if (*found == 3)
            setNodeImage(node, ImageAll);
    });
}

void clearMarks(QTreeWidgetItem* root)
{
    walkTree(root, [](QTreeWidgetItem* node) { setNodeImage(node, ImageNone); });
}

} // namespace varemo
