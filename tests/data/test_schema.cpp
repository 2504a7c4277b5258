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

private:
    static QStringList columnsOf(QSqlDatabase db, const QString& table)
    {
        QStringList names;
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA table_info(%1)").arg(table));
        while (query.next())
            names << query.value(1).toString();
        return names;
    }

private slots:
    void fieldsTheProgramReads_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QStringList>("fields");
        const auto row = [](const char* table, const char* fields) {
            QTest::newRow(table) << QString::fromLatin1(table)
                                 << QString::fromLatin1(fields).split(QLatin1Char(' '));
        };
        row("DadosEmpresa", "Nome Morto InicioSemana RetroAtivo");
        row("NivelCategoria0", "Codigo Nome");
        row("NivelCategoria1", "Codigo Nome CodigoCategoria0 Travado");
        row("NivelCategoria2", "Codigo Nome CodigoCategoria1 Travado");
        row("NivelCategoria3", "Codigo Nome CodigoCategoria2");
        row("NivelCategoria4", "Codigo Nome CodigoCategoria3 CodigoProduto Marca");
        row("Procura", "Codigo Marca Marca1 Marca2 Marca3 Marca4 Marca5");
        row("Relatorios", "CodigoRelatorio NomeRelatorio");
        row("RelatorioItens", "CodigoRelatorio Nivel CodigoConta Imagem");
        row("Linhas", "CodigoLinha NomeLinha Insumo");
        row("Produtos", "CodigoProduto CodigoLinha NomeProduto");
        row("Venda", "Codigo DataDocumento Venda");
        row("VendaProdutos", "Codigo CodigoProduto CodigoSetor Produto PrecoUnit QdeComprada");
        row("Compra", "Codigo DataDocumento");
        row("CompraProdutos", "Codigo CodigoProduto CodigoSetor Produto PrecoUnit QdeComprada");
    }

    void fieldsTheProgramReads()
    {
        QFETCH(QString, table);
        QFETCH(QStringList, fields);
        TestCompany company(TestCompany::Seed::Empty);
        const QStringList created = columnsOf(company.sql(), table);
        for (const auto& field : fields)
            QVERIFY2(created.contains(field), qPrintable(table + QLatin1Char('.') + field));
        QVERIFY(varemo::schema::tableNames().contains(table));
        // The list the data layer checks at opening must name the columns as created.
        QCOMPARE(varemo::schema::columnNames(table), created);
    }

    void listedTablesAreTheCreatedOnes()
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
    }

    void newRowsReadAsExpected_data()
    {
        QTest::addColumn<QString>("insert");
        QTest::addColumn<QString>("find");
        QTest::newRow("nivel0") << "INSERT INTO NivelCategoria0 (Nome) VALUES ('Receitas Extras')"
                                << "SELECT COUNT(*) FROM NivelCategoria0 WHERE Nome = 'RECEITAS extras'";
        QTest::newRow("nivel1") << "INSERT INTO NivelCategoria1 (Nome, CodigoCategoria0) VALUES ('Frete', 1)"
                                << "SELECT COUNT(*) FROM NivelCategoria1 WHERE Nome = 'fRETE'";
        QTest::newRow("nivel4") << "INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Gas', 1)"
                                << "SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome = 'GAS'";
        QTest::newRow("relatorio") << "INSERT INTO Relatorios (NomeRelatorio) VALUES ('Mensal')"
                                   << "SELECT COUNT(*) FROM Relatorios WHERE NomeRelatorio = 'MENSAL'";
        QTest::newRow("linha") << "INSERT INTO Linhas (NomeLinha, Insumo) VALUES ('Doces', 0)"
                               << "SELECT COUNT(*) FROM Linhas WHERE NomeLinha = 'doces'";
        QTest::newRow("produto") << "INSERT INTO Produtos (CodigoLinha, NomeProduto) VALUES (1, 'Bolo')"
                                 << "SELECT COUNT(*) FROM Produtos WHERE NomeProduto = 'BOLO'";
        // A new item is typed, unmarked; a new group's lock is Null, not False.
        QTest::newRow("item novo")
            << "INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Novo', 1)"
            << "SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoProduto = 0 AND Marca = 0";
        QTest::newRow("grupo novo") << "INSERT INTO NivelCategoria2 (Nome, CodigoCategoria1) VALUES ('G', 1)"
                                    << "SELECT COUNT(*) FROM NivelCategoria2 WHERE Travado IS NULL";
        // Ordered by name, capitals must not come before every small letter.
        QTest::newRow("ordem")
            << "INSERT INTO NivelCategoria3 (Nome, CodigoCategoria2) VALUES ('B', 1), ('a', 1)"
            << "SELECT Nome = 'a' COLLATE BINARY FROM NivelCategoria3 ORDER BY Nome LIMIT 1";
    }

    void newRowsReadAsExpected()
    {
        QFETCH(QString, insert);
        QFETCH(QString, find);
        TestCompany company(TestCompany::Seed::Empty);
        company.exec(insert);
        QCOMPARE(company.count(find), 1);
    }

    void lookupsUseAnIndex_data()
    {
        QTest::addColumn<QString>("query");
        const auto row
            = [](const char* name, const char* query) { QTest::newRow(name) << QString::fromLatin1(query); };
        row("nivel1 pai", "SELECT * FROM NivelCategoria1 WHERE CodigoCategoria0 = 1");
        row("nivel2 pai", "SELECT * FROM NivelCategoria2 WHERE CodigoCategoria1 = 1");
        row("nivel3 pai", "SELECT * FROM NivelCategoria3 WHERE CodigoCategoria2 = 1");
        row("nivel4 pai", "SELECT * FROM NivelCategoria4 WHERE CodigoCategoria3 = 1");
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
        QTest::addColumn<QString>("values");
        QTest::newRow("nivel1") << "NivelCategoria1"
                                << "Codigo"
                                << "(Nome) VALUES ('x')";
        QTest::newRow("nivel4") << "NivelCategoria4"
                                << "Codigo"
                                << "(Nome) VALUES ('x')";
        QTest::newRow("relatorios") << "Relatorios"
                                    << "CodigoRelatorio"
                                    << "(NomeRelatorio) VALUES ('x')";
    }

    void autoNumberNeverReusesACode()
    {
        QFETCH(QString, table);
        QFETCH(QString, key);
        QFETCH(QString, values);
        TestCompany company(TestCompany::Seed::Empty);
        const QString insert = QStringLiteral("INSERT INTO %1 %2").arg(table, values);
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
