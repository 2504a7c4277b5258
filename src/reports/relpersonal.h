#pragma once

#include "reports/table.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace varemo {

class Database;
class Recordset;

namespace reports {

// Called now and then while a report is built: how far it got; false stops the build.
using Progress = std::function<bool(int done, int total)>;

// One path entry of a personalised report: a name, the level digit and "S" when the node is
// chosen as a whole, "N" when only part of it is.
QString pathEntry(const QString& name, int level, bool chosen);

struct ParsedEntry {
    QString name;
    int level = 0; // 0 Categoria .. 4 Item
    bool printed = false; // an item chosen as a whole: a detail line
};
// Trimmed; the name is all but the last two characters. Nothing for a text too short to
// hold a level and a letter, or whose level is no digit 0..4.
std::optional<ParsedEntry> parseEntry(const QString& entry);

// The entries of a saved definition, as the main window's "Ver" walks its marks: the chart
// in tree order, every marked node depth first, unmarked branches left out. Throws JetError.
QStringList definitionEntries(Database& database, qint32 reportCode);

// The personalised income and expense report of `entries` over a period: headings for
// Categoria to Conta, one detail per chosen item (quantity and amount only when not 0),
// "Soma da Conta " for accounts with two or more items, then income, expenses and their
// difference. Totals come from one grouped pass per movement. Throws JetError.
Table relPersonalTable(Database& database, const QStringList& entries, const QString& reportName, QDate from,
    QDate to, QDate today);
// The same in steps: nothing when `progress` stops it. `lines` is the product-lines
// recordset kept open by the main window; null opens one for the call.
std::optional<Table> buildRelPersonal(Database& database, const QStringList& entries,
    const QString& reportName, QDate from, QDate to, QDate today, const Progress& progress,
    Recordset* lines = nullptr);

// "Impresso: " and today's date written out in Portuguese.
QString printedOn(QDate today);

} // namespace reports
} // namespace varemo
