#include "data/database.h"
#include "data/dialect.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QTest>

#include <optional>

using namespace varemo;
using varemo::test::jetFailure;
using varemo::test::TestCompany;

constexpr int ShortWaitMs = 150;

// The data layer the same on the file and on a server: what it writes, what it reads, how it
// waits for and gives up on another module's lock.
class TestEngine : public QObject {
    Q_OBJECT
private slots:
    // What the recordsets and the translator write, as the server must read it (the plain forms
    // are met by every test of this folder on the server).
    void serverText_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::newRow("marks and quotes inside a literal kept")
            << "SELECT 'D''Avila ? \"X\"' AS \"A.B\" FROM T WHERE x = ?"
            << "SELECT 'D''Avila ? \"X\"' AS \"a.b\" FROM T WHERE x = $1";
        QTest::newRow("sub-query named")
            << "SELECT * FROM (SELECT Nome FROM T) WHERE \"__rowid__\" = ?"
            << "SELECT * FROM (SELECT Nome FROM T) AS varemo_sub1 WHERE \"__rowid__\" = $1";
    }
    void serverText()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QCOMPARE(dialect::serverText(sql), expected);
    }

    // Jet statements and queries through the data layer give the same rows on the file and on
    // the server: Jet's text comparisons, Like, &, dates, Yes/No and the statements the program writes.
    void jetStatements_data()
    {
        QTest::addColumn<QString>("statements"); // run one by one, "\n" between them
        QTest::addColumn<QString>(
            "query"); // Jet, read back through the data layer; or its WHERE on the items
        QTest::addColumn<QString>("field");
        // the field's values, "|" between rows
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* statements, const char* query, const char* expected,
                             const char* field = "Codigo") {
            QTest::newRow(name) << QString::fromUtf8(statements) << QString::fromUtf8(query)
                                << QString::fromUtf8(field) << QString::fromUtf8(expected);
        };
        const QByteArray chain = test::itemChainJoin().toUtf8();
        row("Like folds case, accented letters too", "", "Nome Like 'PÃO*'", "1|4");
        row("Like keeps accents", "", "Nome Like 'pao*'", "");
        row("Like sets, negation and digits", "", "Nome Like '[!a-c]*' AND Nome Not Like '*Ê*'", "3|5");
        row("Like with a range and a blank", "", "Nome Like '[A-C]*' AND Nome Not Like '* *'", "2|7|9");
        row("Like, SQL's wildcards literal", "", "Nome Like '*o%*'", "");
        // a pattern that changes from row to row is compiled afresh on each
        row("Like a pattern of each row", "", "Nome Like Nome", "1|2|3|4|5|6|7|8|9");
        row("= folds case", "", "Nome = 'CONDOMÍNIO'", "7");
        row("IN compares text as Jet", "",
            "SELECT Codigo FROM NivelCategoria3 WHERE Nome IN ('PÃES', 'energia')", "1|3|6");
        row("text order, accented capital through the chain", "",
            (chain + "WHERE NivelCategoria4.Nome > 'Condomínio' AND NivelCategoria3.Nome = 'PÃES'")
                .constData(),
            "1|4", "NivelCategoria4.Codigo");
        row("& joins text and numbers", "",
            "SELECT Nome & ' (' & Codigo & ')' FROM NivelCategoria0 WHERE Codigo = 1", "Receitas (1)",
            "Expr1000");
        row("& with a Null side", "", "SELECT NomeLinha & 'x' FROM Linhas", "Farinhasx|Pãesx|Sorvetesx|x",
            "Expr1000");
        row("& writes a fraction as Brazil does", "",
            "SELECT PrecoUnit & '' AS Preco FROM CompraProdutos WHERE CodigoProduto = 8", "420,5", "Preco");
        row("& of two Nulls is Null", "",
            "SELECT Travado & Travado AS Nada FROM NivelCategoria1 WHERE Codigo = 3", "<Null>", "Nada");
        row("& writes dates and Yes/No as the file holds them", "",
            "SELECT DataDocumento & ' ' & Venda & ' ' & (Codigo > 2) AS Texto FROM Venda WHERE Codigo = 2",
            "2026-03-15 1 0", "Texto");
        row("/ keeps the fraction", "", "SELECT Codigo / 2 AS Metade FROM NivelCategoria0 WHERE Codigo = 3",
            "1.5", "Metade");
        row("dates and Yes/No", "",
            "SELECT Codigo FROM Venda WHERE DataDocumento >= #03/15/2026# AND Venda = True", "2|3|5");
        row("search filled and marked through a join",
            "DELETE * FROM Procura;\nINSERT INTO Procura SELECT Codigo FROM NivelCategoria4;\nUPDATE "
            "Procura SET Marca1 = True WHERE Codigo IN (2, 8)\nUPDATE NivelCategoria4, Procura SET "
            "NivelCategoria4.Marca = TRUE WHERE (Procura.Marca1 = TRUE) AND NivelCategoria4.Codigo = "
            "Procura.Codigo;",
            "Marca = True", "2|8");
        row("delete over a join",
            "DELETE NivelCategoria4.* FROM NivelCategoria4 INNER JOIN NivelCategoria3 ON "
            "NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3 WHERE NivelCategoria3.Nome = "
            "'pães'",
            "Codigo < 5", "3");
    }
    void jetStatements()
    {
        QFETCH(QString, statements);
        QFETCH(QString, query);
        if (!query.startsWith(QLatin1String("SELECT")))
            query.prepend(QStringLiteral("SELECT * FROM NivelCategoria4 WHERE "));
        QFETCH(QString, field);
        QFETCH(QString, expected);
        TestCompany company;
        company.closeSql();
        const auto db = Database::open(company.databasePath());
        for (const QString& statement : statements.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            db->execute(statement);
        const auto rows = db->openRecordset(query, RecordsetType::Snapshot);
        QStringList got;
        for (const auto& row : rows->rows()) {
            const QVariant value = row.at(rows->fieldIndex(field));
            got << (value.isNull() ? QStringLiteral("<Null>") : value.toString());
        }
        got.sort(); // no query here asks for an order: text order is the collation's own test
        QCOMPARE(got.join(QLatin1Char('|')), expected);
    }

    // A server that cannot be reached, or refuses the login, fails the open with 3151.
    void serverRefuses_data()
    {
        QTest::addColumn<QString>("host"); // empty: the test server
        QTest::addColumn<QString>("user");
        QTest::newRow("no server there")
            << QStringLiteral("/nonexistent/socket") << QStringLiteral("postgres");
        QTest::newRow("unknown user") << QString() << QStringLiteral("ninguem");
    }
    void serverRefuses()
    {
        QFETCH(QString, host);
        QFETCH(QString, user);
        if (host.isEmpty() && !test::onServer())
            QSKIP("needs the test server");
        TestCompany company(TestCompany::Seed::Empty);
        test::writeFile(company.dataFolder() + QStringLiteral("Empresa.ini"),
            QStringLiteral("[Empresa]\r\nNome=Padaria Teste\r\n[Servidor]\r\nServidor=%1\r\nPorta=5432\r\n"
                           "Banco=postgres\r\nUsuario=%2\r\n")
                .arg(host.isEmpty() ? test::PgServer::instance().socketFolder() : host, user)
                .toUtf8());
        QCOMPARE(
            test::jetFailure([&] { Database::open(company.databasePath()); }), jet::ServerConnectionFailed);
    }

    // An action that fails leaves the file and the recordsets it wrote as they were before it;
    // the same action then goes through. Another module holding the file past the wait fails it
    // with 3218 (never the damaged-file 3049), after the wait and not before.
    void failureLeavesNothing_data()
    {
        QTest::addColumn<QString>("lock"); // statements of another module before the action
        QTest::addColumn<QString>("action"); // a unit adding, editing and deleting, then failing
        QTest::addColumn<int>("number"); // -1 for our own defect
        QTest::newRow("bad statement") << ""
                                       << "statement" << 3075;
        QTest::newRow("unit inside a unit") << ""
                                            << "inner unit" << -1;
        QTest::newRow("a reader keeps COMMIT waiting") << "BEGIN; SELECT count(*) FROM NivelCategoria1"
                                                       << "commit" << 3218;
        QTest::newRow("a writer holds the file") << "BEGIN IMMEDIATE"
                                                 << "commit" << 3218;
        QTest::newRow("opening under an exclusive lock") << "BEGIN EXCLUSIVE"
                                                         << "open" << 3218;
        QTest::newRow("reading under an exclusive lock") << "BEGIN EXCLUSIVE"
                                                         << "read" << 3218;
        // On a server only the row waits: the action has written before it reaches it.
        QTest::newRow("another workstation holds a row") << "workstation"
                                                         << "commit" << 3218;
    }
    void failureLeavesNothing()
    {
        QFETCH(QString, lock);
        QFETCH(QString, action);
        QFETCH(int, number);
        TestCompany company;
        const auto db = Database::open(company.databasePath(), ShortWaitMs);
        auto rs = db->openRecordset("NivelCategoria1", RecordsetType::Table);
        const auto stand
            = [&rs](int code) { QVERIFY(rs->findFirst(QStringLiteral("Codigo = %1").arg(code))); };
        stand(3);
        // The other workstation edits the row the action deletes and has not committed yet.
        std::unique_ptr<Database> other;
        std::optional<UnitOfWork> held;
        if (lock == QLatin1String("workstation")) {
            other = Database::open(company.databasePath(), ShortWaitMs);
            held.emplace(*other);
            other->execute("UPDATE NivelCategoria1 SET Nome = 'Ocupado' WHERE Codigo = 4");
        } else {
            for (const QString& statement : lock.split(QStringLiteral("; "), Qt::SkipEmptyParts))
                company.exec(statement);
        }
        int failed = 0;
        QElapsedTimer clock;
        clock.start();
        try {
            if (action == QLatin1String("open"))
                Database::open(company.databasePath(), ShortWaitMs);
            else if (action == QLatin1String("read"))
                db->openRecordset("NivelCategoria2");
            UnitOfWork unit(*db);
            rs->addNew();
            rs->setValue("Nome", QStringLiteral("Setor novo"));
            rs->update();
            rs->edit();
            rs->setValue("Nome", QStringLiteral("Outro nome"));
            rs->update();
            stand(4);
            rs->deleteCurrent();
            if (action == QLatin1String("statement"))
                db->execute("UPDATE NivelCategoria2 SET Nome = 'x'' WHERE Codigo = 1");
            else if (action == QLatin1String("inner unit"))
                UnitOfWork inner(*db);
            unit.commit();
        } catch (const JetError& error) {
            failed = error.number();
        } catch (const StorageBug&) {
            failed = -1;
        }
        const qint64 waited = clock.elapsed();
        if (held)
            held.reset();
        else if (!lock.isEmpty())
            company.exec("ROLLBACK");
        QCOMPARE(failed, number);
        QVERIFY2(number != 3218 || waited >= ShortWaitMs - 20, qPrintable(QString::number(waited)));
        QVERIFY(!db->inTransaction());
        QCOMPARE(company.count("SELECT count(*) FROM NivelCategoria1"), 4);
        QCOMPARE(rs->recordCount(), 4);
        QCOMPARE(rs->value("Codigo").toInt(), 3);
        QCOMPARE(rs->value("Nome").toString(), QStringLiteral("Despesas Administrativas"));

        UnitOfWork again(*db);
        rs->addNew();
        rs->update();
        again.commit();
        QCOMPARE(company.count("SELECT count(*) FROM NivelCategoria1"), 5);
        QCOMPARE(rs->recordCount(), 5);
        db->close(); // closes its recordsets too
        QCOMPARE(jetFailure([&] { rs->moveFirst(); }), 3420);
    }
};

VAREMO_TEST(TestEngine);
#include "test_engine.moc"
