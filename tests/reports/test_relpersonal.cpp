#include "editor/contasfixture.h"
#include "reports/dataperiodo.h"
#include "reports/format.h"
#include "reports/relpersonal.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTest>

using namespace varemo;
using namespace varemo::reports;

namespace {

// The lines as "kind level name [quantity] [amount]", joined by "|".
QString texts(const Table& table)
{
    QStringList out;
    for (const Line& line : table.lines) {
        out << QLatin1Char("HDST"[int(line.kind)]) + QString::number(line.level) + QLatin1Char(' ')
                + line.text;
        if (line.quantity)
            out.back() += QLatin1Char(' ') + QString::number(*line.quantity);
        if (line.amount)
            out.back() += QLatin1Char(' ') + formatMoney(*line.amount);
    }
    return out.join(QLatin1Char('|'));
}

const QString Zero = QStringLiteral("T0 Total de Receitas 0,00|T0 Total de Despesas 0,00|"
                                    "T0 Receitas menos Despesas 0,00");
const QString Cdb = QStringLiteral("|Receitas Financeiras1N|Vendas Produtos2N|Aplicações3N|  CDB4S  ");
const QString CdbLines = QStringLiteral("|H1 Receitas Financeiras|H2 Vendas Produtos|H3 Aplicações|D4 CDB");
// the groups above CDB closing, deepest first
QString cdbTotals(const QString& categoria, const QString& amount)
{
    return QStringLiteral("|S2 Total do Grupo Vendas Produtos %1|S1 Total do Setor Receitas Financeiras %1|"
                          "S0 Total da Categoria %2 %1|")
        .arg(amount, categoria);
}

} // namespace

class TestRelPersonal : public QObject {
    Q_OBJECT

private slots:
    void lines_data()
    {
        QTest::addColumn<QString>("entries");
        QTest::addColumn<QString>("lines");
        QTest::newRow("no items") << QString() << Zero;
        QTest::newRow("headings, no item chosen whole") << "Receitas0N|Aplicações3N|CDB4N" << Zero;
        // the sale of CDB counts only under "Receitas"
        QTest::newRow("another Categoria")
            << "Outras0N" + Cdb << "H0 Outras" + CdbLines + cdbTotals("Outras", "0,00") + Zero;
        QTest::newRow("income") << "Receitas0N" + Cdb
                                << "H0 Receitas" + CdbLines + " 1 120,00" + cdbTotals("Receitas", "120,00")
                + "T0 Total de Receitas 120,00|T0 Total de Despesas 0,00|T0 Receitas menos "
                  "Despesas 120,00";
        // the saved definition: two items in one account, one in the other, expenses only
        QTest::newRow("one and two items in a Conta")
            << "Despesas0N|Despesas Administrativas1S|Ocupação2S|Aluguel e condomínio3S|Aluguel da loja4S|"
               "Condomínio4S|Energia3S|Conta de luz4S"
            << "H0 Despesas|H1 Despesas Administrativas|H2 Ocupação|H3 Aluguel e condomínio|"
               "D4 Aluguel da loja 1 2.500,00|D4 Condomínio|S3 Soma da Conta Aluguel e condomínio 2.500,00|"
               "H3 Energia|D4 Conta de luz 1 420,50|S2 Total do Grupo Ocupação 2.920,50|"
               "S1 Total do Setor Despesas Administrativas 2.920,50|S0 Total da Categoria Despesas 2.920,50|"
               "T0 Total de Receitas 0,00|T0 Total de Despesas 2.920,50|"
               "T0 Receitas menos Despesas -2.920,50";
        // products under their line; a changed Categoria reopens every heading
        QTest::newRow("products, the same Conta under another Categoria")
            << "Receitas0N|Receitas Clientes1N|Vendas Produtos2N|Pães3N|Pão francês4S|Baguete4S|Despesas0N|"
               "Despesas Fornecedores1N|Fornecedores Produtos2N|Pães3N|Pão francês4S"
            << "H0 Receitas|H1 Receitas Clientes|H2 Vendas Produtos|H3 Pães|D4 Pão francês 140 70,00|"
               "D4 Baguete 3 24,00|S3 Soma da Conta Pães 94,00|S2 Total do Grupo Vendas Produtos 94,00|"
               "S1 Total do Setor Receitas Clientes 94,00|S0 Total da Categoria Receitas 94,00|H0 Despesas|"
               "H1 Despesas Fornecedores|H2 Fornecedores Produtos|H3 Pães|D4 Pão francês|"
               "S2 Total do Grupo Fornecedores Produtos 0,00|S1 Total do Setor Despesas Fornecedores 0,00|"
               "S0 Total da Categoria Despesas 0,00|T0 Total de Receitas 94,00|"
               "T0 Total de Despesas 0,00|T0 Receitas menos Despesas 94,00";
    }
    void lines()
    {
        QFETCH(QString, entries);
        QFETCH(QString, lines);
        test::TestCompany company;
        company.closeSql();
        auto database = Database::open(company.databasePath());
        const QDate from(2026, 3, 1), to(2026, 3, 31);
        const Table table = relPersonalTable(*database, entries.split(QLatin1Char('|'), Qt::SkipEmptyParts),
            QStringLiteral("Mensal"), from, to, to);
        QCOMPARE(texts(table), lines);
        QCOMPARE(table.title + table.subtitle.value(1),
            QStringLiteral("Relatório : MensalPeríodo: De 01-03-2026 a 31-03-2026"));
        // the difference is worked out from the two totals above it
        const auto terms = table.lines.back().terms;
        QCOMPARE(terms.size(), size_t(2));
        QCOMPARE(table.lines[size_t(terms[1].first)].text + QString::number(terms[1].second),
            QStringLiteral("Total de Despesas-1"));
    }

    // "Ver" walks the main tree's marks into the same entries the saved definition gives.
    void verEntriesEqualDefinition_data()
    {
        QTest::addColumn<QString>("marks"); // SQLite rows for RelatorioItens, after the saved ones
        QTest::addColumn<bool>("confirm");
        QTest::newRow("saved definition") << QString() << true;
        QTest::newRow("every node chosen")
            << "SELECT 1, 'N' || n, Codigo, 3 FROM (SELECT 0 n, Codigo FROM "
               "NivelCategoria0 UNION ALL SELECT 1, Codigo FROM NivelCategoria1 "
               "UNION ALL SELECT 2, Codigo FROM NivelCategoria2 UNION ALL SELECT "
               "3, Codigo FROM NivelCategoria3 UNION ALL SELECT 4, Codigo FROM "
               "NivelCategoria4)"
            << true;
        QTest::newRow("a marked item under an unmarked Conta") << "VALUES (1, 'N4', 1, 3)" << true;
        QTest::newRow("period cancelled") << QString() << false;
    }
    void verEntriesEqualDefinition()
    {
        QFETCH(QString, marks);
        QFETCH(bool, confirm);
        QStringList changes;
        if (!marks.isEmpty())
            changes << "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) " + marks;
        test::LoadedContas fx(changes);
        fx.window->tool_click(QStringLiteral("ID_Relatorios"));
        fx.window->Relatos->setCurrentRow(0);
        fx.window->Relatos_Click();
        fx.desktop.setNextModal([confirm](QWidget& window) {
            if (confirm)
                qobject_cast<DataPeriodo*>(&window)->Botao_Click(1);
        });
        QString caption;
        fx.desktop.setNextModal([&caption](QWidget& window) { caption = window.windowTitle(); });
        fx.window->BotaoVer_Click();
        QCOMPARE(caption, confirm ? QStringLiteral("Relatório Personalizado - Resultado Mensal") : QString());
        QCOMPARE(fx.state.reportEntries.isEmpty(), !confirm);
        if (confirm)
            QCOMPARE(fx.state.reportEntries, definitionEntries(*fx.state.database, 1));
    }
};

VAREMO_TEST(TestRelPersonal);
#include "test_relpersonal.moc"
