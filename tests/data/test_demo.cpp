#include "data/demo.h"
#include "data/generator.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>
#include <stdexcept>

using varemo::test::TestCompany;

namespace {

// The level-1 ancestor of an item, for the CodigoSetor its ordinary movements must carry.
const char* const itemSector = "(SELECT n2.CodigoCategoria1 FROM NivelCategoria4 n4 "
                               "JOIN NivelCategoria3 n3 ON n3.Codigo = n4.CodigoCategoria3 "
                               "JOIN NivelCategoria2 n2 ON n2.Codigo = n3.CodigoCategoria2 "
                               "WHERE n4.Codigo = l.CodigoProduto)";

QString firstLine(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readLine()).remove(QLatin1Char('\n'));
}

} // namespace

class TestDemo : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_demo;
    std::unique_ptr<TestCompany> m_generated; // the large-company generator, at a small size

    int count(const QString& query) { return m_demo->count(query); }
    TestCompany& company(const QString& which)
    {
        return which == QLatin1String("demo") ? *m_demo : *m_generated;
    }
    static void bothCompanies(const char* name, const std::function<void(QTestData&)>& values)
    {
        for (const char* which : {"demo", "gerado"})
            values(QTest::addRow("%s %s", which, name) << QString::fromLatin1(which));
    }

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

    void counts_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, const char* query, int expected, const char* which = "demo") {
            QTest::addRow("%s %s", which, name)
                << QString::fromLatin1(which) << QString::fromUtf8(query) << expected;
        };
        row("setores", "SELECT COUNT(*) FROM NivelCategoria1", 10);
        row("grupos", "SELECT COUNT(*) FROM NivelCategoria2", 28);
        row("contas", "SELECT COUNT(*) FROM NivelCategoria3", 92);
        row("itens", "SELECT COUNT(*) FROM NivelCategoria4", 383);
        row("linhas", "SELECT COUNT(*) FROM Linhas", 14);
        row("linhas de insumos", "SELECT COUNT(*) FROM Linhas WHERE Insumo = 1", 5);
        row("produtos", "SELECT COUNT(*) FROM Produtos", 116);
        row("empresa",
            "SELECT COUNT(*) FROM DadosEmpresa WHERE Nome = 'Padaria e Confeitaria Pão Dourado "
            "Ltda' AND Morto = 0 AND InicioSemana = 1 AND RetroAtivo = 0",
            1);
        row("procura vazia", "SELECT COUNT(*) FROM Procura", 0);
        // Both kinds of document spread over the whole year up to the day of the build.
        row("ano inteiro",
            "SELECT (SELECT MIN(DataDocumento) < '2025-05-01' AND MAX(DataDocumento) > '2026-03-24' FROM "
            "Venda) "
            "+ (SELECT MIN(DataDocumento) < '2025-05-01' AND MAX(DataDocumento) > '2026-03-24' FROM Compra)",
            2);
        row("5 a 15% de orçamentos", "SELECT SUM(Venda = 0) * 100 / COUNT(*) BETWEEN 5 AND 15 FROM Venda", 1);
        // Every 7th product of a line is an item typed here, the others are tied to their product.
        row("itens ligados", "SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoProduto <> 0", 232 - 22);
        // The generator at a small size.
        row("itens", "SELECT COUNT(*) FROM NivelCategoria4", 500, "gerado");
        row("produtos", "SELECT COUNT(*) FROM Produtos", 125, "gerado");
        row("linhas de venda", "SELECT COUNT(*) FROM VendaProdutos", 3000, "gerado");
        row("linhas de compra", "SELECT COUNT(*) FROM CompraProdutos", 2000, "gerado");
    }

    void counts()
    {
        QFETCH(QString, which);
        QFETCH(QString, query);
        QFETCH(int, expected);
        QCOMPARE(company(which).count(query), expected);
    }

    void shape_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, const char* query, int expected) {
            bothCompanies(name, [&](QTestData& data) { data << QString::fromUtf8(query) << expected; });
        };
        row("categorias",
            "SELECT COUNT(*) FROM NivelCategoria0 WHERE (Codigo, Nome) IN (VALUES (1, 'Receitas'), (2, "
            "'Despesas'))",
            2);
        row("órfãos",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria1 WHERE CodigoCategoria0 NOT IN "
            "(SELECT Codigo FROM NivelCategoria0)) + (SELECT COUNT(*) FROM NivelCategoria2 WHERE "
            "CodigoCategoria1 NOT IN (SELECT Codigo FROM NivelCategoria1)) + (SELECT COUNT(*) FROM "
            "NivelCategoria3 WHERE CodigoCategoria2 NOT IN (SELECT Codigo FROM NivelCategoria2)) + "
            "(SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoCategoria3 NOT IN "
            "(SELECT Codigo FROM NivelCategoria3))",
            0);
        row("nomes repetidos sob um pai",
            "SELECT COUNT(*) FROM (SELECT 1 FROM NivelCategoria4 GROUP BY CodigoCategoria3, Nome HAVING "
            "COUNT(*) > 1)",
            0);
        row("nomes com apóstrofo",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome LIKE '%''%') + "
            "(SELECT COUNT(*) FROM Produtos WHERE NomeProduto LIKE '%''%')",
            0);
        row("linha sem produtos",
            "SELECT COUNT(*) FROM Linhas WHERE CodigoLinha NOT IN (SELECT CodigoLinha FROM Produtos)", 1);
        // A tied item carries its own product, under the account of that product's line.
        row("ligados a outro produto",
            "SELECT COUNT(*) FROM NivelCategoria4 i JOIN NivelCategoria3 c ON c.Codigo = i.CodigoCategoria3 "
            "WHERE i.CodigoProduto <> 0 AND NOT EXISTS (SELECT 1 FROM Produtos p JOIN Linhas l USING "
            "(CodigoLinha) WHERE p.CodigoProduto = i.CodigoProduto AND p.NomeProduto = i.Nome "
            "AND l.NomeLinha = c.Nome)",
            0);
        row("sem marcas", "SELECT COUNT(*) FROM NivelCategoria4 WHERE Marca <> 0", 0);
        row("datas no ano",
            "SELECT (SELECT COUNT(*) FROM Venda WHERE DataDocumento NOT BETWEEN '2025-04-01' AND "
            "'2026-03-31') "
            "+ (SELECT COUNT(*) FROM Compra WHERE DataDocumento NOT BETWEEN '2025-04-01' AND '2026-03-31')",
            0);
        row("vendas não concluídas", "SELECT COUNT(*) > 0 FROM Venda WHERE Venda = 0", 1);
        row("relatórios", "SELECT COUNT(*) FROM Relatorios", 2);
    }

    void shape()
    {
        QFETCH(QString, which);
        QFETCH(QString, query);
        QFETCH(int, expected);
        QCOMPARE(company(which).count(query), expected);
    }

    void generatorRefusesATinyChart()
    {
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
            varemo::demo::generateCompany(m_generated->root() + QStringLiteral("x.mdb"), 7, 10));
    }

    // The product-line groups hold, under their exact sector, every line of their kind as an
    // account and every product of it as an item.
    void productLineGroups_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("sector");
        QTest::addColumn<QString>("group");
        QTest::addColumn<int>("insumo");
        const auto row = [](const char* sector, const char* group, int insumo) {
            bothCompanies(group, [&](QTestData& data) {
                data << QString::fromUtf8(sector) << QString::fromUtf8(group) << insumo;
            });
        };
        row("Receitas Clientes", "Vendas Produtos", 0);
        row("Receitas Clientes", "Vendas Insumos", 1);
        row("Despesas Fornecedores", "Fornecedores Produtos", 0);
        row("Despesas Fornecedores", "Fornecedores Insumos", 1);
    }

    void productLineGroups()
    {
        QFETCH(QString, which);
        const auto count = [&](const QString& query) { return company(which).count(query); };
        QFETCH(QString, sector);
        QFETCH(QString, group);
        QFETCH(int, insumo);
        const QString where
            = QStringLiteral("FROM NivelCategoria2 g JOIN NivelCategoria1 s ON s.Codigo = "
                             "g.CodigoCategoria1 WHERE s.Nome = '%1' COLLATE BINARY AND g.Nome = "
                             "'%2' COLLATE BINARY")
                  .arg(sector, group);
        QCOMPARE(count(QStringLiteral("SELECT COUNT(*) ") + where), 1);
        const QString grupo = QStringLiteral("(SELECT g.Codigo %1)").arg(where);
        const QString accounts
            = QStringLiteral("SELECT Nome FROM NivelCategoria3 WHERE CodigoCategoria2 = %1").arg(grupo);
        const QString lines = QStringLiteral("SELECT NomeLinha FROM Linhas WHERE Insumo = %1").arg(insumo);
        QCOMPARE(count(QStringLiteral("SELECT COUNT(*) FROM (%1 EXCEPT %2)").arg(accounts, lines)), 0);
        QCOMPARE(count(QStringLiteral("SELECT COUNT(*) FROM (%1 EXCEPT %2)").arg(lines, accounts)), 0);
        QCOMPARE(count(QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoCategoria3 IN "
                                      "(SELECT Codigo FROM NivelCategoria3 WHERE CodigoCategoria2 = %1)")
                           .arg(grupo)),
            count(QStringLiteral("SELECT COUNT(*) FROM Produtos JOIN Linhas USING (CodigoLinha) "
                                 "WHERE Insumo = %1")
                      .arg(insumo)));
    }

    // Null and False are both "not locked" but the file keeps them apart.
    void locks_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("travado");
        QTest::newRow("setor travado") << 1 << "Receitas Clientes" << QVariant(1);
        QTest::newRow("setor destravado") << 1 << "Receitas Financeiras" << QVariant(0);
        QTest::newRow("setor nulo") << 1 << "Outras Receitas" << QVariant();
        QTest::newRow("grupo travado") << 2 << "Fornecedores Produtos" << QVariant(1);
        QTest::newRow("grupo destravado") << 2 << "Vendas Insumos" << QVariant(0);
        QTest::newRow("grupo nulo") << 2 << "Ocupação" << QVariant();
    }

    void locks()
    {
        QFETCH(int, level);
        QFETCH(QString, name);
        QFETCH(QVariant, travado);
        const QVariant stored = m_demo->scalar(
            QStringLiteral("SELECT Travado FROM NivelCategoria%1 WHERE Nome = '%2'").arg(level).arg(name));
        QCOMPARE(stored.isNull(), travado.isNull());
        if (!travado.isNull())
            QCOMPARE(stored.toInt(), travado.toInt());
    }

    // Product lines point at a product and its line; item lines at an ordinary item of the
    // document's side (income for sales, expense for purchases) and its level-1 sector.
    void movementLines_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("lines");
        QTest::addColumn<int>("category");
        bothCompanies("vendas", [](QTestData& data) { data << QStringLiteral("VendaProdutos") << 1; });
        bothCompanies("compras", [](QTestData& data) { data << QStringLiteral("CompraProdutos") << 2; });
    }

    void movementLines()
    {
        QFETCH(QString, which);
        const auto count = [&](const QString& query) { return company(which).count(query); };
        QFETCH(QString, lines);
        QFETCH(int, category);
        const QString from = QStringLiteral("SELECT COUNT(*) FROM %1 l WHERE ").arg(lines);
        QVERIFY(count(from + QStringLiteral("Produto = 1")) > 0);
        QVERIFY(count(from + QStringLiteral("Produto = 0")) > 0);
        QCOMPARE(count(from
                     + QStringLiteral("Produto = 1 AND CodigoSetor IS NOT (SELECT CodigoLinha FROM "
                                      "Produtos WHERE CodigoProduto = l.CodigoProduto)")),
            0);
        QCOMPARE(
            count(from
                + QStringLiteral("Produto = 0 AND CodigoSetor IS NOT %1").arg(QLatin1String(itemSector))),
            0);
        QCOMPARE(count(from
                     + QStringLiteral("Produto = 0 AND (SELECT CodigoCategoria0 FROM NivelCategoria1 "
                                      "WHERE Codigo = l.CodigoSetor) <> %1")
                           .arg(category)),
            0);
        QCOMPARE(count(from
                     + QStringLiteral("ROUND(PrecoUnit, 2) <> PrecoUnit OR PrecoUnit <= 0 "
                                      "OR QdeComprada <= 0")),
            0);
    }

    // Saved report items point at existing rows; "Todos" is only stored where every child is
    // "Todos" too, "Alguns" where some child is chosen.
    void reportItems_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("imagem"); // 0: not stored
        QTest::newRow("despesas") << "Despesas" << 2;
        QTest::newRow("grupo inteiro") << "Despesas/Despesas Administrativas/Utilidades" << 3;
        QTest::newRow("conta inteira") << "Despesas/Despesas Administrativas/Ocupação/Aluguel" << 3;
        QTest::newRow("conta em parte")
            << "Despesas/Despesas Financeiras/Encargos Bancários/Tarifas bancárias" << 2;
        QTest::newRow("item escolhido")
            << "Despesas/Despesas Financeiras/Encargos Bancários/Tarifas bancárias/Tarifa de boletos" << 3;
        QTest::newRow("item não escolhido")
            << "Despesas/Despesas Financeiras/Encargos Bancários/Tarifas bancárias/Tarifa de TED e PIX" << 0;
        QTest::newRow("conta fora") << "Despesas/Despesas Administrativas/Ocupação/Seguros" << 0;
        QTest::newRow("receitas fora") << "Receitas" << 0;
    }

    void reportItems()
    {
        QFETCH(QString, path);
        QFETCH(int, imagem);
        const QStringList names = path.split(QLatin1Char('/'));
        const int level = static_cast<int>(names.size()) - 1;
        QString code = QStringLiteral("(SELECT Codigo FROM NivelCategoria0 WHERE Nome = '%1')").arg(names[0]);
        for (int l = 1; l <= level; ++l)
            code = QStringLiteral(
                "(SELECT Codigo FROM NivelCategoria%1 WHERE Nome = '%2' AND CodigoCategoria%3 = %4)")
                       .arg(l)
                       .arg(names[l])
                       .arg(l - 1)
                       .arg(code);
        QVERIFY2(!m_demo->scalar(QStringLiteral("SELECT %1").arg(code)).isNull(), qPrintable(path));
        const QVariant stored = m_demo->scalar(
            QStringLiteral("SELECT Imagem FROM RelatorioItens i JOIN Relatorios r USING (CodigoRelatorio) "
                           "WHERE NomeRelatorio = 'Despesas Fixas' AND Nivel = 'N%1' AND CodigoConta = %2")
                .arg(level)
                .arg(code));
        QCOMPARE(stored.isNull() ? 0 : stored.toInt(), imagem);
    }

    void reportItemsPointAtRows()
    {
        QCOMPARE(count(QStringLiteral("SELECT COUNT(*) FROM Relatorios WHERE NomeRelatorio IN "
                                      "('Resultado Mensal', 'Despesas Fixas')")),
            2);
        QString exists;
        for (int level = 0; level <= 4; ++level)
            exists += QStringLiteral(
                " OR (Nivel = 'N%1' AND CodigoConta IN (SELECT Codigo FROM NivelCategoria%1))")
                          .arg(level);
        QCOMPARE(count(QStringLiteral(
                     "SELECT COUNT(*) FROM RelatorioItens WHERE NOT (0%1) OR Imagem NOT IN (2, 3) "
                     "OR CodigoRelatorio NOT IN (SELECT CodigoRelatorio FROM Relatorios)")
                           .arg(exists)),
            0);
    }

    void installationFiles()
    {
        const QString data = firstLine(m_demo->programFolder() + QStringLiteral("Caminho.dad"));
        QCOMPARE(data, QDir::toNativeSeparators(m_demo->dataFolder()));
        QVERIFY(data.endsWith(QDir::separator()));
        QVERIFY(QDir::isAbsolutePath(data));
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
        const QString digest = QStringLiteral("SELECT (SELECT COUNT(*) || '/' || TOTAL(PrecoUnit * "
                                              "QdeComprada) || '/' || TOTAL(CodigoProduto * Codigo) "
                                              "FROM VendaProdutos) || (SELECT COUNT(*) || '/' || "
                                              "TOTAL(PrecoUnit * QdeComprada) FROM CompraProdutos) "
                                              "|| (SELECT GROUP_CONCAT(DataDocumento || Venda) FROM Venda)");
        QCOMPARE(other.scalar(digest).toString(), m_demo->scalar(digest).toString());
    }
};

VAREMO_TEST(TestDemo);
#include "test_demo.moc"
