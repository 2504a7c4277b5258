#pragma once

#include <QDate>
#include <QString>

#include <vector>

namespace varemo {

class Database;
class Recordset;

namespace totals {

// The names on the path of one item, from its Categoria down to the Item itself.
struct ItemPath {
    QString categoria;
    QString setor;
    QString grupo;
    QString conta;
    QString item;
};

// Sales count the concluded sales of the period; purchases every purchase of it.
enum class Movement { Sales, Purchases };

struct Totals {
    double money = 0; // Somatoria
    double quantity = 0; // Qtde
};

// The rows of a level (1..4) with all their ancestors. For any other level the text
// already built is kept and opened as it stands.
QString ancestorJoinQuery(int level, const QString& current);
// The products of every line, in the order whose first match the product branch takes.
QString linesAndProductsQuery();
// A day as the database's date literal reads it, month first: "03/31/2026".
QString jetDate(QDate day);

// Products and raw materials are counted by product, every other item by its account
// code and sector; both names must match exactly, letter case included.
bool isProductBranch(Movement movement, const ItemPath& path);
QString accountCriteria(const ItemPath& path);
QString productCriteria(const ItemPath& path);
QString sumQuery(Movement movement, QDate start, QDate end, qint64 code, qint64 setorCode, bool product);

// One item per call, the way the report has always totalled: the ancestor join of
// `level`, a find on it or on the product lines, then one SUM query. `sql` is the shared
// statement text: left holding the SUM query, or empty when nothing matched. `lines` is
// the product-lines recordset kept open by the main window; null opens one for the call.
Totals SomaVendas(Database& database, QString& sql, const ItemPath& path, QDate start, QDate end,
    Recordset* lines = nullptr, int level = 4);
Totals SomaCompras(Database& database, QString& sql, const ItemPath& path, QDate start, QDate end,
    Recordset* lines = nullptr, int level = 4);

// The same totals for many items at once, in the order of `items`: the ancestor join and
// the product lines read once, and one grouped query over the period's lines.
std::vector<Totals> periodTotals(Database& database, Movement movement, const std::vector<ItemPath>& items,
    QDate start, QDate end, Recordset* lines = nullptr);

} // namespace totals
} // namespace varemo
