// The other process of the reliability tests.
//
//   child_program STEPS PROGRAM_FOLDER K normal|spill [BEFORE_COPY]
// The program played step by step (see player.h) with Yes to every question. From "arm" it
// counts the statements that reach SQLite and kills itself with SIGKILL right after the K-th,
// as when the power goes; when the steps end first it prints them one a line. "spill" gives a
// one-page cache, so changed pages reach the file before COMMIT and only the rollback journal
// can put them back. BEFORE_COPY receives a copy of the company file at "arm".
//
//   child_program hold DATABASE reserved|shared|exclusive MILLISECONDS
// Another module holding the file: the sales module saving a sale (reserved), a long report
// reading (shared), a large commit (exclusive). Prints "locked" once it holds, lets go after
// the milliseconds given or, with 0, when a line arrives on its input, and prints "released".
//
//   child_program guard TITLE
// A copy about to be killed, listening for later copies: prints "locked" once it listens.

#include "app/singleinstance.h"
#include "app/startup.h"
#include "reliability/player.h"

#include <QApplication>
#include <QFile>
#include <QSqlError>
#include <QThread>

#include <csignal>
#include <iostream>

using namespace varemo;
using namespace varemo::test;

namespace {

void waitForLine()
{
    std::string line;
    std::getline(std::cin, line);
}

int hold(const QString& path, const QString& lock, int milliseconds)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("holder"));
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    db.setDatabaseName(path);
    if (!db.open())
        stop(db.lastError().text());
    QSqlQuery query(db);
    const bool shared = lock == QLatin1String("shared");
    // A read keeps its lock until the transaction ends, as a cursor being walked.
    const QStringList statements = shared
        ? QStringList {QStringLiteral("BEGIN"), QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4")}
        : QStringList {lock == QLatin1String("reserved") ? QStringLiteral("BEGIN IMMEDIATE")
                                                         : QStringLiteral("BEGIN EXCLUSIVE"),
            QStringLiteral("INSERT INTO Venda (Codigo, DataDocumento, Venda) "
                           "SELECT COALESCE(MAX(Codigo), 0) + 1, '2026-11-24', 1 FROM Venda"),
            QStringLiteral(
                "INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
                "QdeComprada) SELECT MAX(Codigo), 2, 1, 1, 8.0, 5 FROM Venda")};
    for (const QString& statement : statements) {
        if (!query.exec(statement) || (statement.startsWith(u'S') && !query.next()))
            stop(query.lastError().text());
    }
    say(QStringLiteral("locked"));
    if (milliseconds > 0)
        QThread::msleep(static_cast<unsigned long>(milliseconds));
    else
        waitForLine();
    query.finish();
    if (!query.exec(QStringLiteral("COMMIT")))
        stop(query.lastError().text());
    say(QStringLiteral("released"));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.value(1) == u"hold") {
        const int code = hold(args.value(2), args.value(3), args.value(4).toInt());
        QSqlDatabase::removeDatabase(QStringLiteral("holder"));
        return code;
    }
    if (args.value(1) == u"guard") {
        InstanceGuard guard(args.value(2));
        if (!guard.listen())
            return 2;
        say(QStringLiteral("locked"));
        waitForLine();
        return 0;
    }
    AppState state;
    YesDesktop desktop;
    const std::unique_ptr<Contas> window = start(args.value(2), state, desktop);
    if (!window)
        stop(QStringLiteral("start-up stopped"));
    if (args.value(4) == u"spill")
        QSqlQuery(state.database->connection()).exec(QStringLiteral("PRAGMA cache_size = 1"));
    QStringList statements;
    const int killAt = args.value(3).toInt();
    const auto arm = [&] {
        if (!args.value(5).isEmpty())
            QFile::copy(state.database->path(), args.value(5));
        state.database->statementHook = [&statements, killAt](const QString& sql) {
            statements << QString(sql).replace(QLatin1Char('\n'), QLatin1Char(' '));
            if (statements.size() == killAt)
                ::kill(::getpid(), SIGKILL);
        };
    };
    Player player {*window, state, desktop, arm};
    player.play(args.value(1));
    if (state.database)
        state.database->statementHook = nullptr;
    std::printf("%s\n", qPrintable(statements.join(u'\n')));
    std::fflush(stdout);
    // The parent needs only the file: Qt's teardown would cost more than the action.
    ::_exit(0);
}
