#pragma once

#include <QStringList>

namespace varemo::test {

// Whether this run puts the companies on a PostgreSQL server (VAREMO_TEST_ENGINE=postgresql).
bool onServer();

// The test process's own PostgreSQL server: a cluster made in a temporary folder and
// listening only on a socket there, started on first use and removed at exit. Run as the
// postgres user when the tests run as root (the server refuses root).
class PgServer {
public:
    static PgServer& instance();

    QString socketFolder() const { return m_folder; }
    int port() const { return 5432; }
    QString user() const { return QStringLiteral("postgres"); }

    // An empty database, by name, until dropDatabase gives it back (connections still open
    // to it are ended when it is handed out again).
    QString createDatabase();
    void dropDatabase(const QString& name);

    ~PgServer();
    PgServer(const PgServer&) = delete;
    PgServer& operator=(const PgServer&) = delete;

private:
    PgServer();
    void admin(const QString& database, const QStringList& statements);

    QString m_folder, m_prefix; // the prefix runs a server program as the postgres user
    QStringList m_free;
    int m_databases = 0;
};

} // namespace varemo::test
