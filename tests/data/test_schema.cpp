#include "data/errors.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

using varemo::test::TestCompany;

class TestSchema : public QObject {
    Q_OBJECT

private slots:
    // The list the data layer checks at opening must name the tables and columns as created.
    void listsMatchWhatIsCreated()
    {
        TestCompany company(TestCompany::Seed::Empty);
        QSqlQuery query(company.sql());
        query.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' "
                                  "AND name NOT LIKE 'sqlite%' ORDER BY name"));
        QStringList created;
        while (query.next())
            created << query.value(0).toString();
        QStringList listed = varemo::schema::tableNames();
        listed.sort();
        QCOMPARE(created, listed);
        for (const auto& table : varemo::schema::chartTables())
            QVERIFY2(listed.contains(table), qPrintable(table));
        for (const auto& table : listed) {
            QStringList columns;
            query.exec(QStringLiteral("PRAGMA table_info(%1)").arg(table));
            while (query.next())
                columns << query.value(1).toString();
            QCOMPARE(varemo::schema::columnNames(table), columns);
        }
    }

    void newRowsReadAsExpected_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("values");
        QTest::addColumn<QString>("find");
        const auto row = [](const char* name, const char* table, const char* values, const char* find) {
            QTest::newRow(name) << QString::fromLatin1(table) << QString::fromLatin1(values)
                                << QString::fromLatin1(find);
        };
        // Names compare without regard to case, as the program finds them.
        row("nivel0", "NivelCategoria0", "(Nome) VALUES ('Receitas Extras')", "Nome = 'RECEITAS extras'");
        row("nivel1", "NivelCategoria1", "(Nome, CodigoCategoria0) VALUES ('Frete', 1)", "Nome = 'fRETE'");
        row("nivel4", "NivelCategoria4", "(Nome, CodigoCategoria3) VALUES ('Gas', 1)", "Nome = 'GAS'");
        row("relatorio", "Relatorios", "(NomeRelatorio) VALUES ('Mensal')", "NomeRelatorio = 'MENSAL'");
        row("linha", "Linhas", "(NomeLinha, Insumo) VALUES ('Doces', 0)", "NomeLinha = 'doces'");
        row("produto", "Produtos", "(CodigoLinha, NomeProduto) VALUES (1, 'Bolo')", "NomeProduto = 'BOLO'");
        // A new item is typed, unmarked; a new group's lock is Null, not False.
        row("item novo", "NivelCategoria4", "(Nome, CodigoCategoria3) VALUES ('Novo', 1)",
            "CodigoProduto = 0 AND Marca = 0");
        row("grupo novo", "NivelCategoria2", "(Nome, CodigoCategoria1) VALUES ('G', 1)", "Travado IS NULL");
        // Ordered by name, capitals must not come before every small letter.
        row("ordem", "NivelCategoria3", "(Nome, CodigoCategoria2) VALUES ('B', 1), ('a', 1)",
            "Nome = 'a' COLLATE BINARY AND Codigo = (SELECT Codigo FROM NivelCategoria3 ORDER BY Nome LIMIT "
            "1)");
    }

    void newRowsReadAsExpected()
    {
        QFETCH(QString, table);
        QFETCH(QString, values);
        QFETCH(QString, find);
        TestCompany company(TestCompany::Seed::Empty);
        company.exec(QStringLiteral("INSERT INTO %1 %2").arg(table, values));
        QCOMPARE(company.count(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE %2").arg(table, find)), 1);
    }

    void lookupsUseAnIndex_data()
    {
        QTest::addColumn<QString>("query");
        const auto row
            = [](const char* name, const char* query) { QTest::newRow(name) << QString::fromLatin1(query); };
        for (int level = 1; level <= 4; ++level)
            QTest::addRow("nivel%d pai", level)
                << QStringLiteral("SELECT * FROM NivelCategoria%1 WHERE CodigoCategoria%2 = 1")
                       .arg(level)
                       .arg(level - 1);
        row("produtos linha", "SELECT * FROM Produtos WHERE CodigoLinha = 1");
        row("relatorio itens", "SELECT * FROM RelatorioItens WHERE CodigoRelatorio = 1");
        row("venda data", "SELECT * FROM Venda WHERE DataDocumento >= '2026-01-01'");
        row("compra data", "SELECT * FROM Compra WHERE DataDocumento >= '2026-01-01'");
        row("venda linhas doc", "SELECT * FROM VendaProdutos WHERE Codigo = 1");
        row("compra linhas doc", "SELECT * FROM CompraProdutos WHERE Codigo = 1");
        row("venda linhas item",
            "SELECT * FROM VendaProdutos WHERE CodigoProduto = 1 AND CodigoSetor = 1 AND Produto = 0");
        row("compra linhas item",
            "SELECT * FROM CompraProdutos WHERE CodigoProduto = 1 AND CodigoSetor = 1 AND Produto = 0");
        row("procura", "SELECT * FROM Procura WHERE Codigo = 1");
    }

    void lookupsUseAnIndex()
    {
        QFETCH(QString, query);
        TestCompany company(TestCompany::Seed::Empty);
        QSqlQuery plan(company.sql());
        QVERIFY(plan.exec(QStringLiteral("EXPLAIN QUERY PLAN ") + query));
        QString text;
        while (plan.next())
            text += plan.value(3).toString() + QLatin1Char('\n');
        QVERIFY2(text.contains(QLatin1String("INDEX")), qPrintable(text));
    }

    void autoNumberNeverReusesACode_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("key");
        const auto row = [](const char* table, const char* key) {
            QTest::newRow(table) << QString::fromLatin1(table) << QString::fromLatin1(key);
        };
        row("NivelCategoria1", "Codigo");
        row("NivelCategoria4", "Codigo");
        row("Relatorios", "CodigoRelatorio");
    }

    void autoNumberNeverReusesACode()
    {
        QFETCH(QString, table);
        QFETCH(QString, key);
        TestCompany company(TestCompany::Seed::Empty);
        const QString insert
            = QStringLiteral("INSERT INTO %1 (%2) VALUES ('x')")
                  .arg(table, table == QLatin1String("Relatorios") ? "NomeRelatorio" : "Nome");
        const QString last = QStringLiteral("SELECT MAX(%1) FROM %2").arg(key, table);
        company.exec(insert);
        company.exec(insert);
        const int second = company.count(last);
        company.exec(QStringLiteral("DELETE FROM %1 WHERE %2 = %3").arg(table, key).arg(second));
        company.exec(insert);
        QCOMPARE(company.count(last), second + 1);
    }

    void createIsAllOrNothing()
    {
        QTemporaryDir dir;
        const QString name = QStringLiteral("schema-partial");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            db.setDatabaseName(dir.filePath(QStringLiteral("x.mdb")));
            QVERIFY(db.open());
            QSqlQuery query(db);
            // A table met half-way through makes the whole creation fail and leave nothing.
            QVERIFY(query.exec(QStringLiteral("CREATE TABLE Produtos (x)")));
            QVERIFY_THROWS_EXCEPTION(varemo::JetError, varemo::schema::create(db));
            QVERIFY(query.exec(QStringLiteral("SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' "
                                              "AND name NOT LIKE 'sqlite%'")));
            QVERIFY(query.next());
            QCOMPARE(query.value(0).toInt(), 1);
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }
};

VAREMO_TEST(TestSchema);
#include "test_schema.moc"
