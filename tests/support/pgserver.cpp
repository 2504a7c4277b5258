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

const QString bin = qEnvironmentVariable("VAREMO_PG_BIN", QStringLiteral("/usr/lib/postgresql/15/bin"));

int shell(const QString& command, bool mustWork = true)
{
    const int status = std::system(command.toLocal8Bit().constData());
    if (status != 0 && mustWork)
        qFatal("PgServer: failed: %s", qPrintable(command));
    return status;
}

void stop(const QString& prefix, const QString& folder)
{
    shell(QStringLiteral("%1%2/pg_ctl -D %3/data -m immediate -s stop > /dev/null 2>&1")
              .arg(prefix, bin, folder),
        false);
    QDir(folder).removeRecursively();
}

// A test process that died (an abort, a crash) never stopped its server: the next one does,
// recognising it by the process id the folder was made for.
void stopOrphans()
{
    const QDir temp(QDir::tempPath());
    for (const QString& folder : temp.entryList({QStringLiteral("varemo-pg-*")}, QDir::Dirs)) {
        QFile owner(temp.filePath(folder) + QStringLiteral("/owner.pid"));
        const pid_t pid = owner.open(QIODevice::ReadOnly) ? owner.readAll().trimmed().toInt() : 0;
        if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH)
            stop(geteuid() == 0 ? QStringLiteral("runuser -u postgres -- ") : QString(),
                temp.filePath(folder));
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
    stopOrphans();
    QFile owner(m_folder + QStringLiteral("/owner.pid"));
    if (!owner.open(QIODevice::WriteOnly) || owner.write(QByteArray::number(getpid())) <= 0)
        qFatal("PgServer: cannot write %s", qPrintable(owner.fileName()));
    owner.close();
    if (geteuid() == 0) {
        const passwd* account = getpwnam("postgres");
        if (!account || chown(pattern.constData(), account->pw_uid, account->pw_gid) != 0)
            qFatal("PgServer: running as root needs the postgres user");
        m_prefix = QStringLiteral("runuser -u postgres -- ");
    }
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
    stop(m_prefix, m_folder);
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
