#include "data/database.h"
#include "data/generator.h"
#include "reports/totals.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using namespace varemo::totals;

namespace {

const QDate March1(2026, 3, 1);
const QDate March31(2026, 3, 31);

ItemPath path(const QString& names)
{
    const QStringList n = names.split(QLatin1Char('>'));
    return {n[0], n[1], n[2], n[3], n[4]};
}

// Every item of the chart, plus each with its names in capitals and one name no row has.
std::vector<ItemPath> everyItem(Database& database)
{
    std::vector<ItemPath> items;
    auto join = database.openRecordset(ancestorJoinQuery(4, {}), RecordsetType::Snapshot);
    for (; !join->eof(); join->moveNext()) {
        ItemPath p;
        QString* names[] = {&p.categoria, &p.setor, &p.grupo, &p.conta, &p.item};
        for (int level = 0; level < 5; ++level)
            *names[level] = join->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString();
        items.push_back(p);
        p.item = p.item.toUpper();
        p.conta = p.conta.toUpper();
        items.push_back(p);
        p.item += QStringLiteral(" X");
        items.push_back(p);
    }
    return items;
}

} // namespace

class TestTotals : public QObject {
    Q_OBJECT

private slots:
    // The grouped pass gives, item by item, what the one-item routines give.
    void bulkEqualsLiteral_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<QDate>("end");
        QTest::newRow("seeded, March") << 0 << March1 << March31;
        QTest::newRow("seeded, ends only") << 0 << March31 << QDate(2026, 4, 1);
        QTest::newRow("seeded, from a non-sale day") << 0 << QDate(2026, 3, 10) << QDate(2026, 3, 20);
        QTest::newRow("generated, year") << 60 << QDate(2025, 4, 1) << March31;
        QTest::newRow("generated, a week") << 60 << QDate(2026, 2, 2) << QDate(2026, 2, 8);
        QTest::newRow("generated, one day") << 60 << QDate(2025, 12, 31) << QDate(2025, 12, 31);
    }
    void bulkEqualsLiteral()
    {
        QFETCH(int, items);
        QFETCH(QDate, start);
        QFETCH(QDate, end);
        test::TestCompany company;
        company.closeSql();
        if (items > 0) {
            demo::generateCompany(company.databasePath(), items, 2000, 7, March31);
            // Some quotes not taken, and a sales group under an ordinary sector.
            company.exec(QStringLiteral("UPDATE Venda SET Venda = 0 WHERE Codigo % 4 = 0"));
            company.exec(QStringLiteral(
                "UPDATE NivelCategoria2 SET Nome = 'Vendas Produtos' WHERE Codigo = "
                "(SELECT MIN(NivelCategoria2.Codigo) FROM NivelCategoria2 JOIN NivelCategoria1 "
                "ON NivelCategoria1.Codigo = CodigoCategoria1 WHERE NivelCategoria1.Nome "
                "NOT IN ('Receitas Clientes', 'Despesas Fornecedores'))"));
            QCOMPARE(company.count(QStringLiteral("SELECT COUNT(*) FROM Venda WHERE Venda = 0")) > 0, true);
            company.closeSql();
        }
        auto database = Database::open(company.databasePath());
        const std::vector<ItemPath> paths = everyItem(*database);
        double counted = 0;
        for (Movement movement : {Movement::Sales, Movement::Purchases}) {
            const std::vector<Totals> bulk = periodTotals(*database, movement, paths, start, end);
            QCOMPARE(bulk.size(), paths.size());
            for (std::size_t i = 0; i < paths.size(); ++i) {
                QString sql;
                const Totals one = movement == Movement::Sales
                    ? SomaVendas(*database, sql, paths[i], start, end)
                    : SomaCompras(*database, sql, paths[i], start, end);
                QCOMPARE(bulk[i].money, one.money);
                QCOMPARE(bulk[i].quantity, one.quantity);
                counted += std::abs(one.money);
            }
        }
        QVERIFY(counted > 0); // a period that counts nothing would prove nothing
    }

    // Known totals of the seeded company, through both ways, and the statement each leaves.
    void seededTotals_data()
    {
        QTest::addColumn<bool>("sales");
        QTest::addColumn<QString>("names");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<double>("money");
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QString>("sql");
        const QString sum
            = QStringLiteral("SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ");
        const QString sale = sum
            + QStringLiteral(
                "FROM VendaProdutos INNER JOIN Venda ON VendaProdutos.Codigo = Venda.Codigo WHERE "
                "(DataDocumento BETWEEN #%1/2026# AND #03/31/2026#) AND Venda = True AND ");
        QTest::newRow("product, both ends, a non-sale skipped")
            << true << "Receitas>Receitas Clientes>Vendas Produtos>Pães>Pão francês" << March1 << 70.0
            << 140.0
            << sale.arg(QStringLiteral("03/01"))
                + "VendaProdutos.CodigoProduto = 1 AND VendaProdutos.CodigoSetor = 1 AND "
                  "VendaProdutos.Produto = True;";
        QTest::newRow("product on the end day")
            << true << "Receitas>Receitas Clientes>Vendas Produtos>Pães>Baguete" << March31 << 24.0 << 3.0
            << sale.arg(QStringLiteral("03/31"))
                + "VendaProdutos.CodigoProduto = 2 AND VendaProdutos.CodigoSetor = 1 AND "
                  "VendaProdutos.Produto = True;";
        QTest::newRow("sales group under another sector is an account")
            << true << "Receitas>Receitas Financeiras>Vendas Produtos>Aplicações>CDB" << March1 << 120.0
            << 1.0
            << sale.arg(QStringLiteral("03/01"))
                + "VendaProdutos.CodigoProduto = 9 AND VendaProdutos.CodigoSetor = 4 AND "
                  "VendaProdutos.Produto = False;";
        QTest::newRow("sector differing in case is an account")
            << true << "Receitas>receitas clientes>Vendas Produtos>Pães>Pão francês" << March1 << 0.0 << 0.0
            << sale.arg(QStringLiteral("03/01"))
                + "VendaProdutos.CodigoProduto = 1 AND VendaProdutos.CodigoSetor = 1 AND "
                  "VendaProdutos.Produto = False;";
        QTest::newRow("no such product")
            << true << "Receitas>Receitas Clientes>Vendas Produtos>Pães>Croissant" << March1 << 0.0 << 0.0
            << QString();
        QTest::newRow("raw material bought")
            << false << "Despesas>Despesas Fornecedores>Fornecedores Insumos>Farinhas>Farinha de trigo"
            << March1 << 300.0 << 2.0
            << sum
                + "FROM CompraProdutos INNER JOIN Compra ON CompraProdutos.Codigo = Compra.Codigo WHERE "
                  "(DataDocumento BETWEEN #03/01/2026# AND #03/31/2026#) AND CompraProdutos.CodigoProduto = "
                  "3 AND "
                  "CompraProdutos.CodigoSetor = 2 AND CompraProdutos.Produto = True;";
        QTest::newRow("account bought")
            << false << "Despesas>Despesas Administrativas>Ocupação>Aluguel e condomínio>Aluguel da loja"
            << March1 << 2500.0 << 1.0
            << sum
                + "FROM CompraProdutos INNER JOIN Compra ON CompraProdutos.Codigo = Compra.Codigo WHERE "
                  "(DataDocumento BETWEEN #03/01/2026# AND #03/31/2026#) AND CompraProdutos.CodigoProduto = "
                  "6 AND "
                  "CompraProdutos.CodigoSetor = 3 AND CompraProdutos.Produto = False;";
    }
    void seededTotals()
    {
        QFETCH(bool, sales);
        QFETCH(QString, names);
        QFETCH(QDate, start);
        QFETCH(double, money);
        QFETCH(double, quantity);
        QFETCH(QString, sql);
        test::TestCompany company;
        company.closeSql();
        auto database = Database::open(company.databasePath());
        const Movement movement = sales ? Movement::Sales : Movement::Purchases;
        QString built = QStringLiteral("left over");
        const Totals one = sales ? SomaVendas(*database, built, path(names), start, March31)
                                 : SomaCompras(*database, built, path(names), start, March31);
        const Totals bulk = periodTotals(*database, movement, {path(names)}, start, March31).at(0);
        QCOMPARE(built, sql);
        QCOMPARE(one.money, money);
        QCOMPARE(one.quantity, quantity);
        QCOMPARE(bulk.money, money);
        QCOMPARE(bulk.quantity, quantity);
    }
};

VAREMO_TEST(TestTotals);
#include "test_totals.moc"
