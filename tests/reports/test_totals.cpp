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

// Every item of the chart, then each again with its names in capitals and with a name no row has.
std::vector<ItemPath> everyItem(Database& database)
{
    std::vector<ItemPath> items;
    auto join = database.openRecordset(ancestorJoinQuery(4, {}), RecordsetType::Snapshot);
    for (; !join->eof(); join->moveNext()) {
        const auto name = [&join](int level) {
            return join->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString();
        };
        ItemPath p {name(0), name(1), name(2), name(3), name(4)};
        items.push_back(p);
        p = {p.categoria, p.setor, p.grupo, p.conta.toUpper(), p.item.toUpper()};
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
        QTest::addColumn<QStringList>("extra"); // statements run on the company first
        QTest::newRow("generated, year") << 60 << QDate(2025, 4, 1) << March31 << QStringList();
        QTest::newRow("generated, one day")
            << 60 << QDate(2025, 12, 31) << QDate(2025, 12, 31) << QStringList();
        // The same names, in other letter case, on a second path and a second line: the first
        // row in name order counts for both, whatever order the rows were stored in. An account
        // whose group is gone has no path: nothing counts for it.
        QTest::newRow("seeded, names on two paths, an account without its group")
            << 0 << March1 << March31
            << QStringLiteral(
                   "INSERT INTO NivelCategoria0 VALUES (90, 'Aaa');"
                   "INSERT INTO NivelCategoria1 VALUES (91, 'receitas financeiras', 90, NULL);"
                   "INSERT INTO NivelCategoria2 VALUES (92, 'Vendas Produtos', 91, NULL);"
                   "INSERT INTO NivelCategoria3 VALUES (93, 'APLICAÇÕES', 92), (97, 'Solta', 999);"
                   "INSERT INTO NivelCategoria4 VALUES (94, 'cdb', 93, 0, 0), (98, 'Sem grupo', 97, 0, 0);"
                   "INSERT INTO Linhas VALUES (95, 'PÃES', NULL);"
                   "INSERT INTO Produtos VALUES (96, 95, 'PÃO FRANCÊS');"
                   "INSERT INTO Venda VALUES (900, '2026-03-15', 1), (901, '2026-03-16', 1);"
                   "INSERT INTO VendaProdutos VALUES (900, 94, 91, 0, 5, 2), (900, 96, 95, 1, 3, 1), "
                   "(901, 98, 0, 0, 7, 1)")
                   .split(u';');
    }
    void bulkEqualsLiteral()
    {
        QFETCH(int, items);
        QFETCH(QDate, start);
        QFETCH(QDate, end);
        QFETCH(QStringList, extra);
        test::TestCompany company;
        for (const QString& statement : extra)
            company.exec(statement);
        company.closeSql();
        if (items > 0) {
            demo::generateCompany(company.databasePath(), items, 2000, 7, March31);
            // Quotes not taken, flags written by another program, a sales group in an ordinary sector.
            company.exec(QStringLiteral("UPDATE Venda SET Venda = 0 WHERE Codigo % 4 = 0"));
            company.exec(QStringLiteral("UPDATE CompraProdutos SET Produto = -1 WHERE rowid % 5 = 0"));
            company.exec(QStringLiteral(
                "UPDATE NivelCategoria2 SET Nome = 'Vendas Produtos' WHERE Codigo = "
                "(SELECT MIN(NivelCategoria2.Codigo) FROM NivelCategoria2 JOIN NivelCategoria1 "
                "ON NivelCategoria1.Codigo = CodigoCategoria1 WHERE NivelCategoria1.Nome "
                "NOT IN ('Receitas Clientes', 'Despesas Fornecedores'))"));
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
};

VAREMO_TEST(TestTotals);
#include "test_totals.moc"
