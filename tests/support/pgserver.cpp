#include "support/pgserver.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace varemo::test {

namespace {

QString binaries()
{
    const QString chosen = qEnvironmentVariable("VAREMO_PG_BIN");
    return chosen.isEmpty() ? QStringLiteral("/usr/lib/postgresql/15/bin") : chosen;
}

void shell(const QString& command)
{
    if (std::system(command.toLocal8Bit().constData()) != 0)
        qFatal("PgServer: failed: %s", qPrintable(command));
}

void stop(const QString& prefix, const QString& bin, const QString& folder)
{
    std::system(QStringLiteral("%1%2/pg_ctl -D %3/data -m immediate -s stop > /dev/null 2>&1")
                    .arg(prefix, bin, folder)
                    .toLocal8Bit()
                    .constData());
    QDir(folder).removeRecursively();
}

// A test process that died (an abort, a crash) never stopped its server: the next one does,
// recognising it by the process id the folder was made for.
void stopOrphans(const QString& bin)
{
    const QDir temp(QDir::tempPath());
    const QStringList folders = temp.entryList({QStringLiteral("varemo-pg-*")}, QDir::Dirs);
    for (const QString& folder : folders) {
        const QString path = temp.filePath(folder);
        QFile owner(path + QStringLiteral("/owner.pid"));
        if (!owner.open(QIODevice::ReadOnly))
            continue;
        const pid_t pid = owner.readAll().trimmed().toInt();
        if (pid <= 0 || kill(pid, 0) == 0 || errno != ESRCH)
            continue;
        stop(geteuid() == 0 ? QStringLiteral("runuser -u postgres -- ") : QString(), bin, path);
    }
}

} // namespace

bool onServer()
{
    return qEnvironmentVariable("VAREMO_TEST_ENGINE")
               .compare(QLatin1String("postgresql"), Qt::CaseInsensitive)
        == 0;
}

PgServer& PgServer::instance()
{
    static PgServer server;
    return server;
}

PgServer::PgServer()
{
    QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/varemo-pg-XXXXXX";
    if (!mkdtemp(pattern.data()))
        qFatal("PgServer: no temporary folder");
    m_folder = QString::fromLocal8Bit(pattern);
    stopOrphans(binaries());
    QFile owner(m_folder + QStringLiteral("/owner.pid"));
    if (owner.open(QIODevice::WriteOnly))
        owner.write(QByteArray::number(getpid()));
    owner.close();
    if (geteuid() == 0) {
        const passwd* account = getpwnam("postgres");
        if (!account || chown(pattern.constData(), account->pw_uid, account->pw_gid) != 0)
            qFatal("PgServer: running as root needs the postgres user");
        m_prefix = QStringLiteral("runuser -u postgres -- ");
    }
    const QString bin = binaries();
    // A scratch cluster: nothing is flushed to disk.
    shell(QStringLiteral(
        "%1%2/initdb -D %3/data -A trust -U postgres -E UTF8 --no-locale -N > %3/initdb.log 2>&1")
              .arg(m_prefix, bin, m_folder));
    shell(QStringLiteral("%1%2/pg_ctl -D %3/data -l %3/server.log -w -s -o \"-k %3 -c listen_addresses='' "
                         "-c fsync=off -c synchronous_commit=off -c full_page_writes=off\" start")
              .arg(m_prefix, bin, m_folder));
}

PgServer::~PgServer()
{
    stop(m_prefix, binaries(), m_folder);
}

// Runs statements on one database of the server, through a connection of its own.
void PgServer::admin(const QString& database, const QStringList& statements)
{
    const QString name = QStringLiteral("varemo-pg-admin");
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        db.setHostName(m_folder);
        db.setPort(port());
        db.setUserName(user());
        db.setDatabaseName(database);
        if (!db.open())
            qFatal("PgServer: %s", qPrintable(db.lastError().text()));
        QSqlQuery query(db);
        for (const QString& statement : statements) {
            if (!query.exec(statement))
                qFatal("PgServer: %s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
        }
    }
    QSqlDatabase::removeDatabase(name);
}

// Making a database costs the server far more than emptying one: a database given back
// is emptied and handed out again.
QString PgServer::createDatabase()
{
    if (m_free.isEmpty()) {
        const QString name = QStringLiteral("empresa%1").arg(++m_databases);
        admin(
            QStringLiteral("postgres"), {QStringLiteral("CREATE DATABASE %1 TEMPLATE template0").arg(name)});
        return name;
    }
    const QString name = m_free.takeLast();
    admin(QStringLiteral("postgres"),
        {QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '%1'")
                .arg(name)});
    admin(name,
        {QStringLiteral("SET client_min_messages = warning"), QStringLiteral("DROP SCHEMA public CASCADE"),
            QStringLiteral("CREATE SCHEMA public")});
    return name;
}

void PgServer::dropDatabase(const QString& name)
{
    m_free << name;
}

} // namespace varemo::test
