#include "data/database.h"
#include "data/dialect.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using varemo::test::PgServer;
using varemo::test::TestCompany;

class TestPostgres : public QObject {
    Q_OBJECT
private slots:
    // What the recordsets and the translator write, as the server must read it (the plain forms
    // are met by every test of this folder on the server).
    void serverText_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* sql, const char* expected) {
            QTest::newRow(name) << QString::fromLatin1(sql) << QString::fromLatin1(expected);
        };
        row("marks and quotes inside a literal kept",
            "SELECT 'D''Avila ? \"X\"' AS \"A.B\" FROM T WHERE x = ?",
            "SELECT 'D''Avila ? \"X\"' AS \"a.b\" FROM T WHERE x = $1");
        row("sub-query named", "SELECT * FROM (SELECT Nome FROM T) WHERE \"__rowid__\" = ?",
            "SELECT * FROM (SELECT Nome FROM T) AS varemo_sub1 WHERE \"__rowid__\" = $1");
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
        QTest::addColumn<QString>("statements"); // run one by one, ";\n" between them
        QTest::addColumn<QString>("query"); // Jet, read back through the data layer
        QTest::addColumn<QString>("expected"); // its rows' first fields, "|" between rows
        const auto row = [](const char* name, const char* statements, const char* where,
                             const char* expected) {
            const QString query = QString::fromUtf8(where);
            QTest::newRow(name) << QString::fromUtf8(statements)
                                << (query.startsWith(QLatin1String("SELECT"))
                                           ? query
                                           : QStringLiteral(
                                               "SELECT Codigo FROM NivelCategoria4 WHERE %1 ORDER BY Codigo")
                                                 .arg(query))
                                << QString::fromUtf8(expected);
        };
        row("Like folds case, accented letters too", "", "Nome Like 'PÃO*'", "1|4");
        row("Like keeps accents", "", "Nome Like 'pao*'", "");
        row("Like sets, negation and digits", "", "Nome Like '[!a-c]*' AND Nome Not Like '*Ê*'", "3|5");
        row("= folds case", "", "Nome = 'CONDOMÍNIO'", "7");
        row("& with a Null side", "", "SELECT NomeLinha & 'x' FROM Linhas ORDER BY CodigoLinha",
            "Pãesx|Farinhasx|Sorvetesx|x");
        row("dates and Yes/No", "",
            "SELECT Codigo FROM Venda WHERE DataDocumento >= #03/15/2026# AND Venda = True ORDER BY "
            "Codigo",
            "2|3|5");
        row("search filled and marked through a join",
            "DELETE * FROM Procura;\nINSERT INTO Procura SELECT Codigo FROM NivelCategoria4;\nUPDATE Procura "
            "SET "
            "Marca1 = True WHERE Codigo IN (2, 8)\nUPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca "
            "= "
            "TRUE WHERE (Procura.Marca1 = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;",
            "Marca = True", "2|8");
        row("delete over a join",
            "DELETE NivelCategoria4.* FROM NivelCategoria4 INNER JOIN NivelCategoria3 ON "
            "NivelCategoria3.Codigo "
            "= NivelCategoria4.CodigoCategoria3 WHERE NivelCategoria3.Nome = 'pães'",
            "Codigo < 5", "3");
    }
    void jetStatements()
    {
        QFETCH(QString, statements);
        QFETCH(QString, query);
        QFETCH(QString, expected);
        TestCompany company;
        company.closeSql();
        const auto db = Database::open(company.databasePath());
        for (const QString& statement : statements.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            db->execute(statement);
        const auto rows = db->openRecordset(query, RecordsetType::Snapshot);
        QStringList got;
        for (const auto& row : rows->rows())
            got << (row.first().isNull() ? QStringLiteral("<Null>") : row.first().toString());
        QCOMPARE(got.join(QLatin1Char('|')), expected);
    }

    // A server that cannot be reached, or refuses the login, fails the open with 3151.
    void serverRefuses_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("database");
        QTest::addColumn<QString>("user");
        QTest::newRow("no server there") << QStringLiteral("/nonexistent/socket") << QStringLiteral("empresa")
                                         << QStringLiteral("postgres");
        QTest::newRow("unknown database")
            << QString() << QStringLiteral("nao_existe") << QStringLiteral("postgres");
        QTest::newRow("unknown user") << QString() << QStringLiteral("postgres") << QStringLiteral("ninguem");
    }
    void serverRefuses()
    {
        QFETCH(QString, host);
        QFETCH(QString, database);
        QFETCH(QString, user);
        if (host.isEmpty() && !test::onServer())
            QSKIP("needs the test server");
        TestCompany company(TestCompany::Seed::Empty);
        test::writeFile(company.dataFolder() + QStringLiteral("Empresa.ini"),
            QStringLiteral("[Empresa]\r\nNome=Padaria Teste\r\n[Servidor]\r\nServidor=%1\r\nPorta=5432\r\n"
                           "Banco=%2\r\nUsuario=%3\r\n")
                .arg(host.isEmpty() ? PgServer::instance().socketFolder() : host, database, user)
                .toUtf8());
        QCOMPARE(
            test::jetFailure([&] { Database::open(company.databasePath()); }), jet::ServerConnectionFailed);
    }
};

VAREMO_TEST(TestPostgres);
#include "test_postgres.moc"
