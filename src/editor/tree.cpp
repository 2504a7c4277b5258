#include "editor/tree.h"

#include "data/database.h"
#include "data/dialect.h"
#include "editor/images.h"

#include <QTreeWidget>

#include <algorithm>
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
    for (int i = 0; i < node->childCount(); ++i)
        walkTree(node->child(i), visit);
}

namespace {

QTreeWidgetItem* makeNode(const QString& key, const QString& text)
{
    auto* node = new QTreeWidgetItem(QStringList {text});
    node->setData(0, KeyRole, key);
    setNodeImage(node, ImageNone);
    return node;
}

struct Row {
    QString sortKey;
    QString key;
    QString parentKey;
    QString name;
};

std::vector<Row> readLevel(Database& database, int level)
{
    const QString table = QStringLiteral("NivelCategoria") + QString::number(level);
    const QString parentField = QStringLiteral("CodigoCategoria") + QString::number(level - 1);
    const auto recordset = database.openRecordset(table, RecordsetType::Table);
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(qMax(0, recordset->recordCount())));
    if (recordset->recordCount() > 0)
        recordset->moveFirst();
    while (!recordset->eof()) {
        const QVariant code = recordset->value(QStringLiteral("Codigo"));
        const QString name = recordset->value(QStringLiteral("Nome")).toString();
        QString parentKey = RootKey;
        if (level > 0) {
            const QVariant parent = recordset->value(parentField);
            parentKey = parent.isNull() ? QString() : nodeKey(parent.toLongLong(), level - 1);
        }
        if (!code.isNull())
            rows.push_back({dialect::foldKey(name), nodeKey(code.toLongLong(), level), parentKey, name});
        recordset->moveNext();
    }
    recordset->close();
    return rows;
}

} // namespace

TreeBuild buildTree(QTreeWidget& tree, Database& database)
{
    TreeBuild build;
    auto* root = makeNode(RootKey, RootText);
    build.nodes.insert(RootKey, root);
    try {
        for (int level = 0; level <= 4; ++level) {
            std::vector<Row> rows = readLevel(database, level);
            std::stable_sort(
                rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.sortKey < b.sortKey; });
            // Children are gathered per parent and added in one call: far cheaper than one
            // insertion at a time once the tree has thousands of items.
            QHash<QTreeWidgetItem*, QList<QTreeWidgetItem*>> children;
            for (const Row& row : rows) {
                QTreeWidgetItem* parent = build.nodes.value(row.parentKey);
                if (parent == nullptr || build.nodes.contains(row.key)) {
                    ++build.orphans;
                    continue;
                }
                QTreeWidgetItem* node = makeNode(row.key, row.name);
                build.nodes.insert(row.key, node);
                children[parent].append(node);
            }
            for (auto it = children.cbegin(); it != children.cend(); ++it)
                it.key()->addChildren(it.value());
        }
    } catch (...) {
        delete root;
        throw;
    }
    tree.clear();
    tree.addTopLevelItem(root);
    root->setExpanded(true);
    return build;
}

QString orphansMessage(int orphans)
{
    return QString::number(orphans)
        + QStringLiteral(" registro(s) sem nível superior cadastrado não aparecem na árvore");
}

void showMarks(QTreeWidgetItem* root, Database& database, qint32 reportCode, QString& sql)
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
