#include "app/state.h"
#include "data/database.h"
#include "editor/contasfixture.h"
#include "reports/nivelplano.h"
#include "reports/relcontas.h"
#include "reports/reportlayout.h"
#include "reports/runreport.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QHash>
#include <QRadioButton>
#include <QSet>
#include <QTest>

using namespace varemo;
using namespace varemo::reports;

namespace {

const QDate Today(2026, 3, 31);

QStringList texts(const Table& table)
{
    QStringList out;
    for (const Line& line : table.lines)
        out << QString(line.kind == Line::Kind::Heading ? QStringLiteral("H") : QStringLiteral("D"))
                + QString::number(line.level) + QLatin1Char(' ') + line.text;
    return out;
}

// A long listing: `before` loose lines, then Categorias of Setores of Grupos with items.
Table longTable(int before, bool numbers)
{
    Table table;
    table.title = QStringLiteral("Teste");
    if (numbers)
        table.columns << QStringLiteral("Quantidade") << QStringLiteral("Valor (R$)");
    int n = 0;
    const auto add = [&table, &n, numbers](Line::Kind kind, int level) {
        Line line {kind, level, QStringLiteral("Linha %1").arg(++n), {}, {}, {}};
        if (numbers && kind == Line::Kind::Detail)
            line.amount = n * 1000.5;
        table.lines.push_back(line);
    };
    for (int i = 0; i < before; ++i)
        add(Line::Kind::Detail, 4);
    for (int c = 0; c < 3; ++c) {
        add(Line::Kind::Heading, 0);
        for (int s = 0; s < 4; ++s) {
            add(Line::Kind::Heading, 1);
            add(Line::Kind::Heading, 2);
            for (int i = 0; i < 2 + (c + s) % 5; ++i)
                add(Line::Kind::Detail, 4);
        }
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
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("to Grupo") << 2 << QStringList {}
                                  << QStringList {"H0 DESPESAS", "H1 Despesas Administrativas", "D2 Ocupação",
                                         "H1 Despesas Fornecedores", "D2 Fornecedores Insumos",
                                         "D2 Fornecedores Produtos", "H0 RECEITAS", "H1 Receitas Clientes",
                                         "D2 Vendas Insumos", "D2 Vendas Produtos", "H1 Receitas Financeiras",
                                         "D2 Vendas Produtos"};
        QTest::newRow("same Setor under two Categorias, accented capitals")
            << 1
            << QStringList {"INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (5, "
                            "'Comum', 1), "
                            "(6, 'Comum', 2)",
                   "UPDATE NivelCategoria0 SET Nome = 'Receitas à vista' WHERE Codigo = 1"}
            << QStringList {"H0 DESPESAS", "D1 Comum", "D1 Despesas Administrativas",
                   "D1 Despesas Fornecedores", "H0 RECEITAS À VISTA", "D1 Comum", "D1 Receitas Clientes",
                   "D1 Receitas Financeiras"};
        QTest::newRow("a Setor without its Categoria")
            << 1
            << QStringList {"INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (7, "
                            "'Solto', 99)"}
            << QStringList {"D1 Solto", "H0 DESPESAS", "D1 Despesas Administrativas",
                   "D1 Despesas Fornecedores", "H0 RECEITAS", "D1 Receitas Clientes",
                   "D1 Receitas Financeiras"};
        QTest::newRow("empty level") << 4 << QStringList {"DELETE FROM NivelCategoria4"} << QStringList {};
    }
    void listing()
    {
        QFETCH(int, level);
        QFETCH(QStringList, changes);
        QFETCH(QStringList, lines);
        test::TestCompany company;
        for (const QString& change : changes)
            company.exec(change);
        company.closeSql();
        auto database = Database::open(company.databasePath());
        const Table table = relContasTable(*database, level, Today);
        QCOMPARE(texts(table), lines);
        QCOMPARE(table.subtitle.value(0), QStringLiteral("Impresso: terça-feira, 31 de março de 2026"));
    }

    // Whatever falls at a page's foot, a heading is never the last name on its page, and
    // every page says which it is.
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
            QHash<QString, int> headings; // their levels
            QHash<QString, int> names; // the line each name is
            for (const Line& line : table.lines) {
                names.insert(line.text, names.size());
                if (line.kind == Line::Kind::Heading)
                    headings.insert(line.text, line.level);
            }
            const Document document = layoutReport(table);
            QVERIFY(document.pages.size() >= 2);
            QCOMPARE(document.toc.size(), size_t(headings.size()));
            int placed = 0;
            QSet<qreal> amountRights;
            for (size_t p = 0; p < document.pages.size(); ++p) {
                const QString where = QStringLiteral("page %1 of %2").arg(p + 1).arg(before);
                const TextRun* first = nullptr;
                const TextRun* last = nullptr;
                bool footer = false;
                bool continued = false;
                for (const TextRun& run : document.pages[p].texts) {
                    footer = footer || run.text == QStringLiteral("Página %1").arg(p + 1);
                    continued = continued || run.text.endsWith(QStringLiteral(" (continuação)"));
                    if (run.text.contains(QLatin1Char(',')))
                        amountRights << run.rect.right();
                    if (!names.contains(run.text))
                        continue;
                    ++placed;
                    if (first == nullptr || run.rect.top() < first->rect.top())
                        first = &run;
                    if (last == nullptr || run.rect.top() > last->rect.top())
                        last = &run;
                }
                QVERIFY2(footer, qPrintable(where));
                QVERIFY2(last && !headings.contains(last->text), qPrintable(where));
                // a page opening inside a group names the group it continues
                const bool inside = headings.value(first->text, 4) > 0 && names.value(first->text) >= before;
                QVERIFY2(continued == (p > 0 && inside), qPrintable(where));
            }
            QCOMPARE(placed, int(table.lines.size()));
            QCOMPARE(amountRights.size(), numbers ? 1 : 0);
        }
    }

    // A long build reports how far it got and stops when told to.
    void progressStops_data()
    {
        QTest::addColumn<bool>("personal");
        QTest::addColumn<int>("stopAt"); // the call that answers false; -1 never
        QTest::newRow("listing, stopped at once") << false << 0;
        QTest::newRow("listing, stopped at the end") << false << 1;
        QTest::newRow("listing, to the end") << false << -1;
        QTest::newRow("personalised, stopped at once") << true << 0;
        QTest::newRow("personalised, to the end") << true << -1;
    }
    void progressStops()
    {
        QFETCH(bool, personal);
        QFETCH(int, stopAt);
        test::TestCompany company;
        company.closeSql();
        auto database = Database::open(company.databasePath());
        QList<int> done;
        const Progress progress = [&done, stopAt](int count, int total) {
            done << count - total;
            return done.size() - 1 != stopAt;
        };
        const QStringList entries {
            "Receitas0N", "Receitas Financeiras1N", "Vendas Produtos2N", "Aplicações3N", "CDB4S"};
        const bool built = personal
            ? buildRelPersonal(*database, entries, {}, Today, Today, Today, progress).has_value()
            : buildRelContas(*database, 4, Today, progress).has_value();
        QCOMPARE(built, stopAt < 0);
        QVERIFY(done.size() >= 1 && done.first() < 0);
        if (built)
            QCOMPARE(done.last(), 0);
    }

    void chartCommand_data()
    {
        QTest::addColumn<int>("option"); // 0 cancels
        QTest::addColumn<QStringList>("windows");
        QTest::addColumn<int>("level");
        QTest::newRow("Grupo") << 2 << QStringList {"NivelPlano", "varemo::Visualiza"} << 2;
        QTest::newRow("cancelled") << 0 << QStringList {"NivelPlano"} << 4;
    }
    void chartCommand()
    {
        QFETCH(int, option);
        QFETCH(QStringList, windows);
        QFETCH(int, level);
        test::LoadedContas fx;
        fx.clearCalls();
        fx.desktop.setNextModal([option](QWidget& window) {
            auto& dialog = static_cast<NivelPlano&>(window);
            if (option == 0)
                return dialog.reject();
            dialog.Opcao[size_t(option - 1)]->setChecked(true);
            dialog.accept();
        });
        QString caption;
        fx.desktop.setNextModal([&caption](QWidget& window) { caption = window.windowTitle(); });
        fx.window->tool_click(QStringLiteral("ID_PlanoContas"));
        // the preview may or may not carry an object name
        QCOMPARE(fx.desktop.modalWindows.size(), windows.size());
        for (int i = 0; i < windows.size(); ++i)
            QVERIFY(windows[i].endsWith(fx.desktop.modalWindows[i]));
        QCOMPARE(fx.state.listingLevel, level);
        QCOMPARE(caption, option ? QStringLiteral("Plano de Contas") : QString());
    }

    // A sideways page asks first; only Yes turns it upright. Unknown numbers make nothing.
    void runByNumber_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("landscape");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("outcome"); // the boxes' titles, then the page's orientation
        const QStringList none;
        QTest::newRow("portrait") << 1 << false << 0 << none << QStringLiteral("portrait");
        QTest::newRow("landscape, upright")
            << 2 << true << vb::Yes << none << QStringLiteral("Orientação do Papel|portrait");
        QTest::newRow("landscape kept")
            << 1 << true << vb::No << none << QStringLiteral("Orientação do Papel|landscape");
        QTest::newRow("no such report") << 3 << true << vb::Yes << none << QStringLiteral("none");
        // a quote breaks the statement: the failure is logged and nothing is shown
        QTest::newRow("a quote in a name")
            << 2 << false << 0
            << QStringList {"Receitas0N", "Receitas Financeiras1N", "Vendas2N", "Aplicações3N", "D'Ávila4S"}
            << QStringLiteral("Tratamento de Erros|none");
    }
    void runByNumber()
    {
        QFETCH(int, number);
        QFETCH(bool, landscape);
        QFETCH(int, answer);
        QFETCH(QStringList, entries);
        QFETCH(QString, outcome);
        test::TestCompany company;
        company.closeSql();
        AppState state;
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.database = Database::open(company.databasePath());
        state.periodStart = QStringLiteral("01-03-2026");
        state.periodEnd = QStringLiteral("31-03-2026");
        state.reportEntries = entries;
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
