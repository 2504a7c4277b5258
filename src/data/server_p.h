#pragma once

// The engine of a company kept on a PostgreSQL server. The connection is Qt's (QPSQL opens
// it, with libpq finding the password as every PostgreSQL client does); statements go
// through libpq itself on that connection, as SQLite's do through its own API: each failure
// keeps the server's SQLSTATE for the Jet number, parameters travel as text for the server
// to read as the column's type, and each result column tells the table field it reads.

#include "data/database_p.h"

#include <QHash>
#include <QSqlDatabase>

struct pg_conn;

namespace varemo {

class ServerEngine {
public:
    explicit ServerEngine(const QSqlDatabase& connection);

    // With `into`, the rows are packed there instead of into the result's `rows`.
    QueryResult query(const QString& sql, const Row& parameters, const QString& shown, bool firstRowOnly,
        bool rowidLast, RowStore* into = nullptr);
    // An INSERT also reads back the rowid of the (last) row it added, as SQLite keeps it.
    int run(const QString& sql, const Row& parameters, const QString& shown);
    qint64 lastInsertRowid() const { return m_lastRowid; }
    bool inTransaction() const;
    void rollback() noexcept;
    // How long a statement waits for a row or table another workstation holds.
    void setLockTimeout(int milliseconds);
    dialect::Catalog readCatalog(dialect::Target& target);

private:
    struct Field {
        QString table; // as the catalog spells it
        QString name; // the server's (lower-case) name
        bool yesNo = false;
    };
    struct Result;
    Result execute(const QString& sql, const Row& parameters, const QString& shown);
    const Field* fieldOf(unsigned int table, int column);

    pg_conn* m_connection = nullptr;
    qint64 m_lastRowid = 0;
    // Table oid -> column number -> field, read the first time a result shows the table.
    QHash<unsigned int, QHash<int, Field>> m_fields;
    QHash<QString, QString> m_tableNames; // lower case -> as the catalog spells it
    QStringList m_tables; // the server's names of the company's tables
};

} // namespace varemo
