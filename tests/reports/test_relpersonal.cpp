#include "app/state.h"
#include "data/database.h"
#include "editor/contasfixture.h"
#include "reports/dataperiodo.h"
#include "reports/relpersonal.h"
#include "reports/totals.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTest>

using namespace varemo;
using namespace varemo::reports;

namespace {

const QDate March1(2026, 3, 1);
const QDate March31(2026, 3, 31);

QString money(const std::optional<double>& value)
{
    return value ? QLocale(QLocale::Portuguese, QLocale::Brazil).toString(*value, 'f', 2) : QString();
}

// A line as one text: kind letter, level, name, then the numbers that print.
QString text(const Line& line)
{
    static const char kinds[] = "HDST";
    QString out
        = QLatin1Char(kinds[int(line.kind)]) + QString::number(line.level) + QLatin1Char(' ') + line.text;
    if (line.quantity)
        out += QLatin1Char(' ') + QString::number(*line.quantity);
    if (line.amount)
        out += QLatin1Char(' ') + money(line.amount);
    return out;
}

QStringList texts(const Table& table)
{
    QStringList out;
    for (const Line& line : table.lines)
        out << text(line);
    return out;
}

const QStringList ZeroTotals {QStringLiteral("T0 Total de Receitas 0,00"),
    QStringLiteral("T0 Total de Despesas 0,00"), QStringLiteral("T0 Receitas menos Despesas 0,00")};

} // namespace

class TestRelPersonal : public QObject {
    Q_OBJECT

private slots:
    void lines_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("no items") << QStringList {} << ZeroTotals;
        QTest::newRow("headings only")
            << QStringList {"Despesas0N", "Despesas Administrativas1N"} << ZeroTotals;
        // the sale of CDB counts only under "Receitas"
        const QStringList cdb {"Receitas Financeiras1N", "Vendas Produtos2N", "Aplicações3N", "  CDB4S  "};
        QTest::newRow("another Categoria") << QStringList {"Outras0N"} + cdb
                                           << QStringList {"H0 Outras", "H1 Receitas Financeiras",
                                                  "H2 Vendas Produtos", "H3 Aplicações", "D4 CDB"}
                + ZeroTotals;
        QTest::newRow("income, one item")
            << QStringList {"Receitas0N"} + cdb
            << QStringList {"H0 Receitas", "H1 Receitas Financeiras", "H2 Vendas Produtos", "H3 Aplicações",
                   "D4 CDB 1 120,00", "T0 Total de Receitas 120,00", "T0 Total de Despesas 0,00",
                   "T0 Receitas menos Despesas 120,00"};
        QTest::newRow("item not chosen as a whole") << QStringList {"Receitas0N", "Receitas Financeiras1N",
            "Vendas Produtos2N", "Aplicações3N", "CDB4N"}
                                                    << ZeroTotals;
        // the saved definition: two items in one account, one in the other, expenses only
        QTest::newRow("one and two items in a Conta")
            << QStringList {"Despesas0N", "Despesas Administrativas1S", "Ocupação2S",
                   "Aluguel e condomínio3S", "Aluguel da loja4S", "Condomínio4S", "Energia3S",
                   "Conta de luz4S"}
            << QStringList {"H0 Despesas", "H1 Despesas Administrativas", "H2 Ocupação",
                   "H3 Aluguel e condomínio", "D4 Aluguel da loja 1 2.500,00", "D4 Condomínio",
                   "S3 Soma da Conta Aluguel e condomínio 2.500,00", "H3 Energia", "D4 Conta de luz 1 420,50",
                   "T0 Total de Receitas 0,00", "T0 Total de Despesas 2.920,50",
                   "T0 Receitas menos Despesas -2.920,50"};
        // a product's sale under its line, and a changed Categoria reopening every heading
        QTest::newRow("products, then another Categoria with the same Conta name")
            << QStringList {"Receitas0N", "Receitas Clientes1N", "Vendas Produtos2N", "Pães3N",
                   "Pão francês4S", "Baguete4S", "Despesas0N", "Despesas Fornecedores1N",
                   "Fornecedores Produtos2N", "Pães3N", "Pão francês4S"}
            << QStringList {"H0 Receitas", "H1 Receitas Clientes", "H2 Vendas Produtos", "H3 Pães",
                   "D4 Pão francês 140 70,00", "D4 Baguete 3 24,00", "S3 Soma da Conta Pães 94,00",
                   "H0 Despesas", "H1 Despesas Fornecedores", "H2 Fornecedores Produtos", "H3 Pães",
                   "D4 Pão francês", "T0 Total de Receitas 94,00", "T0 Total de Despesas 0,00",
                   "T0 Receitas menos Despesas 94,00"};
    }
    void lines()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, lines);
        test::TestCompany company;
        company.closeSql();
        auto database = Database::open(company.databasePath());
        const Table table
            = relPersonalTable(*database, entries, QStringLiteral("Mensal"), March1, March31, March31);
        QCOMPARE(texts(table), lines);
        QCOMPARE(table.title, QStringLiteral("Relatório : Mensal"));
        QCOMPARE(table.subtitle.value(1), QStringLiteral("Período: De 01-03-2026 a 31-03-2026"));
        // the difference is worked out from the two totals above it
        const Line& difference = table.lines.back();
        QCOMPARE(difference.terms.size(), size_t(2));
        QCOMPARE(table.lines[size_t(difference.terms[1].first)].text, QStringLiteral("Total de Despesas"));
        QCOMPARE(difference.terms[1].second, -1);
    }

    // Every item of the demo in one report: each amount is what the one-item routine gives.
    void bulkEqualsLiteral()
    {
        test::TestCompany company(test::TestCompany::Seed::Demo);
        company.closeSql();
        auto database = Database::open(company.databasePath());
        QStringList entries;
        std::vector<totals::ItemPath> paths;
        auto join = database->openRecordset(totals::ancestorJoinQuery(4, {}), RecordsetType::Snapshot);
        for (; !join->eof(); join->moveNext()) {
            QStringList names;
            for (int level = 0; level < 5; ++level) {
                names << join->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString();
                entries << pathEntry(names.back(), level, level == 4);
            }
            paths.push_back({names[0], names[1], names[2], names[3], names[4]});
        }
        QVERIFY(paths.size() > 20);
        const QDate from(2025, 10, 1), to = test::TestCompany::demoToday();
        const Table table = relPersonalTable(*database, entries, {}, from, to, to);
        size_t item = 0;
        double income = 0;
        for (const Line& line : table.lines) {
            if (line.kind != Line::Kind::Detail)
                continue;
            const totals::ItemPath& path = paths.at(item++);
            QString sql;
            totals::Totals literal;
            if (path.categoria == QStringLiteral("Receitas"))
                literal = totals::SomaVendas(*database, sql, path, from, to);
            else if (path.categoria == QStringLiteral("Despesas"))
                literal = totals::SomaCompras(*database, sql, path, from, to);
            QCOMPARE(money(line.amount.value_or(0)), money(literal.money));
            QCOMPARE(line.quantity.value_or(0), literal.quantity);
            if (path.categoria == QStringLiteral("Receitas"))
                income += literal.money;
        }
        QCOMPARE(item, paths.size());
        QVERIFY(income > 0);
        QCOMPARE(money(table.lines[table.lines.size() - 3].amount), money(income));
    }

    // "Ver" walks the main tree's marks into the same entries the saved definition gives.
    void verEntriesEqualDefinition_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<bool>("confirm");
        QTest::newRow("saved definition") << QStringList {} << true;
        QTest::newRow("every node chosen") << QStringList {"DELETE FROM RelatorioItens",
            "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) SELECT 1, 'N' || n, "
            "Codigo, 3 FROM (SELECT 0 n, Codigo FROM "
            "NivelCategoria0 UNION ALL SELECT 1, Codigo FROM NivelCategoria1 UNION ALL SELECT 2, Codigo "
            "FROM NivelCategoria2 UNION ALL SELECT 3, Codigo FROM NivelCategoria3 UNION ALL SELECT 4, "
            "Codigo FROM NivelCategoria4)"} << true;
        QTest::newRow("a marked item under an unmarked Conta") << QStringList {
            "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES "
            "(1, 'N4', 1, 3)"} << true;
        QTest::newRow("period cancelled") << QStringList {} << false;
    }
    void verEntriesEqualDefinition()
    {
        QFETCH(QStringList, changes);
        QFETCH(bool, confirm);
        test::LoadedContas fx(changes);
        QVERIFY(fx.loaded);
        fx.window->tool_click(QStringLiteral("ID_Relatorios"));
        fx.window->Relatos->setCurrentRow(0);
        fx.window->Relatos_Click();
        fx.clearCalls();
        fx.desktop.setNextModal([confirm](QWidget& window) {
            if (confirm)
                qobject_cast<DataPeriodo*>(&window)->Botao_Click(1);
        });
        QString caption;
        fx.desktop.setNextModal([&caption](QWidget& window) { caption = window.windowTitle(); });
        fx.window->BotaoVer_Click();
        if (!confirm) {
            QCOMPARE(fx.desktop.modalWindows.size(), 1);
            QVERIFY(fx.state.reportEntries.isEmpty());
            return;
        }
        QCOMPARE(caption, QStringLiteral("Relatório Personalizado - Resultado Mensal"));
        QVERIFY(!fx.state.reportEntries.isEmpty());
        QCOMPARE(fx.state.reportEntries, definitionEntries(*fx.state.database, 1));
    }
};

VAREMO_TEST(TestRelPersonal);
#include "test_relpersonal.moc"
