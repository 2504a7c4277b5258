// Another module of the suite holding the company file while the program works on it:
//   child_lockholder <database> reserved|shared|exclusive <milliseconds>
// reserved: the sales module saving a document (BEGIN IMMEDIATE and a sale of its own);
// shared: a module laying out a long report (a read transaction left open);
// exclusive: a module in the middle of a large commit (BEGIN EXCLUSIVE and the sale).
// Prints "locked" once it holds the file, holds it for the milliseconds given (0: until a line
// arrives on its standard input), commits and prints "released".
//
// Or a copy of this program that is about to be killed, listening for later copies:
//   child_lockholder guard <title>
// Prints "locked" once it listens, then waits to be killed.

#include "app/singleinstance.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

#include <cstdio>
#include <iostream>
#include <string>

namespace {

void say(const char* line)
{
    std::fputs(line, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

int fail(const QSqlQuery& query)
{
    std::fprintf(stderr, "%s\n", qPrintable(query.lastError().text()));
    return 3;
}

int guard(const QString& title)
{
    varemo::InstanceGuard guard(title);
    if (!guard.listen())
        return 2;
    say("locked");
    std::string line;
    std::getline(std::cin, line);
    return 0;
}

int hold(const QString& path, const QString& lock, int milliseconds)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("holder"));
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    db.setDatabaseName(path);
    if (!db.open())
        return 2;
    QSqlQuery query(db);
    const QString begin = lock == QLatin1String("reserved") ? QStringLiteral("BEGIN IMMEDIATE")
        : lock == QLatin1String("exclusive")                ? QStringLiteral("BEGIN EXCLUSIVE")
                                                            : QStringLiteral("BEGIN");
    if (!query.exec(begin))
        return fail(query);
    if (lock == QLatin1String("shared")) {
        // A read keeps its lock until the transaction ends, as a cursor being walked.
        if (!query.exec(QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4")) || !query.next())
            return fail(query);
    } else {
        if (!query.exec(QStringLiteral("INSERT INTO Venda (Codigo, DataDocumento, Venda) "
                                       "SELECT COALESCE(MAX(Codigo), 0) + 1, '2026-11-24', 1 FROM Venda")))
            return fail(query);
        if (!query.exec(
                QStringLiteral("INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, "
                               "PrecoUnit, QdeComprada) SELECT MAX(Codigo), 2, 1, 1, 8.0, 5 FROM Venda")))
            return fail(query);
    }
    say("locked");
    if (milliseconds > 0) {
        QThread::msleep(static_cast<unsigned long>(milliseconds));
    } else {
        std::string line;
        std::getline(std::cin, line);
    }
    query.finish();
    if (!query.exec(QStringLiteral("COMMIT")))
        return fail(query);
    say("released");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.value(0) == QLatin1String("guard"))
        return guard(arguments.value(1));
    if (arguments.size() != 3)
        return 1;
    const int code = hold(arguments[0], arguments[1], arguments[2].toInt());
    QSqlDatabase::removeDatabase(QStringLiteral("holder"));
    return code;
}
