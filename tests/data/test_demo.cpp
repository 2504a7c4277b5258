#include "data/demo.h"
#include "data/generator.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDir>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <stdexcept>
#include <utility>

using varemo::test::TestCompany;

namespace {

// The level-1 ancestor of an item, the CodigoSetor its ordinary movements must carry.
const char* const itemSector = "(SELECT n2.CodigoCategoria1 FROM NivelCategoria4 n4 "
                               "JOIN NivelCategoria3 n3 ON n3.Codigo = n4.CodigoCategoria3 "
                               "JOIN NivelCategoria2 n2 ON n2.Codigo = n3.CodigoCategoria2 "
                               "WHERE n4.Codigo = l.CodigoProduto)";

void addRow(const QString& which, const QString& name, const QString& query, int expected)
{
    const QStringList companies = which.isEmpty() ? QStringList {"demo", "gerado"} : QStringList {which};
    for (const QString& company : companies)
        QTest::addRow("%s %s", qPrintable(company), qPrintable(name)) << company << query << expected;
}

void addRow(const char* which, const char* name, const char* query, int expected)
{
    addRow(QString::fromLatin1(which), QString::fromUtf8(name), QString::fromUtf8(query), expected);
}

} // namespace

class TestDemo : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_demo;
    std::unique_ptr<TestCompany> m_generated; // the large-company generator, at a small size

private slots:
    void initTestCase()
    {
        m_demo = std::make_unique<TestCompany>(TestCompany::Seed::Demo);
        m_generated = std::make_unique<TestCompany>(TestCompany::Seed::Empty);
        m_generated->closeSql();
        varemo::demo::generateCompany(m_generated->databasePath(), 500, 5000, 1, TestCompany::demoToday());
    }
    void cleanupTestCase()
    {
        m_demo.reset();
        m_generated.reset();
    }

    // Rules every made-up company keeps, so that the program meets data shaped like a real one.
    // Each query counts what it checks; "" runs it on both companies.
    void invariants_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("expected");
        addRow("demo", "empresa",
            "SELECT COUNT(*) FROM DadosEmpresa WHERE Nome = 'Padaria e Confeitaria Pão Dourado Ltda' "
            "AND Morto = 0 AND InicioSemana = 1 AND RetroAtivo = 0",
            1);
        addRow("demo", "a year of both documents up to the build",
            "SELECT (SELECT MIN(DataDocumento) < '2025-05-01' AND MAX(DataDocumento) > '2026-03-24' "
            "FROM Venda) + (SELECT MIN(DataDocumento) < '2025-05-01' AND MAX(DataDocumento) > "
            "'2026-03-24' FROM Compra)",
            2);
        addRow("demo", "5 to 15% quotes",
            "SELECT SUM(Venda = 0) * 100 / COUNT(*) BETWEEN 5 AND 15 FROM Venda", 1);
        // Null and False both mean "not locked", and the file must hold both for the program to meet them.
        addRow("demo", "locks locked, unlocked and Null",
            "SELECT (SELECT COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria1) "
            "+ (SELECT COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria2)",
            6);
        addRow("gerado", "items asked for", "SELECT COUNT(*) FROM NivelCategoria4", 500);
        addRow("gerado", "movement lines asked for",
            "SELECT (SELECT COUNT(*) FROM VendaProdutos) + (SELECT COUNT(*) FROM CompraProdutos)", 5000);
        addRow("", "categories",
            "SELECT COUNT(*) FROM NivelCategoria0 WHERE (Codigo, Nome) IN "
            "(VALUES (1, 'Receitas'), (2, 'Despesas'))",
            2);
        addRow("", "orphans",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria1 WHERE CodigoCategoria0 NOT IN (SELECT Codigo FROM "
            "NivelCategoria0)) + (SELECT COUNT(*) FROM NivelCategoria2 WHERE CodigoCategoria1 NOT IN (SELECT "
            "Codigo FROM NivelCategoria1)) + (SELECT COUNT(*) FROM NivelCategoria3 WHERE CodigoCategoria2 "
            "NOT IN (SELECT Codigo FROM NivelCategoria2)) + (SELECT COUNT(*) FROM NivelCategoria4 WHERE "
            "CodigoCategoria3 NOT IN (SELECT Codigo FROM NivelCategoria3))",
            0);
        addRow("", "names repeated under a parent",
            "SELECT COUNT(*) FROM (SELECT 1 FROM NivelCategoria4 "
            "GROUP BY CodigoCategoria3, Nome HAVING COUNT(*) > 1)",
            0);
        addRow("", "apostrophes",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome LIKE '%''%') + "
            "(SELECT COUNT(*) FROM Produtos WHERE NomeProduto LIKE '%''%')",
            0);
        addRow("", "a line without products",
            "SELECT COUNT(*) FROM Linhas WHERE CodigoLinha NOT IN (SELECT CodigoLinha FROM Produtos)", 1);
        // A tied item carries its own product, under the account of that product's line.
        addRow("", "tied to another product",
            "SELECT COUNT(*) FROM NivelCategoria4 i JOIN NivelCategoria3 c ON c.Codigo = i.CodigoCategoria3 "
            "WHERE i.CodigoProduto <> 0 AND NOT EXISTS (SELECT 1 FROM Produtos p JOIN Linhas l USING "
            "(CodigoLinha) WHERE p.CodigoProduto = i.CodigoProduto AND p.NomeProduto = i.Nome "
            "AND l.NomeLinha = c.Nome)",
            0);
        addRow("", "no marks", "SELECT COUNT(*) FROM NivelCategoria4 WHERE Marca <> 0", 0);
        addRow("", "dates in the year",
            "SELECT (SELECT COUNT(*) FROM Venda WHERE DataDocumento NOT BETWEEN "
            "'2025-04-01' AND '2026-03-31') + (SELECT COUNT(*) FROM Compra WHERE DataDocumento NOT BETWEEN "
            "'2025-04-01' AND '2026-03-31')",
            0);
        addRow("", "quotes", "SELECT COUNT(*) > 0 FROM Venda WHERE Venda = 0", 1);
        addRow("", "empty search table", "SELECT COUNT(*) FROM Procura", 0);
        addRow("", "reports",
            "SELECT COUNT(*) FROM Relatorios WHERE NomeRelatorio IN "
            "('Resultado Mensal', 'Despesas Fixas')",
            2);

        // The product-line groups hold, under their exact sector, every line of their kind as an
        // account and every product of it as an item.
        const char* const groups[][2] = {{"Receitas Clientes", "Vendas Produtos"},
            {"Receitas Clientes", "Vendas Insumos"}, {"Despesas Fornecedores", "Fornecedores Produtos"},
            {"Despesas Fornecedores", "Fornecedores Insumos"}};
        for (const auto& [sector, group] : groups) {
            const int insumo = QByteArray(group).endsWith("Insumos");
            const QString code = QStringLiteral(
                "(SELECT g.Codigo FROM NivelCategoria2 g JOIN NivelCategoria1 s "
                "ON s.Codigo = g.CodigoCategoria1 WHERE s.Nome = '%1' COLLATE BINARY AND g.Nome = '%2' "
                "COLLATE BINARY)")
                                     .arg(QString::fromUtf8(sector), QString::fromUtf8(group));
            const QString accounts
                = QStringLiteral("SELECT Nome FROM NivelCategoria3 WHERE CodigoCategoria2 = %1").arg(code);
            const QString lines
                = QStringLiteral("SELECT NomeLinha FROM Linhas WHERE Insumo = %1").arg(insumo);
            addRow(QString(), QString::fromUtf8(group),
                QStringLiteral(
                    "SELECT %1 IS NOT NULL AND NOT EXISTS (%2 EXCEPT %3) AND NOT EXISTS (%3 EXCEPT %2) "
                    "AND (SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoCategoria3 IN (SELECT Codigo FROM "
                    "NivelCategoria3 WHERE CodigoCategoria2 = %1)) = (SELECT COUNT(*) FROM Produtos "
                    "JOIN Linhas USING (CodigoLinha) WHERE Insumo = %4)")
                    .arg(code, accounts, lines)
                    .arg(insumo),
                1);
        }

        // Product lines point at a product and its line; item lines at an ordinary item of the
        // document's side (income for sales, expense for purchases) and its level-1 sector.
        for (const auto& [table, category] :
            {std::pair {"VendaProdutos", 1}, std::pair {"CompraProdutos", 2}}) {
            const QString from = QStringLiteral("SELECT COUNT(*) FROM %1 l WHERE ").arg(QLatin1String(table));
            addRow(QString(), QStringLiteral("%1 of both kinds").arg(QLatin1String(table)),
                QStringLiteral("SELECT (%1Produto = 1) > 0 AND (%1Produto = 0) > 0").arg(from), 1);
            addRow(QString(), QStringLiteral("%1 pointing elsewhere").arg(QLatin1String(table)),
                QStringLiteral(
                    "SELECT (%1Produto = 1 AND CodigoSetor IS NOT (SELECT CodigoLinha FROM Produtos "
                    "WHERE CodigoProduto = l.CodigoProduto)) + (%1Produto = 0 AND CodigoSetor IS NOT %2) "
                    "+ (%1Produto = 0 AND (SELECT CodigoCategoria0 FROM NivelCategoria1 WHERE Codigo = "
                    "l.CodigoSetor) <> %3) + (%1ROUND(PrecoUnit, 2) <> PrecoUnit OR PrecoUnit <= 0 OR "
                    "QdeComprada <= 0)")
                    .arg(from, QLatin1String(itemSector))
                    .arg(category),
                0);
        }

        // Saved report items point at existing rows; "Todos" (3) is only stored where every
        // child is "Todos" too, "Alguns" (2) only where some child is chosen.
        QString exists;
        for (int level = 0; level <= 4; ++level)
            exists += QStringLiteral(" OR (Nivel = 'N%1' AND CodigoConta IN (SELECT Codigo FROM "
                                     "NivelCategoria%1))")
                          .arg(level);
        addRow("demo", "report items pointing at rows",
            QStringLiteral(
                "SELECT COUNT(*) FROM RelatorioItens WHERE NOT (0%1) OR Imagem NOT IN (2, 3) OR "
                "(Nivel = 'N4' AND Imagem = 2) OR CodigoRelatorio NOT IN (SELECT CodigoRelatorio FROM "
                "Relatorios)")
                .arg(exists),
            0);
        for (int level = 0; level < 4; ++level) {
            const QString child = QStringLiteral(
                "FROM NivelCategoria%1 c JOIN RelatorioItens k ON k.CodigoConta "
                "= c.Codigo AND k.Nivel = 'N%1' AND k.CodigoRelatorio = r.CodigoRelatorio WHERE "
                "c.CodigoCategoria%2 = r.CodigoConta")
                                      .arg(level + 1)
                                      .arg(level);
            addRow(QStringLiteral("demo"), QStringLiteral("report marks of level %1").arg(level),
                QStringLiteral(
                    "SELECT COUNT(*) FROM RelatorioItens r WHERE Nivel = 'N%1' AND ((Imagem = 2 AND "
                    "NOT EXISTS (SELECT 1 %2)) OR (Imagem = 3 AND (SELECT COUNT(*) FROM NivelCategoria%3 "
                    "WHERE CodigoCategoria%1 = r.CodigoConta) <> (SELECT COUNT(*) %2 AND k.Imagem = 3)))")
                    .arg(level)
                    .arg(child)
                    .arg(level + 1),
                0);
        }
    }

    void invariants()
    {
        QFETCH(QString, which);
        QFETCH(QString, query);
        QFETCH(int, expected);
        QCOMPARE((which == QLatin1String("demo") ? m_demo : m_generated)->count(query), expected);
    }

    void generatorRefusesATinyChart()
    {
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
            varemo::demo::generateCompany(m_generated->root() + QStringLiteral("x.mdb"), 7, 10));
    }

    void installationFiles()
    {
        const QString data = QString::fromUtf8(
            varemo::test::readFile(m_demo->programFolder() + QStringLiteral("Caminho.dad"))
                .split('\n')
                .first());
        QCOMPARE(data, QDir::toNativeSeparators(m_demo->dataFolder()));
        QVERIFY(data.endsWith(QDir::separator()) && QDir::isAbsolutePath(data));
        QVERIFY(QFile::exists(data + QStringLiteral("Empresa.ini")));
        QVERIFY(QDir(data + QStringLiteral("Imagens")).exists());
        const QString sounds = qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/Sons");
        const auto wavs = QDir(sounds).entryList(QDir::Files);
        for (const auto& wav : wavs)
            QVERIFY2(QFile::exists(m_demo->programFolder() + QStringLiteral("Sons/") + wav), qPrintable(wav));
    }

    void buildKeepsAnInstallationUnlessRebuilt()
    {
        QTemporaryDir dir;
        const QDate today = TestCompany::demoToday();
        const QString program = varemo::demo::build(dir.path(), {}, today);
        QCOMPARE(program, QDir::toNativeSeparators(dir.path() + QStringLiteral("/programa/")));
        const QString database = dir.path() + QStringLiteral("/empresa/Dados/empresa.mdb");
        // Reads the company's name, then changes it, so that a rebuilt file shows.
        const auto companyName = [&] {
            const QString name = QStringLiteral("demo-twice");
            QString value;
            {
                QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
                db.setDatabaseName(database);
                db.open();
                QSqlQuery query(db);
                query.exec(QStringLiteral("SELECT Nome FROM DadosEmpresa"));
                value = query.next() ? query.value(0).toString() : QString();
                query.exec(QStringLiteral("UPDATE DadosEmpresa SET Nome = 'Alterado'"));
                query.finish();
                db.close();
            }
            QSqlDatabase::removeDatabase(name);
            return value;
        };
        QCOMPARE(companyName(), QStringLiteral("Padaria e Confeitaria Pão Dourado Ltda"));
        QCOMPARE(varemo::demo::build(dir.path(), {}, today.addDays(10)), program);
        QCOMPARE(companyName(), QStringLiteral("Alterado"));
        varemo::demo::build(dir.path(), {}, today, true);
        QCOMPARE(companyName(), QStringLiteral("Padaria e Confeitaria Pão Dourado Ltda"));
        QVERIFY(!QFile::exists(database + QStringLiteral(".novo")));
    }

    void sameDateSameCompany()
    {
        TestCompany other(TestCompany::Seed::Demo);
        const QString digest = QStringLiteral(
            "SELECT (SELECT COUNT(*) || '/' || TOTAL(PrecoUnit * QdeComprada) "
            "|| '/' || TOTAL(CodigoProduto * Codigo) FROM VendaProdutos) || (SELECT COUNT(*) || '/' || "
            "TOTAL(PrecoUnit * QdeComprada) FROM CompraProdutos) || (SELECT GROUP_CONCAT(DataDocumento || "
            "Venda) FROM Venda)");
        QCOMPARE(other.scalar(digest).toString(), m_demo->scalar(digest).toString());
    }
};

VAREMO_TEST(TestDemo);
#include "test_demo.moc"
