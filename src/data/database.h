#pragma once

#include "data/errors.h"
#include "data/recordset.h"

#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

namespace varemo {

// A company kept on a PostgreSQL server instead of its file, for several workstations.
// The password is never here: libpq reads it from PGPASSWORD or the password file
// (PGPASSFILE, ~/.pgpass) as every PostgreSQL client does.
struct ServerAddress {
    QString host; // a name, an address, or the folder of the server's socket
    int port = 5432;
    QString database;
    QString user;
};

// The one open company database. Statement and criteria texts are Jet's; they are
// translated on the way to the engine. Every engine failure surfaces as JetError.
class Database {
public:
    // How long a statement waits for another module's lock before it fails with 3218.
    static constexpr int BusyTimeoutMs = 5000;

    // Opens an existing company file shared and read-write. A file that is not a
    // database, or is damaged, fails with 3049; a missing one with another number.
    static std::unique_ptr<Database> open(const QString& path);
    // The same with another wait for locks (tests use a short one). When the company's
    // Empresa.ini (in the folder above Dados) names a server, the company is opened there.
    static std::unique_ptr<Database> open(const QString& path, int busyTimeoutMs);
    // A company on a server; one that cannot be reached or refuses the login fails with
    // jet::ServerConnectionFailed, and nothing is written.
    static std::unique_ptr<Database> open(const ServerAddress& server, int busyTimeoutMs = BusyTimeoutMs);
    // The server the [Servidor] section of a data folder's Empresa.ini names (keys Servidor,
    // Porta, Banco, Usuario), if there is one.
    static std::optional<ServerAddress> serverOf(const QString& dataFolder);

    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Runs an action statement (INSERT, UPDATE, DELETE); returns the rows it touched.
    int execute(const QString& jetText);
    // A table name or a SELECT text.
    std::unique_ptr<Recordset> openRecordset(
        const QString& source, RecordsetType type = RecordsetType::Dynaset);
    // The first column of the first row, or a null QVariant.
    QVariant scalar(const QString& jetText);

    bool hasTable(const QString& name) const;
    // Walks every page of these tables and their indexes: a damaged one fails with 3049
    // now rather than halfway through a later action.
    void checkTables(const QStringList& tables);
    void setBusyTimeout(int milliseconds);
    bool isOpen() const;
    void close();
    const QString& path() const { return m_path; }
    QSqlDatabase connection() const;
    bool inTransaction() const { return m_transactionDepth > 0; }
    bool onServer() const;

    // Called after every statement that reached the engine (the crash tests count them).
    std::function<void(const QString& sql)> statementHook;
    // Called with true when a statement starts waiting for another module's lock and with
    // false when that wait is over (the statement went through or gave up), so the window
    // can show it is busy rather than hung.
    std::function<void(bool waiting)> busyHook;

private:
    friend class UnitOfWork;
    friend class Recordset;
    Database(const QString& connectionName, const QString& path);

    struct Private;
    std::unique_ptr<Private> d;
    QString m_connectionName;
    QString m_path;
    int m_transactionDepth = 0;
};

// One user action that writes: everything inside is one transaction. Commit
// explicitly; leaving the scope without commit() rolls back, and the recordsets
// written inside forget the rows they had added or changed.
class UnitOfWork {
public:
    explicit UnitOfWork(Database& database);
    ~UnitOfWork();
    UnitOfWork(const UnitOfWork&) = delete;
    UnitOfWork& operator=(const UnitOfWork&) = delete;

    void commit();

private:
    Database& m_database;
    bool m_done = false;
};

} // namespace varemo
