#include "data/errors.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QSqlQuery>
#include <QTest>

#include <memory>

using varemo::test::TestCompany;

// The file as the schema creates it; each test runs in a transaction rolled back after it.
class TestSchema : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_company;
    QSqlDatabase m_db;

    QStringList column(const QString& sql, int at = 0)
    {
        QSqlQuery query(m_db);
        QStringList values;
        for (query.exec(sql); query.next();)
            values << query.value(at).toString();
        return values;
    }

private slots:
    void initTestCase()
    {
        m_company = std::make_unique<TestCompany>(TestCompany::Seed::Empty);
        m_db = m_company->sql();
    }
    void cleanupTestCase()
    {
        m_db = QSqlDatabase();
        m_company.reset();
    }
    void init() { m_db.transaction(); }
    void cleanup() { m_db.rollback(); }

    // After the statements the query finds exactly one row.
    void rowsReadAsExpected_data()
    {
        QTest::addColumn<QString>("statements");
        QTest::addColumn<QString>("query");
        const auto row = [](const char* name, const char* statements, const char* query) {
            QTest::newRow(name) << QString::fromUtf8(statements) << QString::fromUtf8(query);
        };
        // Names compare without regard to case, as the program finds them.
        row("group name", "INSERT INTO NivelCategoria0 (Nome) VALUES ('Receitas Extras')",
            "SELECT 1 FROM NivelCategoria0 WHERE Nome = 'RECEITAS extras'");
        row("product name", "INSERT INTO Produtos (CodigoLinha, NomeProduto) VALUES (1, 'Bolo')",
            "SELECT 1 FROM Produtos WHERE NomeProduto = 'BOLO'");
        // A new item is typed and unmarked, its name found in any case; a new group's lock is Null.
        row("new item", "INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Gas', 1)",
            "SELECT 1 FROM NivelCategoria4 WHERE Nome = 'GAS' AND CodigoProduto = 0 AND Marca = 0");
        row("new group", "INSERT INTO NivelCategoria2 (Nome, CodigoCategoria1) VALUES ('G', 1)",
            "SELECT 1 FROM NivelCategoria2 WHERE Travado IS NULL");
        row("capitals do not sort first",
            "INSERT INTO NivelCategoria3 (Nome, CodigoCategoria2) VALUES ('B', 1), ('a', 1)",
            "SELECT Nome = 'a' COLLATE BINARY FROM NivelCategoria3 ORDER BY Nome LIMIT 1");
        // A deleted row's code is never given to a new one.
        for (const auto& [table, name] : {std::pair {"NivelCategoria1", "Nome"},
                 std::pair {"NivelCategoria4", "Nome"}, std::pair {"Relatorios", "NomeRelatorio"}})
            QTest::addRow("%s code not reused", table)
                << QStringLiteral("INSERT INTO %1 (%2) VALUES ('x'); INSERT INTO %1 (%2) VALUES ('x'); "
                                  "DELETE FROM %1 WHERE %2 = "
                                  "'x' AND rowid = 2; INSERT INTO %1 (%2) VALUES ('y')")
                       .arg(QLatin1String(table), QLatin1String(name))
                << QStringLiteral("SELECT rowid = 3 FROM %1 WHERE %2 = 'y'")
                       .arg(QLatin1String(table), QLatin1String(name));
    }
    void rowsReadAsExpected()
    {
        QFETCH(QString, statements);
        QFETCH(QString, query);
        for (const QString& statement : statements.split(QStringLiteral("; ")))
            QVERIFY2(QSqlQuery(m_db).exec(statement), qPrintable(statement));
        QCOMPARE(column(query), QStringList {"1"});
    }

    // A table met half-way through makes the whole creation fail and leave nothing.
    void createIsAllOrNothing()
    {
        for (const QString& table : varemo::schema::tableNames())
            if (table != QLatin1String("Produtos"))
                QSqlQuery(m_db).exec(QStringLiteral("DROP TABLE ") + table);
        QVERIFY_THROWS_EXCEPTION(varemo::JetError, varemo::schema::create(m_db));
        QCOMPARE(column(QStringLiteral(
                     "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'")),
            QStringList {"Produtos"});
    }
};

VAREMO_TEST(TestSchema);
#include "test_schema.moc"
