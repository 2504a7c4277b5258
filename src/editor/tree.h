#pragma once

#include <QHash>
#include <QString>

#include <array>
#include <functional>

class QTreeWidget;
class QTreeWidgetItem;

namespace varemo {

class Database;
class Recordset;

// Tree items carry their key ("17N3", "NI") and their image key ("Nenhum"...) as data.
inline constexpr int KeyRole = Qt::UserRole;
inline constexpr int ImageRole = Qt::UserRole + 1;

inline const QString RootKey = QStringLiteral("NI");
inline const QString RootText = QStringLiteral("Despesas e Receitas");

// A row's key: its code in decimal, "N" and the level digit.
QString nodeKey(qint64 code, int level);
// The level named by a key's last character (0..4), or -1 (the root, or no key).
int keyLevel(const QString& key);
// The numeric start of a key; 0 for the root.
qint64 keyCode(const QString& key);
// The last two characters of a key: "N0".."N4", as report items store the level.
QString keyLevelText(const QString& key);

QString nodeKeyOf(const QTreeWidgetItem* item);
QString nodeImage(const QTreeWidgetItem* item);
// Sets the image key; the icon follows it.
void setNodeImage(QTreeWidgetItem* item, const QString& image);

// The node and all its descendants, depth first, children in order. In a tree made on
// demand, the branches walked are made.
void walkTree(QTreeWidgetItem* node, const std::function<void(QTreeWidgetItem*)>& visit);

struct TreeBuild {
    QHash<QString, QTreeWidgetItem*> nodes; // by key, the root included
    int orphans = 0; // rows left out: their parent is missing
};

// Empties `tree` and fills it with the root and the five level tables. Siblings are in
// name order as the database compares names; a row whose parent is missing is left out
// with its descendants. Only the root is expanded. Throws JetError.
TreeBuild buildTree(QTreeWidget& tree, Database& database);
// The same from the five level tables already read (whole tables, by name).
TreeBuild buildTree(QTreeWidget& tree, const std::array<const Recordset*, 5>& levels);

// The text the status bar shows when rows were left out of the tree.
QString orphansMessage(int orphans);

// Makes the children of a node of a tree made on demand (ChartTree); nothing for any other.
void fillChildren(QTreeWidgetItem* item);

// A saved report's marks by "<code>N<level>", the first row of each. `sql` receives the
// statement. Throws JetError.
QHash<QString, int> readMarks(Database& database, qint32 reportCode, QString& sql);

// Sets each node's image from a saved report's items: 2 "Alguns", 3 "Todos"; any other
// value leaves the node as it is. `sql` receives the statement. Throws JetError.
void showMarks(QTreeWidgetItem* root, Database& database, qint32 reportCode, QString& sql);

// Every node back to "Nenhum".
void clearMarks(QTreeWidgetItem* root);

} // namespace varemo
