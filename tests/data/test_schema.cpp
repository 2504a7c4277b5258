#include "data/errors.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QSqlQuery>
#include <QTest>

#include <array>
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

    // The list the data layer checks at opening must name the tables and columns as created.
    void listsMatchWhatIsCreated()
    {
        QStringList listed = varemo::schema::tableNames();
        listed.sort();
        QCOMPARE(
            column(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
                                  "'sqlite%' ORDER BY name")),
            listed);
        for (const auto& table : varemo::schema::chartTables())
            QVERIFY2(listed.contains(table), qPrintable(table));
        for (const auto& table : listed)
            QCOMPARE(varemo::schema::columnNames(table),
                column(QStringLiteral("PRAGMA table_info(%1)").arg(table), 1));
    }

    // Names compare without regard to case, as the program finds them; a new item is typed and
    // unmarked; a new group's lock is Null, not False; capitals do not sort before small letters.
    void newRowsReadAsExpected()
    {
        const std::array<std::pair<const char*, const char*>, 9> rows {{
            {"NivelCategoria0 (Nome) VALUES ('Receitas Extras')", "Nome = 'RECEITAS extras'"},
            {"NivelCategoria1 (Nome, CodigoCategoria0) VALUES ('Frete', 1)", "Nome = 'fRETE'"},
            {"NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Gas', 1)", "Nome = 'GAS'"},
            {"Relatorios (NomeRelatorio) VALUES ('Mensal')", "NomeRelatorio = 'MENSAL'"},
            {"Linhas (NomeLinha, Insumo) VALUES ('Doces', 0)", "NomeLinha = 'doces'"},
            {"Produtos (CodigoLinha, NomeProduto) VALUES (1, 'Bolo')", "NomeProduto = 'BOLO'"},
            {"NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Novo', 1)",
                "Nome = 'Novo' AND CodigoProduto = 0 AND Marca = 0"},
            {"NivelCategoria2 (Nome, CodigoCategoria1) VALUES ('G', 1)", "Travado IS NULL"},
            {"NivelCategoria3 (Nome, CodigoCategoria2) VALUES ('B', 1), ('a', 1)",
                "Nome = 'a' COLLATE BINARY AND Codigo = (SELECT Codigo FROM NivelCategoria3 ORDER BY Nome "
                "LIMIT 1)"},
        }};
        QStringList missed;
        for (const auto& [values, find] : rows) {
            const QString table = QString::fromLatin1(values).section(QLatin1Char(' '), 0, 0);
            QSqlQuery(m_db).exec(QStringLiteral("INSERT INTO ") + QLatin1String(values));
            if (column(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE %2").arg(table, QLatin1String(find)))
                != QStringList {"1"})
                missed << QLatin1String(find);
        }
        QCOMPARE(missed, QStringList());
    }

    // The lookups the program repeats on a large company go through an index.
    void lookupsUseAnIndex()
    {
        QStringList scanned;
        for (int level = 1; level <= 4; ++level)
            scanned
                << QStringLiteral("NivelCategoria%1 WHERE CodigoCategoria%2 = 1").arg(level).arg(level - 1);
        scanned << "Produtos WHERE CodigoLinha = 1"
                << "RelatorioItens WHERE CodigoRelatorio = 1"
                << "Venda WHERE DataDocumento >= '2026-01-01'"
                << "Compra WHERE DataDocumento >= '2026-01-01'"
                << "VendaProdutos WHERE Codigo = 1"
                << "CompraProdutos WHERE Codigo = 1"
                << "VendaProdutos WHERE CodigoProduto = 1 AND CodigoSetor = 1 AND Produto = 0"
                << "CompraProdutos WHERE CodigoProduto = 1 AND CodigoSetor = 1 AND Produto = 0"
                << "Procura WHERE Codigo = 1";
        scanned.removeIf([this](const QString& query) {
            return column(QStringLiteral("EXPLAIN QUERY PLAN SELECT * FROM ") + query, 3)
                .join(' ')
                .contains("INDEX");
        });
        QCOMPARE(scanned, QStringList());
    }

    // A deleted row's code is never given to a new one.
    void autoNumberNeverReusesACode()
    {
        QStringList reused;
        for (const auto& [table, key, name] : {std::array {"NivelCategoria1", "Codigo", "Nome"},
                 std::array {"NivelCategoria4", "Codigo", "Nome"},
                 std::array {"Relatorios", "CodigoRelatorio", "NomeRelatorio"}}) {
            QSqlQuery query(m_db);
            const QString insert = QStringLiteral("INSERT INTO %1 (%2) VALUES ('x')").arg(table, name);
            const QString last = QStringLiteral("SELECT MAX(%1) FROM %2").arg(key, table);
            query.exec(insert);
            query.exec(insert);
            const int second = column(last).value(0).toInt();
            query.exec(QStringLiteral("DELETE FROM %1 WHERE %2 = %3").arg(table, key).arg(second));
            query.exec(insert);
            if (column(last).value(0).toInt() != second + 1)
                reused << QLatin1String(table);
        }
        QCOMPARE(reused, QStringList());
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