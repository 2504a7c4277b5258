#pragma once

// The engine side of Database, shared with Recordset only: statements go to SQLite's own
// API (not through QSqlQuery) so that rows load without a QSqlRecord per row and every
// failure keeps SQLite's exact result code for the Jet number.

#include "data/database.h"
#include "data/dialect.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <memory>
#include <vector>

struct sqlite3;

namespace varemo {

class RowStore;
class ServerEngine;

using Row = QList<QVariant>;

// The rows of one query, with what is known of each result column.
struct QueryResult {
    QStringList names; // SQLite's names of the result columns
    QStringList origins; // the table field each column reads, empty for a computed one
    QStringList tables; // the table of each origin
    QList<Row> rows;
    QList<qint64> rowids; // the last column of each row, when asked to keep it apart
};

struct Database::Private {
    Database* owner = nullptr;
    sqlite3* handle = nullptr;
    // Set instead of the handle for a company on a PostgreSQL server.
    std::unique_ptr<ServerEngine> server;
    dialect::Catalog catalog;
    dialect::Target target;
    std::vector<Recordset*> recordsets;
    // Recordsets written inside the running transaction: they go back to their rows
    // as they were before it when it is abandoned.
    std::vector<Recordset*> touched;
    // An inner unit of work ended without commit: the whole action must not commit.
    bool doomed = false;
    // How long one statement waits for another module's lock, and whether it waits now.
    int busyTimeoutMs = BusyTimeoutMs;
    bool waiting = false;
    qint64 waitStartedMs = 0;

    // SQLite's busy handler: sleeps and retries until the wait is over.
    static int onBusy(void* self, int attempt);
    // The statement that waited is done, whatever its outcome.
    void endWait() noexcept;

    // With rowidLast, the statement's last column goes to `rowids` instead of the rows. With
    // `into`, the engine packs the rows there instead of into `rows`.
    QueryResult query(const QString& sql, const Row& parameters, const QString& original,
        bool firstRowOnly = false, bool rowidLast = false, RowStore* into = nullptr);
    // Runs a statement that returns no rows; the rows it changed.
    int run(const QString& sql, const Row& parameters = {}, const QString& original = {});
    qint64 lastInsertRowid() const;
    [[noreturn]] void fail(const QString& original) const;
    void checkOpen() const;
    dialect::Translation translate(const QString& jetText) const;

    void noteWrite(Recordset* recordset);
    void forget(Recordset* recordset);
    // Rolls the transaction back and puts the written recordsets back as they were.
    void abandon() noexcept;
    // The transaction is in the file: the written recordsets keep their rows.
    void committed();
};

} // namespace varemo
