#pragma once

#include "data/errors.h"

#include <QHash>
#include <QSet>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace varemo::dialect {

// The company file's tables and their fields in order, keyed by the table's name
// folded to lower case (Jet names are case-insensitive).
using Catalog = QHash<QString, QStringList>;

struct Translation {
    QString sql;
    // For a SELECT: the name of each result column as the program addresses it
    // ("Nome", or "NivelCategoria3.Nome" over a join). Empty for action statements.
    // The SQL's result columns carry exactly these names, in this order.
    QStringList columns;
    // For a SELECT over one table: that table (its rows can be written back).
    QString baseTable;
    // Set with baseTable: the SQL has one more result column after `columns`, under
    // this name, holding the row's rowid (the handle to write the row back by).
    QString rowidColumn;
    // True for a SELECT (rows come back), false for an action statement.
    bool returnsRows = false;
};

// Where a translation goes. A PostgreSQL server has no functions of ours and refuses a
// collation on a field that holds no text, so it needs to know which fields do.
struct Target {
    bool server = false;
    QSet<QString> textFields; // lower-cased names of the fields holding text, any table
};

// A Jet statement text translated to SQLite. Throws JetError with Jet's number for a
// text Jet itself would refuse (3075/3077 for a quote that breaks the text...).
// A bare table name is read as "SELECT * FROM" that table.
Translation translate(const QString& jetText, const Catalog& catalog);
// The same for the given engine.
Translation translate(const QString& jetText, const Catalog& catalog, const Target& target);

// Registers on a connection the collation and functions the translations use, so that
// text compares and sorts as in Jet for Portuguese whatever the columns were declared with.
void install(const QSqlDatabase& connection);

// The tables and fields of an open SQLite connection, for translate().
Catalog readCatalog(const QSqlDatabase& connection);

// The key text is compared and ordered by: case folded for every letter (accented ones
// too), accents kept, with an accented letter sorting beside its base letter.
QString foldKey(const QString& text);

// Jet's ordering of two texts (negative, zero, positive): the order of foldKey.
int compareText(const QString& a, const QString& b);

// Jet's Like: "*" any run, "?" one character, "#" one digit, "[abc]", "[a-z]", "[!abc]"
// one character of (or not of) a set; compares as compareText does. Throws JetError
// 3075 for a pattern Jet refuses (an unclosed "[").
bool likeMatches(const QString& text, const QString& jetPattern);

// The text Jet's Like and "&" see for a value: numbers as written in Brazil, a Yes/No
// as -1 or 0, a date as dd/mm/yyyy.
QString valueText(const QVariant& value);

// An SQLite failure (primary or extended result code and its message) as the Jet error the
// suite's modules know: busy/locked 3218, not a database/corrupt 3049, read-only 3027,
// constraint 3022, a syntax error 3075 on the statement text...
JetError fromSqlite(int sqliteCode, const QString& message, const QString& statement = {});

// A PostgreSQL failure (its SQLSTATE and message) as the Jet error the suite's modules know:
// a lock not granted in time 3218, a duplicate key 3022, a syntax error 3075...
JetError fromPostgres(const QString& sqlState, const QString& message, const QString& statement = {});

// A statement as the translator and the recordsets write it, in the server's words: "?"
// parameters numbered, quoted names in the lower case the server keeps them in, a
// sub-query in FROM named, SQLite's BEGIN IMMEDIATE a plain BEGIN.
QString serverText(const QString& sql);

// The server could not be reached, or refused the login.
JetError serverUnreachable(const QString& server, const QString& message);

// Jet's syntax errors: in a statement (3075) and in a criteria expression (3077).
JetError syntaxErrorInQuery(const QString& text);
JetError syntaxErrorInExpression(const QString& text);

} // namespace varemo::dialect
