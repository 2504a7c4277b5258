#include "data/database.h"
#include "data/dialect.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using namespace varemo;
using varemo::test::PgServer;
using varemo::test::TestCompany;

namespace {

constexpr int ShortWaitMs = 300;

void nameServer(TestCompany& company, const QString& host, const QString& database, const QString& user)
{
    test::writeFile(company.dataFolder() + QStringLiteral("Empresa.ini"),
        QStringLiteral("[Empresa]\r\nNome=Padaria Teste\r\n[Servidor]\r\nServidor=%1\r\nPorta=5432\r\n"
                       "Banco=%2\r\nUsuario=%3\r\n")
            .arg(host, database, user)
            .toUtf8());
}

} // namespace

class TestPostgres : public QObject {
    Q_OBJECT
private slots:
    // What the recordsets and the translator write, as the server must read it.
    void serverText_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::newRow("parameters numbered, names folded")
            << "UPDATE \"NivelCategoria1\" SET \"Nome\" = ? WHERE rowid = ?"
            << "UPDATE \"nivelcategoria1\" SET \"nome\" = $1 WHERE rowid = $2";
        QTest::newRow("marks and quotes inside a literal kept")
            << "SELECT 'D''Avila ? \"X\"' AS \"A.B\" FROM T WHERE x = ?"
            << "SELECT 'D''Avila ? \"X\"' AS \"a.b\" FROM T WHERE x = $1";
        QTest::newRow("sub-query named")
            << "SELECT * FROM (SELECT Nome FROM T) WHERE \"__rowid__\" = ?"
            << "SELECT * FROM (SELECT Nome FROM T) AS varemo_sub1 WHERE \"__rowid__\" = $1";
        QTest::newRow("named sub-query left alone") << "SELECT * FROM (SELECT 1) q LIMIT 1"
                                                    << "SELECT * FROM (SELECT 1) q LIMIT 1";
        QTest::newRow("nested joins left alone")
            << "SELECT * FROM ((A LEFT JOIN B ON B.x = A.x) LEFT JOIN C ON C.y = B.y) WHERE A.z IN (SELECT 1)"
            << "SELECT * FROM ((A LEFT JOIN B ON B.x = A.x) LEFT JOIN C ON C.y = B.y) WHERE A.z IN (SELECT "
               "1)";
    }
    void serverText()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QCOMPARE(dialect::serverText(sql), expected);
    }

    // Jet statements through the data layer give the same rows on the file and on the server.
    void jetStatements_data()
    {
        QTest::addColumn<QStringList>("statements");
        QTest::addColumn<QString>("query"); // Jet, read back through the data layer
        QTest::addColumn<QString>("expected"); // its rows' first fields, "|" between rows
        const QString items = QStringLiteral("SELECT Codigo FROM NivelCategoria4 WHERE %1 ORDER BY Codigo");
        QTest::newRow("Like folds case, accented letters too")
            << QStringList {} << items.arg("Nome Like 'PÃO*'") << "1|4";
        QTest::newRow("Like keeps accents") << QStringList {} << items.arg("Nome Like 'pao*'") << "";
        QTest::newRow("Like sets, negation and digits")
            << QStringList {} << items.arg("Nome Like '[!a-c]*' AND Nome Not Like '*Ê*'") << "3|5";
        QTest::newRow("= folds case") << QStringList {} << items.arg("Nome = 'CONDOMÍNIO'") << "7";
        QTest::newRow("& with a Null side")
            << QStringList {} << "SELECT NomeLinha & 'x' FROM Linhas ORDER BY CodigoLinha"
            << "Pãesx|Farinhasx|Sorvetesx|x";
        QTest::newRow("Null first, names beside their accents")
            << QStringList {} << "SELECT NomeProduto FROM Produtos ORDER BY NomeProduto"
            << "<Null>|Baguete|Farinha de trigo|Pão francês";
        QTest::newRow("dates and Yes/No")
            << QStringList {}
            << "SELECT Codigo FROM Venda WHERE DataDocumento >= #03/15/2026# AND Venda = True ORDER BY Codigo"
            << "2|3|5";
        QTest::newRow("search filled and marked through a join") << QStringList {"DELETE * FROM Procura;",
            "INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;",
            "UPDATE Procura SET Marca1 = True WHERE Codigo IN (2, 8)",
            "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE WHERE "
            "(Procura.Marca1 = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;"}
                                                                 << items.arg("Marca = True") << "2|8";
        QTest::newRow("delete over a join")
            << QStringList {"DELETE NivelCategoria4.* FROM NivelCategoria4 INNER JOIN NivelCategoria3 ON "
                            "NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3 WHERE "
                            "NivelCategoria3.Nome = 'pães'"}
            << items.arg("Codigo < 5") << "3";
    }
    void jetStatements()
    {
        QFETCH(QStringList, statements);
        QFETCH(QString, query);
        QFETCH(QString, expected);
        TestCompany company;
        company.closeSql();
        const auto db = Database::open(company.databasePath());
        for (const QString& statement : statements)
            db->execute(statement);
        const auto rows = db->openRecordset(query, RecordsetType::Snapshot);
        QStringList got;
        for (const auto& row : rows->rows())
            got << (row.first().isNull() ? QStringLiteral("<Null>") : row.first().toString());
        QCOMPARE(got.join(QLatin1Char('|')), expected);
    }

    // A row another workstation holds fails the action after the wait with 3218, and what
    // the action had written before is gone.
    void rowHeldElsewhere()
    {
        if (!test::onServer())
            QSKIP("row locks of other workstations are the server's");
        TestCompany company;
        company.closeSql();
        const auto db = Database::open(company.databasePath(), ShortWaitMs);
        const PgServer& server = PgServer::instance();
        {
            QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), QStringLiteral("other"));
            other.setHostName(server.socketFolder());
            other.setUserName(server.user());
            other.setDatabaseName(company.serverDatabase());
            QVERIFY(other.open());
            QSqlQuery hold(other);
            QVERIFY(hold.exec(QStringLiteral("BEGIN")));
            QVERIFY(hold.exec(QStringLiteral("SELECT * FROM NivelCategoria1 WHERE Codigo = 3 FOR UPDATE")));
            QElapsedTimer clock;
            clock.start();
            const int number = test::jetFailure([&] {
                UnitOfWork unit(*db);
                db->execute(QStringLiteral("UPDATE NivelCategoria1 SET Nome = 'y' WHERE Codigo = 1"));
                db->execute(QStringLiteral("UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigo = 3"));
                unit.commit();
            });
            QCOMPARE(number, 3218);
            QVERIFY(clock.elapsed() >= ShortWaitMs - 20);
            QVERIFY(hold.exec(QStringLiteral("ROLLBACK")));
        }
        QSqlDatabase::removeDatabase(QStringLiteral("other"));
        QVERIFY(!db->inTransaction());
        QCOMPARE(db->scalar(QStringLiteral("SELECT Nome FROM NivelCategoria1 WHERE Codigo = 1")).toString(),
            QStringLiteral("Receitas Clientes"));
    }

    // A server that cannot be reached, or refuses the login, fails the open with 3151.
    void serverRefuses_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("database");
        QTest::addColumn<QString>("user");
        QTest::newRow("no server there") << "/nonexistent/socket"
                                         << "empresa"
                                         << "postgres";
        QTest::newRow("unknown database") << QString() << "nao_existe"
                                          << "postgres";
        QTest::newRow("unknown user") << QString() << "postgres"
                                      << "ninguem";
    }
    void serverRefuses()
    {
        QFETCH(QString, host);
        QFETCH(QString, database);
        QFETCH(QString, user);
        if (host.isEmpty() && !test::onServer())
            QSKIP("needs the test server");
        TestCompany company(TestCompany::Seed::Empty);
        nameServer(company, host.isEmpty() ? PgServer::instance().socketFolder() : host, database, user);
        QCOMPARE(
            test::jetFailure([&] { Database::open(company.databasePath()); }), jet::ServerConnectionFailed);
    }
};

VAREMO_TEST(TestPostgres);
#include "test_postgres.moc"
