#include "data/generator.h"
#include "editor/contasfixture.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "reports/format.h"
#include "reports/nivelplano.h"
#include "reports/relcontas.h"
#include "reports/relpersonal.h"
#include "reports/reportlayout.h"
#include "reports/runreport.h"
#include "reports/totals.h"
#include "search/searchfixture.h"
#include "support/testregistry.h"

#include <QHash>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSet>
#include <QTest>
#include <QTreeWidget>

using namespace varemo;
using namespace varemo::test;
using namespace varemo::reports;

namespace {

const QDate Today(2026, 3, 31);

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

// A long listing: `before` loose lines, then Categorias of Setores of Grupos with items.
Table longTable(int before, bool numbers)
{
    Table table;
    if (numbers)
        table.columns << QStringLiteral("Quantidade") << QStringLiteral("Valor (R$)");
    const auto add = [&table, numbers](Line::Kind kind, int level) {
        const int n = int(table.lines.size());
        table.lines.push_back({kind, level, QStringLiteral("Linha %1").arg(n), {}, {}, {}});
        if (numbers && kind == Line::Kind::Detail)
            table.lines.back().amount = n * 1000.5;
    };
    for (int i = 0; i < before; ++i)
        add(Line::Kind::Detail, 4);
    for (int c = 0; c < 12; ++c) {
        add(Line::Kind::Heading, c % 4 == 0 ? 0 : 1);
        add(Line::Kind::Heading, 2);
        for (int i = 0; i < 2 + c % 5; ++i)
            add(Line::Kind::Detail, 4);
    }
    return table;
}

// Every item of the chart, then each again with its names in capitals and with a name no row has.
std::vector<totals::ItemPath> everyItem(Database& database)
{
    std::vector<totals::ItemPath> items;
    auto join = database.openRecordset(totals::ancestorJoinQuery(4, {}), RecordsetType::Snapshot);
    for (; !join->eof(); join->moveNext()) {
        const auto name = [&join](int level) {
            return join->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString();
        };
        totals::ItemPath p {name(0), name(1), name(2), name(3), name(4)};
        items.push_back(p);
        p = {p.categoria, p.setor, p.grupo, p.conta.toUpper(), p.item.toUpper()};
        items.push_back(p);
        p.item += QStringLiteral(" X");
        items.push_back(p);
    }
    return items;
}

const QString Reports = QStringLiteral("1 Resultado Mensal|2 Despesas Fixas");
// The seeded definition 1, and a second one that no save of the first may touch.
const QString SeedItems
    = QStringLiteral("1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N3 6 3|1 N4 6 3|1 N4 7 3|1 N4 8 3|2 N4 7 3");

// The marked nodes in walk order and the expanded ones ("+"): "NI=A+ 2N0=T".
QString marked(QTreeWidget* tree)
{
    QStringList out;
    walkTree(tree->topLevelItem(0), [&out](QTreeWidgetItem* node) {
        const QString image = nodeImage(node) == QLatin1String("Nenhum")
            ? QString()
            : QLatin1Char('=') + nodeImage(node).at(0);
        const bool shown = node->isExpanded();
        if (!image.isEmpty() || shown)
            out << nodeKeyOf(node) + image + (shown ? QStringLiteral("+") : QString());
    });
    return out.join(QLatin1Char(' '));
}

// Clicks in turn: "6N4" by the handler, "s:2N0" by the space bar, "m:1N0" by the mouse.
void click(ArvRelat& window, const QString& steps)
{
    for (const QString& step : steps.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QTreeWidgetItem* node = window.node(step.section(QLatin1Char(':'), -1));
        QVERIFY2(node != nullptr, qPrintable(step));
        if (step.startsWith(QLatin1String("s:"))) {
            window.Arvore->setCurrentItem(node);
            QTest::keyClick(window.Arvore, Qt::Key_Space);
        } else if (step.startsWith(QLatin1String("m:"))) {
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            QTest::mouseClick(
                window.Arvore->viewport(), Qt::LeftButton, {}, window.Arvore->visualItemRect(node).center());
        } else {
            window.Arvore_NodeClick(node);
        }
    }
}

struct Opened : OpenCompany {
    explicit Opened(int mode)
        : OpenCompany({QStringLiteral("INSERT INTO Relatorios VALUES (2, 'Despesas Fixas')"),
            QStringLiteral("INSERT INTO RelatorioItens VALUES (2, 'N4', 7, 3)")})
        , window(std::make_unique<ArvRelat>(state, desktop, mode, mode == 2 ? 1 : 0,
              mode == 2 ? QStringLiteral("Resultado Mensal") : QString()))
    {
    }
    // The rows in order, fields joined by blanks, rows by "|".
    QString rows(const char* table, const char* fields)
    {
        return company
            .scalar(QStringLiteral(
                "SELECT group_concat(%1, '|') FROM (SELECT * FROM %2 ORDER BY CodigoRelatorio, rowid)")
                        .arg(QString::fromLatin1(fields).replace(u' ', QStringLiteral(" || ' ' || ")),
                            QLatin1String(table)))
            .toString();
    }

    std::unique_ptr<ArvRelat> window;
};

} // namespace

// The reports: the chart listing, the personalised report, its totals and the definition window.
class TestRelContas : public QObject {
    Q_OBJECT

private slots:
    // The chart listing to a level, or a personalised report over March from its entries.
    void lines_data()
    {
        QTest::addColumn<QString>("report"); // a level, or the entries
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("lines");
        QTest::newRow("to Grupo")
            << "2" << QString()
            << "H0 DESPESAS|H1 Despesas Administrativas|D2 Ocupação|H1 Despesas Fornecedores|"
               "D2 Fornecedores Insumos|D2 Fornecedores Produtos|H0 RECEITAS|"
               "H1 Receitas Clientes|D2 Vendas Insumos|D2 Vendas Produtos|"
               "H1 Receitas Financeiras|D2 Vendas Produtos|T0 Total: 2 categorias, 4 setores, 6 grupos.";
        QTest::newRow("one Setor under two Categorias and one under none, accented capitals")
            << "1"
            << "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (5, 'Comum', 1), "
               "(6, 'Comum', 2), (7, 'Solto', 99);"
               "UPDATE NivelCategoria0 SET Nome = 'Receitas à vista' WHERE Codigo = 1"
            << "D1 Solto|H0 DESPESAS|D1 Comum|D1 Despesas Administrativas|D1 Despesas Fornecedores|"
               "H0 RECEITAS À VISTA|D1 Comum|D1 Receitas Clientes|D1 Receitas Financeiras|"
               "T0 Total: 2 categorias, 7 setores.";
        QTest::newRow("empty level") << "4"
                                     << "DELETE FROM NivelCategoria4" << QString();
        const QString zero = QStringLiteral(
            "T0 Total de Receitas 0,00|T0 Total de Despesas 0,00|T0 Receitas menos Despesas 0,00");
        QTest::newRow("no item chosen whole") << "Receitas0N|Aplicações3N|CDB4N" << QString() << zero;
        // the sale of CDB counts only under "Receitas"; the groups above it close deepest first
        const QString cdb
            = QStringLiteral("|Receitas Financeiras1N|Vendas Produtos2N|Aplicações3N|  CDB4S  ");
        const QString cdbLines
            = QStringLiteral("|H1 Receitas Financeiras|H2 Vendas Produtos|H3 Aplicações|D4 CDB");
        const QString cdbTotals
            = QStringLiteral("|S2 Total do Grupo Vendas Produtos %1|S1 Total do Setor Receitas "
                             "Financeiras %1|S0 Total da Categoria %2 %1|");
        QTest::newRow("another Categoria") << "Outras0N" + cdb << QString()
                                           << "H0 Outras" + cdbLines + cdbTotals.arg("0,00", "Outras") + zero;
        QTest::newRow("income") << "Receitas0N" + cdb << QString()
                                << "H0 Receitas" + cdbLines + " 1 120,00"
                + cdbTotals.arg("120,00", "Receitas")
                + "T0 Total de Receitas 120,00|T0 Total de Despesas 0,00|T0 Receitas menos Despesas 120,00";
        // the saved definition: two items in one account, one in the other, expenses only
        QTest::newRow("one and two items in a Conta")
            << "Despesas0N|Despesas Administrativas1S|Ocupação2S|Aluguel e condomínio3S|Aluguel da loja4S|"
               "Condomínio4S|Energia3S|Conta de luz4S"
            << QString()
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
            << QString()
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
        QFETCH(QString, report);
        QFETCH(QString, change);
        test::OpenCompany fx(change.split(QLatin1Char(';')));
        bool listing = false;
        const int level = report.toInt(&listing);
        const Table table = listing ? relContasTable(*fx.state.database, level, Today)
                                    : relPersonalTable(*fx.state.database, report.split(QLatin1Char('|')),
                                        QStringLiteral("Mensal"), QDate(2026, 3, 1), Today, Today);
        QTEST(texts(table), "lines");
        QCOMPARE(table.subtitle.value(0), QStringLiteral("Impresso: terça-feira, 31 de março de 2026"));
        if (listing)
            return;
        QCOMPARE(table.title + table.subtitle.value(1),
            QStringLiteral("Relatório : MensalPeríodo: De 01-03-2026 a 31-03-2026"));
        // the difference is worked out from the two totals above it
        const auto terms = table.lines.back().terms;
        QCOMPARE(terms.size(), size_t(2));
        QCOMPARE(table.lines[size_t(terms[1].first)].text + QString::number(terms[1].second),
            QStringLiteral("Total de Despesas-1"));
    }

    // Wherever the page breaks fall: a heading is never the last name on its page, a page
    // opening inside a group names it, every page has its number, amounts share one edge.
    void pages()
    {
        for (int layout = 0; layout < 40; ++layout) {
            const bool numbers = layout % 2;
            const int before = layout / 2 * 3;
            const Table table = longTable(before, numbers);
            QHash<QString, int> line, headingLevel;
            for (const Line& each : table.lines) {
                line.insert(each.text, line.size());
                if (each.kind == Line::Kind::Heading)
                    headingLevel.insert(each.text, each.level);
            }
            const Document document = layoutReport(table);
            QVERIFY(document.pages.size() >= 2);
            QCOMPARE(document.toc.size(), size_t(headingLevel.size()));
            int placed = 0;
            QSet<qreal> amountEdges;
            for (size_t p = 0; p < document.pages.size(); ++p) {
                const TextRun *first = nullptr, *last = nullptr;
                bool footer = false, continued = false;
                for (const TextRun& run : document.pages[p].texts) {
                    footer = footer || run.text == QStringLiteral("Página %1").arg(p + 1);
                    continued = continued || run.text.endsWith(QStringLiteral(" (continuação)"));
                    if (run.text.contains(QLatin1Char(',')))
                        amountEdges << run.rect.right();
                    if (!line.contains(run.text))
                        continue;
                    ++placed;
                    first = first && first->rect.top() <= run.rect.top() ? first : &run;
                    last = last && last->rect.top() >= run.rect.top() ? last : &run;
                }
                const bool inside
                    = headingLevel.value(first->text, 4) > 0 && line.value(first->text) >= before;
                const QString where
                    = QStringLiteral("page %1 after %2, %3").arg(p + 1).arg(before).arg(numbers);
                QVERIFY2(footer && !headingLevel.contains(last->text), qPrintable(where));
                QVERIFY2(continued == (p > 0 && inside), qPrintable(where));
            }
            QCOMPARE(placed, int(table.lines.size()));
            QCOMPARE(amountEdges.size(), numbers ? 1 : 0);
        }
    }

    void chartCommand_data()
    {
        QTest::addColumn<int>("option"); // 0 cancels
        QTest::addColumn<QString>("outcome"); // windows shown, the preview's title, the level kept
        QTest::newRow("Grupo") << 2 << "2 Plano de Contas 2";
        QTest::newRow("cancelled") << 0 << "1  4";
    }
    void chartCommand()
    {
        QFETCH(int, option);
        test::LoadedContas fx;
        fx.clearCalls();
        fx.desktop.setNextModal([option](QWidget& window) {
            auto& dialog = static_cast<NivelPlano&>(window);
            if (option > 0)
                dialog.Opcao[size_t(option - 1)]->setChecked(true);
            option > 0 ? dialog.accept() : dialog.reject();
        });
        QString caption;
        fx.desktop.setNextModal([&caption](QWidget& window) { caption = window.windowTitle(); });
        fx.window->tool_click(QStringLiteral("ID_PlanoContas"));
        QTEST(QStringLiteral("%1 %2 %3")
                  .arg(fx.desktop.modalWindows.size())
                  .arg(caption)
                  .arg(fx.state.listingLevel),
            "outcome");
    }

    // "Ver" walks the main tree's marks into the same entries the saved definition gives.
    void verEntriesEqualDefinition_data()
    {
        QTest::addColumn<QString>("marks"); // rows for RelatorioItens after the saved ones: VALUES or SELECT
        QTest::addColumn<bool>("confirm");
        QTest::newRow("saved definition") << QString() << true;
        QStringList every;
        for (int n = 0; n < 5; ++n)
            every << QStringLiteral("SELECT 1, 'N%1', Codigo, 3 FROM NivelCategoria%1").arg(n);
        QTest::newRow("every node chosen") << every.join(QStringLiteral(" UNION ALL ")) << true;
        QTest::newRow("a marked item under an unmarked Conta") << "VALUES (1, 'N4', 1, 3)" << true;
        QTest::newRow("period cancelled") << QString() << false;
    }
    void verEntriesEqualDefinition()
    {
        QFETCH(QString, marks);
        QFETCH(bool, confirm);
        test::LoadedContas fx(
            marks.isEmpty() ? QStringList() : QStringList {"INSERT INTO RelatorioItens " + marks});
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
        QCOMPARE(fx.state.reportEntries, confirm ? definitionEntries(*fx.state.database, 1) : QStringList());
    }

    // A sideways page asks first and only Yes turns it upright; unknown numbers make nothing;
    // a quote in a name breaks the statement: the failure is logged and nothing is shown.
    void runByNumber_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("landscape");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("entries");
        QTest::addColumn<QString>("outcome"); // the boxes, then the page's orientation
        const QString asked
            = QStringLiteral("Orientação do Papel [36] A orientação do papel está na horizontal.\r"
                             "O correto é a orientação na vertical.\rQuer imprimir com orientação "
                             "vertical?|");
        QTest::newRow("portrait") << 1 << false << 0 << QString() << "portrait";
        QTest::newRow("landscape, upright") << 2 << true << vb::Yes << QString() << asked + "portrait";
        QTest::newRow("landscape kept") << 1 << true << vb::No << QString() << asked + "landscape";
        QTest::newRow("no such report") << 3 << true << vb::Yes << QString() << "none";
        QTest::newRow("a quote in a name") << 2 << false << 0 << "Receitas0N|Receitas Financeiras1N|D'Ávila4S"
                                           << "Tratamento de Erros|none";
    }
    void runByNumber()
    {
        QFETCH(int, number);
        QFETCH(bool, landscape);
        QFETCH(int, answer);
        QFETCH(QString, entries);
        test::OpenCompany fx;
        fx.state.periodStart = QStringLiteral("01-03-2026");
        fx.state.periodEnd = QStringLiteral("31-03-2026");
        fx.state.reportEntries = entries.split(QLatin1Char('|'), Qt::SkipEmptyParts);
        fx.desktop.setNextAnswer(answer);
        const auto report = makeReport(fx.state, fx.desktop, number, nullptr, landscape);
        QStringList seen;
        for (const test::Box& box : fx.desktop.boxes) // the error's own prompt is the log's business
            seen << box.title
                    + (box.buttons == vb::Critical ? QString()
                                                   : QStringLiteral(" [%1] ").arg(box.buttons) + box.prompt);
        seen << (!report                       ? QStringLiteral("none")
                : report->document.landscape() ? QStringLiteral("landscape")
                                               : QStringLiteral("portrait"));
        QTEST(seen.join(QLatin1Char('|')), "outcome");
    }

    // The grouped pass gives, item by item, what the one-item routines give.
    void bulkEqualsLiteral_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<QDate>("end");
        QTest::addColumn<QStringList>("extra"); // statements run on the company first
        QTest::newRow("generated, year") << 60 << QDate(2025, 4, 1) << Today << QStringList();
        QTest::newRow("generated, one day")
            << 60 << QDate(2025, 12, 31) << QDate(2025, 12, 31) << QStringList();
        // Names again in other case on a second path and line: the first in name order counts for
        // both, whatever the stored order. An account whose group is gone counts nothing.
        QTest::newRow("seeded, names on two paths, an account without its group")
            << 0 << QDate(2026, 3, 1) << Today
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
            demo::generateCompany(company.databasePath(), items, 2000, 7, Today);
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
        const std::vector<totals::ItemPath> paths = everyItem(*database);
        double counted = 0;
        for (const auto movement : {totals::Movement::Sales, totals::Movement::Purchases}) {
            const std::vector<totals::Totals> bulk
                = totals::periodTotals(*database, movement, paths, start, end);
            QCOMPARE(bulk.size(), paths.size());
            for (std::size_t i = 0; i < paths.size(); ++i) {
                QString sql;
                const totals::Totals one = movement == totals::Movement::Sales
                    ? totals::SomaVendas(*database, sql, paths[i], start, end)
                    : totals::SomaCompras(*database, sql, paths[i], start, end);
                QCOMPARE(bulk[i].money, one.money);
                QCOMPARE(bulk[i].quantity, one.quantity);
                counted += std::abs(one.money);
            }
        }
        QVERIFY(counted > 0); // a period that counts nothing would prove nothing
    }

    // A click takes the node's whole subtree along and each ancestor shows its children.
    void marks_data()
    {
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* clicks, const char* expected) {
            QTest::newRow(name) << QString::fromUtf8(clicks) << QString::fromUtf8(expected);
        };
        row("one leaf of two", "6N4", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=A 6N4=T");
        row("both leaves", "6N4 7N4", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T");
        row("an only child", "8N4", "NI=A+ 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T");
        row("some becomes all", "6N4 5N3", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T");
        row("twice is none", "6N4 6N4", "NI+");
        row("everything, then one category out", "NI 1N0 2N0", "NI=A+ 3N0=T");
        row("space bar", "s:6N3 s:6N3 s:8N4", "NI=A+ 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T");
        row("mouse", "m:3N0", "NI=A+ 3N0=T");
        row("a caption like the root's stops the walk", "rename 6N4", "NI+ 3N1=A 5N2=A 5N3=A 6N4=T");
    }
    void marks()
    {
        QFETCH(QString, clicks);
        QFETCH(QString, expected);
        Opened opened(ArvRelat::NewDefinition);
        if (clicks.startsWith(QLatin1String("rename")))
            opened.window->node(QStringLiteral("3N1"))->setText(0, RootText);
        click(*opened.window, clicks.remove(QStringLiteral("rename ")));
        QCOMPARE(marked(opened.window->Arvore), expected);
    }

    // What a save asks and writes; a refused one writes nothing. Empty texts: the name box as
    // opened, no box after the question, the tables as they were.
    void save_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QString>("reports");
        QTest::addColumn<QString>("items");
        const auto row = [](const char* tag, int mode, const char* name, const char* clicks, int answer,
                             const char* refusal, const char* reports = "", const char* items = "") {
            QTest::newRow(tag) << mode << QString::fromUtf8(name) << QString::fromLatin1(clicks) << answer
                               << QString::fromUtf8(refusal) << QString::fromUtf8(reports)
                               << QString::fromUtf8(items);
        };
        const char* taken = "Nome já existente";
        row("answered No", 1, "Custos", "6N4", vb::No, "");
        row("the prompt left in the box", 1, "", "6N4", vb::Yes, "Nome do Relatório");
        row("a new name already taken", 1, "resultado MENSAL", "9N4", vb::Yes, taken);
        row("renamed to another's name", 2, "despesas fixas", "7N4", vb::Yes, taken);
        row("some leaves of a group", 1, "Custos", "6N4 8N4", vb::Yes, "",
            "1 Resultado Mensal|2 Despesas Fixas|3 Custos",
            "1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N3 6 3|1 N4 6 3|1 N4 7 3|1 N4 8 3|2 N4 7 3|"
            "3 NI 0 2|3 N0 2 2|3 N1 3 2|3 N2 5 2|3 N3 5 2|3 N4 6 3|3 N3 6 3|3 N4 8 3");
        row("re-saved without a leaf", 2, "", "7N4", vb::Yes, "", "",
            "1 NI 0 2|1 N0 2 2|1 N1 3 2|1 N2 5 2|1 N3 5 2|1 N4 6 3|1 N3 6 3|1 N4 8 3|2 N4 7 3");
        // The stored rows lack the root's: re-saved, the root comes back with every branch.
        row("its own name in capitals", 2, "RESULTADO mensal", "", vb::Yes, "",
            "1 RESULTADO mensal|2 Despesas Fixas",
            "1 NI 0 2|1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N4 6 3|1 N4 7 3|1 N3 6 3|1 N4 8 3|2 N4 7 3");
    }
    void save()
    {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(int, answer);
        QFETCH(QString, refusal);
        QFETCH(QString, reports);
        QFETCH(QString, items);
        QFETCH(QString, clicks);
        Opened opened(mode);
        click(*opened.window, clicks);
        if (!name.isEmpty())
            opened.window->Nome->setText(name);
        opened.desktop.setNextAnswer(answer);
        opened.window->BotaoEscolha_Click(0);
        const Box& asked = opened.desktop.boxes.first();
        QCOMPARE(asked.prompt + QString::number(asked.buttons) + asked.title,
            QStringLiteral("Deseja gravar este relatório?36Gravar Relatório"));
        QCOMPARE(opened.desktop.boxes.size(), refusal.isEmpty() ? 1 : 2);
        QCOMPARE(opened.desktop.boxes.last().title,
            refusal.isEmpty() ? QStringLiteral("Gravar Relatório") : refusal);
        QCOMPARE(opened.rows("Relatorios", "CodigoRelatorio NomeRelatorio"),
            reports.isEmpty() ? Reports : reports);
        QCOMPARE(opened.rows("RelatorioItens", "CodigoRelatorio Nivel CodigoConta Imagem"),
            items.isEmpty() ? SeedItems : items);
        // Once written, the window edits what it wrote.
        const bool written = answer == vb::Yes && refusal.isEmpty();
        QCOMPARE(opened.window->Modo, written ? 2 : mode);
        QCOMPARE(opened.window->CodigoRelatorio, written && mode == 1 ? 3 : mode == 2 ? 1 : 0);
    }
};

VAREMO_TEST(TestRelContas);
#include "test_relcontas.moc"
