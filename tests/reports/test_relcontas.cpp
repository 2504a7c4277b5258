#include "editor/contasfixture.h"
#include "reports/nivelplano.h"
#include "reports/relcontas.h"
#include "reports/reportlayout.h"
#include "reports/runreport.h"
#include "support/testregistry.h"

#include <QHash>
#include <QRadioButton>
#include <QSet>
#include <QTest>

using namespace varemo;
using namespace varemo::reports;

namespace {

const QDate Today(2026, 3, 31);

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

} // namespace

class TestRelContas : public QObject {
    Q_OBJECT

private slots:
    void listing_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("lines");
        QTest::newRow("to Grupo")
            << 2 << QString()
            << "H0 DESPESAS|H1 Despesas Administrativas|D2 Ocupação|H1 Despesas Fornecedores|"
               "D2 Fornecedores Insumos|D2 Fornecedores Produtos|H0 RECEITAS|"
               "H1 Receitas Clientes|D2 Vendas Insumos|D2 Vendas Produtos|"
               "H1 Receitas Financeiras|D2 Vendas Produtos|T0 Total: 2 categorias, 4 setores, 6 grupos.";
        QTest::newRow("same Setor under two Categorias, accented capitals")
            << 1
            << "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (5, 'Comum', 1), (6, "
               "'Comum', 2);"
               "UPDATE NivelCategoria0 SET Nome = 'Receitas à vista' WHERE Codigo = 1"
            << "H0 DESPESAS|D1 Comum|D1 Despesas Administrativas|D1 Despesas Fornecedores|H0 RECEITAS À "
               "VISTA|"
               "D1 Comum|D1 Receitas Clientes|D1 Receitas Financeiras|T0 Total: 2 categorias, 6 setores.";
        QTest::newRow("a Setor without its Categoria")
            << 1 << "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (7, 'Solto', 99)"
            << "D1 Solto|H0 DESPESAS|D1 Despesas Administrativas|D1 Despesas Fornecedores|H0 RECEITAS|"
               "D1 Receitas Clientes|D1 Receitas Financeiras|T0 Total: 2 categorias, 5 setores.";
        QTest::newRow("empty level") << 4 << "DELETE FROM NivelCategoria4" << QString();
    }
    void listing()
    {
        QFETCH(int, level);
        QFETCH(QString, change);
        QFETCH(QString, lines);
        test::TestCompany company;
        for (const QString& statement : change.split(QLatin1Char(';'), Qt::SkipEmptyParts))
            company.exec(statement);
        company.closeSql();
        auto database = Database::open(company.databasePath());
        const Table table = relContasTable(*database, level, Today);
        QStringList seen;
        for (const Line& line : table.lines)
            seen << QLatin1Char("HDST"[int(line.kind)]) + QString::number(line.level) + QLatin1Char(' ')
                    + line.text;
        QCOMPARE(seen.join(QLatin1Char('|')), lines);
        QCOMPARE(table.subtitle.value(0), QStringLiteral("Impresso: terça-feira, 31 de março de 2026"));
    }

    // Wherever the page breaks fall: a heading is never the last name on its page, a page
    // opening inside a group names it, every page has its number, amounts share one edge.
    void pages_data()
    {
        QTest::addColumn<bool>("numbers");
        QTest::newRow("names only") << false;
        QTest::newRow("with amounts") << true;
    }
    void pages()
    {
        QFETCH(bool, numbers);
        for (int before = 0; before < 60; before += 3) {
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
                const QString where = QStringLiteral("page %1 after %2").arg(p + 1).arg(before);
                QVERIFY2(footer && !headingLevel.contains(last->text), qPrintable(where));
                QVERIFY2(continued == (p > 0 && inside), qPrintable(where));
            }
            QCOMPARE(placed, int(table.lines.size()));
            QCOMPARE(amountEdges.size(), numbers ? 1 : 0);
        }
    }

    // A long build reports how far it got and stops when told to.
    void progressStops_data()
    {
        QTest::addColumn<bool>("personal");
        QTest::addColumn<int>("stopAt"); // the call that answers false; -1 never
        QTest::newRow("listing, stopped at once") << false << 0;
        QTest::newRow("listing, to the end") << false << -1;
        QTest::newRow("personalised, stopped at once") << true << 0;
    }
    void progressStops()
    {
        QFETCH(bool, personal);
        QFETCH(int, stopAt);
        test::TestCompany company;
        company.closeSql();
        auto database = Database::open(company.databasePath());
        QList<int> left;
        const Progress progress = [&left, stopAt](int done, int total) {
            left << total - done;
            return left.size() - 1 != stopAt;
        };
        const bool built = personal
            ? buildRelPersonal(*database, {"Receitas0N", "CDB4S"}, {}, Today, Today, Today, progress)
                  .has_value()
            : buildRelContas(*database, 4, Today, progress).has_value();
        QCOMPARE(built, stopAt < 0);
        QVERIFY(left.first() > 0 && (!built || left.last() == 0));
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
        QFETCH(QString, outcome);
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
        QCOMPARE(QStringLiteral("%1 %2 %3")
                     .arg(fx.desktop.modalWindows.size())
                     .arg(caption)
                     .arg(fx.state.listingLevel),
            outcome);
    }

    // A sideways page asks first and only Yes turns it upright; unknown numbers make nothing.
    void runByNumber_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("landscape");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("entries");
        QTest::addColumn<QString>("outcome"); // the boxes' titles, then the page's orientation
        QTest::newRow("portrait") << 1 << false << 0 << QString() << "portrait";
        QTest::newRow("landscape, upright")
            << 2 << true << vb::Yes << QString() << "Orientação do Papel|portrait";
        QTest::newRow("landscape kept")
            << 1 << true << vb::No << QString() << "Orientação do Papel|landscape";
        QTest::newRow("no such report") << 3 << true << vb::Yes << QString() << "none";
        // a quote breaks the statement: the failure is logged and nothing is shown
        QTest::newRow("a quote in a name") << 2 << false << 0 << "Receitas0N|Receitas Financeiras1N|D'Ávila4S"
                                           << "Tratamento de Erros|none";
    }
    void runByNumber()
    {
        QFETCH(int, number);
        QFETCH(bool, landscape);
        QFETCH(int, answer);
        QFETCH(QString, entries);
        QFETCH(QString, outcome);
        test::TestCompany company;
        company.closeSql();
        AppState state;
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.database = Database::open(company.databasePath());
        state.periodStart = QStringLiteral("01-03-2026");
        state.periodEnd = QStringLiteral("31-03-2026");
        state.reportEntries = entries.split(QLatin1Char('|'), Qt::SkipEmptyParts);
        test::FakeDesktop desktop;
        desktop.setNextAnswer(answer);
        const auto report = makeReport(state, desktop, number, nullptr, landscape);
        QStringList seen;
        for (const test::Box& box : desktop.boxes)
            seen << box.title;
        seen << (!report                       ? QStringLiteral("none")
                : report->document.landscape() ? QStringLiteral("landscape")
                                               : QStringLiteral("portrait"));
        QCOMPARE(seen.join(QLatin1Char('|')), outcome);
        if (landscape && number != 3) {
            QCOMPARE(desktop.boxes[0].prompt,
                QStringLiteral("A orientação do papel está na horizontal.\rO correto é a orientação na "
                               "vertical.\rQuer imprimir com orientação vertical?"));
            QCOMPARE(desktop.boxes[0].buttons, vb::YesNo + vb::Question);
        }
    }
};

VAREMO_TEST(TestRelContas);
#include "test_relcontas.moc"
