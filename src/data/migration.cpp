#include "data/migration.h"

#include "data/dialect.h"
#include "data/errors.h"
#include "data/schema.h"
#include "data/servercompany.h"

#include <QSqlError>
#include <QSqlQuery>

#include <cmath>
#include <libpq-fe.h>

namespace varemo::migration {

namespace {

bool onServer(const QSqlDatabase& database)
{
    return database.driverName() == QLatin1String("QPSQL");
}

void run(QSqlQuery& query, const QString& statement)
{
    if (!query.exec(statement))
        throw JetError(jet::GeneralError, query.lastError().text());
}

// A value as libpq reads it inside a connection text: quoted, its quotes and backslashes
// escaped.
QString quoted(const QString& value)
{
    QString text = value;
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// Sums of the same rows added in another order differ in the last bits, never by a cent.
bool sameTotals(const TableTotals& a, const TableTotals& b)
{
    return a.rows == b.rows && std::abs(a.sum - b.sum) < 0.005;
}

} // namespace

QSqlDatabase connectServer(const QString& conninfo, const QString& connectionName)
{
    char* error = nullptr;
    PQconninfoOption* options = PQconninfoParse(conninfo.toUtf8().constData(), &error);
    if (!options) {
        const QString message = error ? QString::fromUtf8(error) : QString();
        PQfreemem(error);
        throw dialect::serverUnreachable(conninfo, message);
    }
    // The driver takes host, port, database and user by name; anything else (sslmode,
    // connect_timeout...) travels as its own options.
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connectionName);
    QStringList extra;
    for (const PQconninfoOption* option = options; option->keyword; ++option) {
        if (!option->val)
            continue;
        const QString keyword = QString::fromLatin1(option->keyword);
        const QString value = QString::fromUtf8(option->val);
        if (keyword == QLatin1String("host"))
            db.setHostName(value);
        else if (keyword == QLatin1String("port"))
            db.setPort(value.toInt());
        else if (keyword == QLatin1String("dbname"))
            db.setDatabaseName(value);
        else if (keyword == QLatin1String("user"))
            db.setUserName(value);
        else
            extra << keyword + QLatin1Char('=') + quoted(value);
    }
    PQconninfoFree(options);
    db.setConnectOptions(extra.join(QLatin1Char(';')));
    if (!db.open()) {
        const QString message = db.lastError().databaseText();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(connectionName);
        throw dialect::serverUnreachable(conninfo, message);
    }
    return db;
}

bool holdsTables(const QSqlDatabase& database)
{
    QSqlQuery query(database);
    run(query,
        onServer(database)
            ? QStringLiteral(
                "SELECT count(*) FROM pg_class WHERE relnamespace = current_schema()::regnamespace "
                "AND relkind IN ('r', 'v', 'm', 'p', 'f')")
            : QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type IN ('table', 'view')"));
    return query.next() && query.value(0).toLongLong() > 0;
}

TableTotals totalsOf(const QSqlDatabase& database, const QString& table)
{
    TableTotals totals;
    totals.table = table;
    totals.money = schema::columnNames(table).contains(QLatin1String("PrecoUnit"));
    QSqlQuery query(database);
    run(query,
        QStringLiteral("SELECT count(*), %1 FROM %2")
            .arg(totals.money ? QStringLiteral("sum(PrecoUnit * QdeComprada)") : QStringLiteral("0"), table));
    if (query.next()) {
        totals.rows = query.value(0).toLongLong();
        totals.sum = query.value(1).toDouble();
    }
    return totals;
}

QList<TableTotals> copyCompany(QSqlDatabase& from, QSqlDatabase& to)
{
    // The source is read as of one moment, even while another workstation writes to it.
    QSqlQuery source(from);
    run(source,
        onServer(from) ? QStringLiteral("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY")
                       : QStringLiteral("BEGIN"));
    QSqlQuery target(to);
    QList<TableTotals> copied;
    try {
        run(target, QStringLiteral("BEGIN"));
        try {
            schema::create(to);
            servercompany::copyRows(from, to);
            for (const QString& table : schema::tableNames()) {
                const TableTotals before = totalsOf(from, table);
                const TableTotals after = totalsOf(to, table);
                if (!sameTotals(before, after))
                    throw JetError(jet::GeneralError,
                        QStringLiteral("A tabela %1 não conferiu: %2 linhas na origem, %3 no destino.")
                            .arg(table)
                            .arg(before.rows)
                            .arg(after.rows));
                copied << after;
            }
            run(target, QStringLiteral("COMMIT"));
        } catch (const JetError&) {
            target.exec(QStringLiteral("ROLLBACK"));
            throw;
        }
    } catch (const JetError&) {
        source.exec(QStringLiteral("ROLLBACK"));
        throw;
    }
    source.exec(QStringLiteral("ROLLBACK"));
    return copied;
}

} // namespace varemo::migration
