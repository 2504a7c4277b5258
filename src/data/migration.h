#pragma once

#include <QList>
#include <QSqlDatabase>
#include <QString>

// Moving a whole company between its file and a PostgreSQL server, either way, when a shop
// grows to several workstations (or goes back to one).
namespace varemo::migration {

// What a table holds, to tell that a copy is whole: its rows and, for the movement lines,
// the sum of their values (unit price times quantity).
struct TableTotals {
    QString table;
    qint64 rows = 0;
    bool money = false; // whether the table has values to sum
    double sum = 0;
};

// A connection to a server from a libpq connection text ("host=... dbname=... user=..." or a
// postgresql:// address). The password is found as every PostgreSQL client finds it
// (~/.pgpass, PGPASSWORD). Throws JetError jet::ServerConnectionFailed.
QSqlDatabase connectServer(const QString& conninfo, const QString& connectionName);

// Whether the database already holds a table or view of any kind.
bool holdsTables(const QSqlDatabase& database);

TableTotals totalsOf(const QSqlDatabase& database, const QString& table);

// Creates the company's tables in the empty database `to` and copies every row of `from`
// into them, keys kept, in one transaction that is committed only when each table's rows and
// sums came out the same on both sides. Returns the totals of `to`. Throws JetError, with
// nothing left written, when a statement fails or a table does not check.
QList<TableTotals> copyCompany(QSqlDatabase& from, QSqlDatabase& to);

} // namespace varemo::migration
