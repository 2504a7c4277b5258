#pragma once

#include <QSqlDatabase>

// Moving a company from its file to a PostgreSQL server, so that several workstations can
// share it: the tests lay every seeded company onto a server this way, and the same copy
// serves an installation that moves.
namespace varemo::servercompany {

// Lays the company file's tables onto an empty server database: the tables as the program
// knows them, every row with its keys and its rowid, the automatic keys following on from
// the highest copied. All or nothing. Throws JetError when a statement fails.
void copy(QSqlDatabase& file, QSqlDatabase& server);

// Replaces the rows of every table of `to` with those of `from`, rowids included, either
// way between a file and a server. Runs inside the caller's transaction.
void copyRows(QSqlDatabase& from, QSqlDatabase& to);

} // namespace varemo::servercompany
