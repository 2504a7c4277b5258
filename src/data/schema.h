#pragma once

#include <QSqlDatabase>
#include <QStringList>

// The company file's tables as this module knows them. The file belongs to the whole suite
// and the program never creates tables: only the demo builder, the benchmark generator and
// the tests lay the schema down.
namespace varemo::schema {

// Every table the program reads or writes, in creation order.
const QStringList& tableNames();

// The tables the chart editor writes, with the category level and the company row it
// reads beside them: the ones worth checking page by page when the file is opened.
const QStringList& chartTables();

// The columns of one table as created, in order (empty for an unknown name).
QStringList columnNames(const QString& table);

// Creates every table and index in an empty database, all or nothing. Throws JetError
// with the engine's message when a statement fails (a table already there, a read-only file).
// On a PostgreSQL server (a QPSQL connection) the same tables get the server's types, our
// text collation, and a `rowid` column that identifies each row as SQLite's own rowid does.
void create(QSqlDatabase& database);

// On a server, after rows were written with their keys given: the next automatic keys
// follow the highest ones written. Nothing to do on SQLite.
void resetKeys(QSqlDatabase& database);

// The collation and the Yes/No type the server's tables and translations use.
inline constexpr const char* ServerCollation = "jettext";
inline constexpr const char* ServerYesNo = "simnao";

} // namespace varemo::schema
