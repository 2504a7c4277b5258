#include "data/demo.h"
#include "data/generator.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using varemo::test::readFile;
using varemo::test::TestCompany;

namespace {

// Rows that break a rule, counted by one query; a rule holds when its count is `expected`.
void rule(const char* name, const QString& query, int expected = 0, bool demoOnly = false)
{
    for (const char* company : {"demo", "gerado"})
        if (!demoOnly || QByteArray(company) == "demo")
            QTest::addRow("%s %s", company, name) << QString::fromLatin1(company) << query << expected;
}

} // namespace

class TestDemo : public QObject {
    Q_OBJECT

    TestCompany m_demo {TestCompany::Seed::Demo};
    TestCompany m_generated {TestCompany::Seed::Empty}; // the large-company generator, at a small size

private slots:
    void initTestCase()
    {
        m_generated.closeSql();
        varemo::demo::generateCompany(m_generated.databasePath(), 500, 5000, 1, TestCompany::demoToday());
    }

    // Every made-up company is shaped like a real one, so that the program meets what it will meet.
    void invariants_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("expected");
        // A year of sales and purchases up to the build, some sales only quoted.
        QString year = QStringLiteral("SELECT NOT EXISTS (SELECT 1 FROM Venda WHERE Venda = 0)");
        for (const char* table : {"Venda", "Compra"})
            year += QStringLiteral(
                " + (SELECT COUNT(*) FROM %1 WHERE DataDocumento NOT BETWEEN '2025-04-01' AND "
                "'2026-03-31') + (SELECT MIN(DataDocumento) > '2025-05-01' OR MAX(DataDocumento) < "
                "'2026-03-24' FROM %1)")
                        .arg(QLatin1String(table));
        rule("a year of documents", year);
        // Null and False both mean "not locked": the program must meet both.
        rule("locks locked, unlocked and Null",
            "SELECT (SELECT COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria1) + (SELECT "
            "COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria2)",
            6, true);
        QString orphans = QStringLiteral("SELECT 0");
        for (int level = 1; level <= 4; ++level)
            orphans
                += QStringLiteral(" + (SELECT COUNT(*) FROM NivelCategoria%1 WHERE CodigoCategoria%2 NOT IN "
                                  "(SELECT Codigo FROM NivelCategoria%2))")
                       .arg(level)
                       .arg(level - 1);
        rule("orphans", orphans);
        rule("names repeated under a parent",
            "SELECT COUNT(*) FROM (SELECT 1 FROM NivelCategoria4 GROUP BY CodigoCategoria3, Nome HAVING "
            "COUNT(*) > 1)");
        // An apostrophe in a name breaks the statements the program builds from names.
        rule("apostrophes, marks, a filled search",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome LIKE '%''%' OR Marca <> 0) + (SELECT "
            "COUNT(*) FROM Produtos WHERE NomeProduto LIKE '%''%') + (SELECT COUNT(*) FROM Procura)");
        // A tied item carries its own product, under the account of that product's line.
        rule("tied to another product",
            "SELECT COUNT(*) FROM NivelCategoria4 i JOIN NivelCategoria3 c ON c.Codigo = "
            "i.CodigoCategoria3 WHERE i.CodigoProduto <> 0 AND NOT EXISTS (SELECT 1 FROM Produtos p JOIN "
            "Linhas l USING (CodigoLinha) WHERE p.CodigoProduto = i.CodigoProduto AND p.NomeProduto = "
            "i.Nome AND l.NomeLinha = c.Nome)");

        // The product-line groups hold, under their exact sector, every line of their kind as an
        // account and every product of it as an item.
        rule("product-line groups",
            "WITH g(sector, grp, insumo) AS (VALUES ('Receitas Clientes', 'Vendas Produtos', 0), "
            "('Receitas Clientes', 'Vendas Insumos', 1), ('Despesas Fornecedores', 'Fornecedores "
            "Produtos', 0), ('Despesas Fornecedores', 'Fornecedores Insumos', 1)), c(code, insumo) AS "
            "(SELECT (SELECT n2.Codigo FROM NivelCategoria2 n2 JOIN NivelCategoria1 n1 ON n1.Codigo = "
            "n2.CodigoCategoria1 WHERE n1.Nome = g.sector COLLATE BINARY AND n2.Nome = g.grp COLLATE "
            "BINARY), insumo FROM g) SELECT COUNT(*) FROM c WHERE code IS NULL OR EXISTS (SELECT Nome "
            "FROM NivelCategoria3 WHERE CodigoCategoria2 = c.code EXCEPT SELECT NomeLinha FROM Linhas "
            "WHERE Insumo = c.insumo) OR EXISTS (SELECT NomeLinha FROM Linhas WHERE Insumo = c.insumo "
            "EXCEPT SELECT Nome FROM NivelCategoria3 WHERE CodigoCategoria2 = c.code) OR (SELECT COUNT(*) "
            "FROM NivelCategoria4 WHERE CodigoCategoria3 IN (SELECT Codigo FROM NivelCategoria3 WHERE "
            "CodigoCategoria2 = c.code)) <> (SELECT COUNT(*) FROM Produtos JOIN Linhas USING "
            "(CodigoLinha) WHERE Insumo = c.insumo)");

        // Product lines point at a product and its line; item lines at an ordinary item of the
        // document's side (income for sales, expense for purchases) and its level-1 sector.
        const QString itemSector = QStringLiteral(
            "(SELECT n2.CodigoCategoria1 FROM NivelCategoria4 n4 JOIN NivelCategoria3 n3 ON n3.Codigo = "
            "n4.CodigoCategoria3 JOIN NivelCategoria2 n2 ON n2.Codigo = n3.CodigoCategoria2 WHERE "
            "n4.Codigo = l.CodigoProduto)");
        for (const auto& [table, category] :
            {std::pair {"VendaProdutos", 1}, std::pair {"CompraProdutos", 2}}) {
            const QString from = QStringLiteral("SELECT COUNT(*) FROM %1 l WHERE ").arg(QLatin1String(table));
            rule(table,
                QStringLiteral(
                    "SELECT ((%1Produto = 1) > 0 AND (%1Produto = 0) > 0) * 1000 + (%1Produto = 1 AND "
                    "CodigoSetor IS NOT (SELECT CodigoLinha FROM Produtos WHERE CodigoProduto = "
                    "l.CodigoProduto)) + (%1Produto = 0 AND CodigoSetor IS NOT %2) + (%1Produto = 0 AND "
                    "(SELECT CodigoCategoria0 FROM NivelCategoria1 WHERE Codigo = l.CodigoSetor) <> %3) + "
                    "(%1ROUND(PrecoUnit, 2) <> PrecoUnit OR PrecoUnit <= 0 OR QdeComprada <= 0)")
                    .arg(from, itemSector)
                    .arg(category),
                1000);
        }
    }
    void invariants()
    {
        QFETCH(QString, which);
        QFETCH(QString, query);
        QFETCH(int, expected);
        QCOMPARE((which == QLatin1String("demo") ? m_demo : m_generated).count(query), expected);
    }

    // An existing installation is kept unless rebuilt, and a rebuild on the same date gives the
    // same company again, byte for byte (the program starting from it is the other suites').
    void buildKeepsAnInstallationUnlessRebuilt()
    {
        QTemporaryDir dir;
        const QDate today = TestCompany::demoToday();
        const QString program = varemo::demo::build(dir.path(), {}, today);
        QCOMPARE(program, QDir::toNativeSeparators(dir.path() + QStringLiteral("/programa/")));
        const QString database = dir.path() + QStringLiteral("/empresa/Dados/empresa.mdb");
        const QByteArray built = readFile(database);
        QCOMPARE(varemo::demo::build(dir.path(), {}, today.addDays(10)), program);
        QCOMPARE(readFile(database), built);
        varemo::test::writeFile(database, "estragado");
        varemo::demo::build(dir.path(), {}, today, true);
        QCOMPARE(readFile(database), built);
        QVERIFY(!QFile::exists(database + QStringLiteral(".novo")));
    }
};

VAREMO_TEST(TestDemo);
#include "test_demo.moc"
