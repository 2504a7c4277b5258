#include "contasfixture.h"
#include "editor/browse.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>

using varemo::Contas;
using varemo::test::LoadedContas;

// The item page of the small company in its joined order, the item code at each position:
// 1 Aluguel da loja (6), 2 Condomínio (7) in "Aluguel e condomínio"; 3 Conta de luz (8) in
// "Energia"; 4 Farinha de trigo (5) in "Farinhas"; 5 Pão francês (4) in "Pães"; 6 Farinha
// de trigo (3) in "Farinhas"; 7 Baguete (2), 8 Pão francês (1) in "Pães"; 9 CDB (9).

namespace {

const QList<int> CodesByPosition = {6, 7, 8, 5, 4, 3, 2, 1, 9};

QString counter(const Contas& window)
{
    return window.Status->panelText(varemo::StatusBar::Record);
}

int currentCode(const Contas& window)
{
    return window.dataSet()->value(QStringLiteral("Codigo")).toInt();
}

QString fields(const std::array<varemo::Selector*, 5>& selectors)
{
    QStringList out;
    for (const varemo::Selector* selector : selectors)
        out << selector->text();
    return out.join(QLatin1Char('/'));
}

int logged(const varemo::test::FakeDesktop& desktop, const QString& routine)
{
    return static_cast<int>(
        std::count_if(desktop.boxes.cbegin(), desktop.boxes.cend(), [&routine](const auto& box) {
            return box.prompt.contains(
                QStringLiteral("Rotina em que houve o erro: ") + routine + QLatin1Char('\r'));
        }));
}

} // namespace

class TestBrowsing : public QObject {
    Q_OBJECT

private slots:
    void movesOverTheItems_data()
    {
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("end");
        const auto row = [](const char* tag, int start, int index, int end) {
            QTest::newRow(tag) << start << index << end;
        };
        row("first", 6, 0, 1);
        row("previous", 5, 1, 4);
        row("previous at 1 stays", 1, 1, 1);
        row("next", 2, 4, 3);
        row("next at the end stays", 9, 4, 9);
        row("last", 1, 5, 9);
        row("next group from the first row", 1, 3, 3);
        row("next group inside a group", 2, 3, 3);
        row("next group over a two-row group", 7, 3, 9);
        row("next group in the last group", 9, 3, 9);
        row("previous group", 3, 2, 2);
        row("previous group lands on its last row", 8, 2, 6);
        row("previous group in the first group", 2, 2, 1);
    }
    void movesOverTheItems()
    {
        QFETCH(int, start);
        QFETCH(int, index);
        QFETCH(int, end);
        LoadedContas fx;
        for (int position = 1; position < start; ++position)
            fx.window->Movimento_Click(4);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro %1/9").arg(start));
        fx.window->Movimento_Click(index);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro %1/9").arg(end));
        QCOMPARE(currentCode(*fx.window), CodesByPosition[end - 1]);
    }

    void everyPageGroupsByTheParent_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("criterion");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QString>("fields"); // the page's fields after the group move
        const auto row
            = [](const char* command, const char* criterion, const char* counter, const char* fields) {
                  QTest::newRow(command) << command << criterion << counter << fields;
              };
        row("ID_Setor", "NivelCategoria0.Nome <> 'Despesas'", "Registro 3/4",
            "Receitas/Receitas Clientes///");
        row("ID_Grupo", "NivelCategoria1.Nome <> 'Despesas Administrativas'", "Registro 2/6",
            "Despesas/Despesas Fornecedores/Fornecedores Insumos//");
        row("ID_Conta", "NivelCategoria2.Nome <> 'Ocupação'", "Registro 3/7",
            "Despesas/Despesas Fornecedores/Fornecedores Insumos/Farinhas/");
        row("ID_Item", "NivelCategoria3.Nome <> 'Aluguel e condomínio'", "Registro 3/9",
            "Despesas/Despesas Administrativas/Ocupação/Energia/Conta de luz");
    }
    void everyPageGroupsByTheParent()
    {
        QFETCH(QString, command);
        QFETCH(QString, criterion);
        QFETCH(QString, counter);
        QFETCH(QString, fields);
        LoadedContas fx;
        fx.window->tool_click(command);
        fx.window->Movimento_Click(3);
        QCOMPARE(fx.window->CriterioMove, criterion);
        QCOMPARE(::counter(*fx.window), counter);
        const bool items = command == QStringLiteral("ID_Item");
        QCOMPARE(fx.window->Pasta->currentIndex(), items ? 0 : 1);
        QCOMPARE(::fields(items ? fx.window->Combo : fx.window->Texto), fields);
    }

    void smallAndBrokenPages_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QString>("criterion");
        QTest::addColumn<int>("logged");
        const auto row = [](const char* tag, const char* change, const char* counter, const char* criterion,
                             int logged) { QTest::newRow(tag) << change << counter << criterion << logged; };
        row("no items", "DELETE FROM NivelCategoria4", "Registro 0/0", "", 0);
        row("one item builds no group criterion", "DELETE FROM NivelCategoria4 WHERE Codigo <> 9",
            "Registro 1/1", "", 0);
        // The name goes into the criteria as it is, so the group moves fail into the log.
        row("apostrophe in the group name",
            "UPDATE NivelCategoria3 SET Nome = 'Conta d''água' WHERE Codigo = 5", "Registro 1/9",
            "NivelCategoria3.Nome <> 'Conta d'água'", 2);
    }
    void smallAndBrokenPages()
    {
        QFETCH(QString, change);
        QFETCH(QString, counter);
        QFETCH(QString, criterion);
        QFETCH(int, logged);
        LoadedContas fx({change});
        fx.clearCalls();
        for (int index : {2, 3, 0, 1}) {
            fx.window->Movimento_Click(index);
            QCOMPARE(::counter(*fx.window), counter);
        }
        for (int index = 0; index < 5; ++index)
            fx.window->MoveFiltro_Click(index);
        QCOMPARE(fx.window->CriterioMove, criterion);
        QCOMPARE(::logged(fx.desktop, QStringLiteral("Erro no Movimento_Click")), logged);
    }

    void counterWaitsWhileARecordIsOpen()
    {
        LoadedContas fx;
        fx.window->EmInclusao = true;
        fx.window->Status->setPanel(varemo::StatusBar::Record, QStringLiteral("Registro 10/10"));
        fx.window->Combo[4]->setText(QStringLiteral("Novo item"));
        fx.window->Movimento_Click(5);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro 10/10"));
        QCOMPARE(fx.window->Combo[4]->text(), QStringLiteral("Novo item"));
    }

    void searchHits_data()
    {
        QTest::addColumn<QString>("marked");
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<QString>("expected"); // item, current hit, counter, buttons on
        const auto row = [](const char* tag, const char* marked, QList<int> clicks, const char* expected) {
            QTest::newRow(tag) << QString::fromLatin1(marked) << clicks << QString::fromLatin1(expected);
        };
        row("first hit", "8, 5, 3", {}, "8 1 3 Registros 3/9 00111");
        row("next skips unmarked rows", "8, 5, 3", {3}, "5 2 3 Registros 4/9 11111");
        row("last", "8, 5, 3", {4}, "3 3 3 Registros 6/9 11100");
        row("next at the last stays", "8, 5, 3", {4, 3}, "3 3 3 Registros 6/9 11100");
        row("previous", "8, 5, 3", {4, 1}, "5 2 3 Registros 4/9 11111");
        row("previous at the first stays", "8, 5, 3", {1}, "8 1 3 Registros 3/9 00111");
        row("back to the first", "8, 5, 3", {4, 0}, "8 1 3 Registros 3/9 00111");
        row("show keeps the hit", "8, 5, 3", {3, 2}, "5 2 3 Registros 4/9 11111");
        row("one hit", "3", {3}, "3 1 1 Registro 6/9 00100");
        // Nothing moves: the first sector stays shown.
        row("no hit moves nothing", "", {}, "3 0 Registro 1/4 00000");
    }
    void searchHits()
    {
        QFETCH(QString, marked);
        QFETCH(QList<int>, clicks);
        QFETCH(QString, expected);
        const int hits = int(marked.split(QLatin1Char(','), Qt::SkipEmptyParts).size());
        LoadedContas fx(
            {QStringLiteral("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (%1)").arg(marked)});
        fx.clearCalls();
        // A search may start from the level page: the hits are shown on the item page.
        fx.window->tool_click(QStringLiteral("ID_Setor"));
        fx.window->RelatorioEncontrados(hits);
        fx.window->Pasta->setCurrentIndex(1);
        for (int index : clicks)
            fx.window->MoveFiltro_Click(index);
        QString buttons;
        for (const QPushButton* button : fx.window->MoveFiltro)
            buttons += button->isEnabled() ? QLatin1Char('1') : QLatin1Char('0');
        const QString seen = QStringList {QString::number(currentCode(*fx.window)),
            QString::number(fx.window->HitAtual), counter(*fx.window), buttons}
                                 .join(QLatin1Char(' '));
        QCOMPARE(seen, expected);
        QString found = hits == 0
            ? QStringLiteral("Não foi encontrado nenhum registro, |Nenhum registro encontrado")
            : hits == 1 ? QStringLiteral("Foi encontrado apenas um registro, |Registro encontrado")
                        : QStringLiteral("Foram encontrados 3 registros,  |Registros encontrados");
        QCOMPARE(fx.desktop.boxes.size(), 1);
        QCOMPARE(fx.desktop.boxes[0].prompt + QLatin1Char('|') + fx.desktop.boxes[0].title,
            found.replace(QLatin1Char('|'), QStringLiteral("\rcom as regras de filtro estabelecidas.|")));
        QCOMPARE(fx.window->Pasta->currentIndex(), clicks.contains(2) ? 0 : 1);
    }

    void treeClickMakesTheRowCurrent_data()
    {
        QTest::addColumn<QString>("view");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected"); // level, counter, the level's field
        const auto row = [](const char* tag, const char* view, const char* key, const char* expected) {
            QTest::newRow(tag) << QString::fromLatin1(view) << QString::fromLatin1(key)
                               << QString::fromUtf8(expected);
        };
        row("item", "", "2N4", "4 Registro 7/9 Baguete");
        row("account: its first item", "", "3N3", "4 Registro 5/9 Pão francês");
        row("category: its first item", "", "1N0", "4 Registro 6/9 Farinha de trigo");
        row("root does nothing", "", "NI", "4 Registro 1/9 Aluguel da loja");
        row("item from the sector page", "ID_Setor", "9N4", "4 Registro 9/9 CDB");
        row("group: the group page", "ID_Setor", "4N2", "2 Registro 2/6 Fornecedores Insumos");
        row("account without items: its page", "", "8N3", "3 Registro 8/8 Sem itens");
    }
    void treeClickMakesTheRowCurrent()
    {
        QFETCH(QString, view);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        LoadedContas fx({QStringLiteral(
            "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (8, 'Sem itens', 6)")});
        if (!view.isEmpty())
            fx.window->tool_click(view);
        fx.window->Arvore_NodeClick(fx.window->node(key));
        const int level = fx.window->NivelAtual;
        const auto& page = level == 4 ? fx.window->Combo : fx.window->Texto;
        QCOMPARE(QStringLiteral("%1 %2 %3")
                     .arg(level)
                     .arg(counter(*fx.window), page[static_cast<std::size_t>(level)]->text()),
            expected);
    }

    void tabsViewTheirPage_data()
    {
        QTest::addColumn<QString>("view");
        QTest::addColumn<bool>("editing");
        QTest::addColumn<int>("tab");
        QTest::addColumn<QString>("expected"); // level, page, tab shown, counter
        QTest::newRow("levels tab: accounts") << "" << false << 1 << "3 1 1 Registro 1/7";
        QTest::newRow("items tab from the group page") << "ID_Grupo" << false << 0 << "4 0 0 Registro 1/9";
        QTest::newRow("a record open for change keeps its page") << "" << true << 1 << "4 0 0 Registro 1/9";
    }
    void tabsViewTheirPage()
    {
        QFETCH(QString, view);
        QFETCH(bool, editing);
        QFETCH(int, tab);
        QFETCH(QString, expected);
        LoadedContas fx;
        if (!view.isEmpty())
            fx.window->tool_click(view);
        fx.window->EmAlteracao = editing;
        Q_EMIT fx.window->Pasta->tabBarClicked(tab);
        fx.window->Pasta->setCurrentIndex(tab);
        QTest::qWait(1);
        fx.window->EmAlteracao = false;
        fx.window->TotalDeRegistros();
        QCOMPARE(QStringLiteral("%1 %2 %3 %4")
                     .arg(fx.window->NivelAtual)
                     .arg(fx.window->PaginaAtiva)
                     .arg(fx.window->Pasta->currentIndex())
                     .arg(counter(*fx.window)),
            expected);
    }

    // The window comes up before the chart is read: its first screen is the page's first row,
    // and once the rest is read (or an action reads it first) it shows what a window that
    // read the whole page at once shows. A row with its ancestors missing sorts first and is
    // only found by the read.
    void firstScreenBeforeTheRest_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<int>("move"); // a Movimento taken before the rest is read, -1: none
        QTest::addColumn<bool>("sameFirstScreen");
        QTest::newRow("small chart") << QStringList() << -1 << true;
        QTest::newRow("first branches without items, then a move")
            << QStringList {QStringLiteral("INSERT INTO NivelCategoria0 VALUES (4, 'Adiantamentos')"),
                   QStringLiteral("INSERT INTO NivelCategoria1 VALUES (5, 'Sem grupos', 4, 0)"),
                   QStringLiteral("INSERT INTO NivelCategoria1 VALUES (6, 'Aaa', 2, 0)"),
                   QStringLiteral("INSERT INTO NivelCategoria2 VALUES (7, 'Sem contas', 6, 0)")}
            << 4 << true;
        QTest::newRow("an item without a name, equal names in code order")
            << QStringList {QStringLiteral("INSERT INTO NivelCategoria4 VALUES (11, NULL, 5, 0, 0)"),
                   QStringLiteral("INSERT INTO NivelCategoria4 VALUES (10, 'ALUGUEL DA LOJA', 5, 0, 0)"),
                   QStringLiteral("UPDATE NivelCategoria4 SET Nome = 'aluguel da loja' WHERE Codigo = 7")}
            << 5 << true;
        QTest::newRow("an item whose account is missing")
            << QStringList {QStringLiteral("INSERT INTO NivelCategoria4 VALUES (12, 'Órfão', 99, 0, 0)")}
            << -1 << false;
    }
    void firstScreenBeforeTheRest()
    {
        QFETCH(QStringList, changes);
        QFETCH(int, move);
        QFETCH(bool, sameFirstScreen);
        LoadedContas later(changes);
        LoadedContas whole(changes);
        whole.window->showLevel(4, false, true);
        const auto screen = [](const Contas& window, bool withTree) {
            QString text = fields(window.Combo) + QLatin1Char('|') + counter(window);
            if (withTree && window.Arvore->currentItem() != nullptr)
                text += QLatin1Char('|') + varemo::nodeKeyOf(window.Arvore->currentItem());
            return text;
        };
        QVERIFY(!later.window->restRead());
        QCOMPARE(screen(*later.window, false) == screen(*whole.window, false), sameFirstScreen);
        if (move >= 0) {
            later.window->Movimento_Click(move);
            whole.window->Movimento_Click(move);
        } else {
            later.window->readRest();
        }
        QCOMPARE(screen(*later.window, true), screen(*whole.window, true));
        QCOMPARE(later.window->dataSet()->rows(), whole.window->dataSet()->rows());
    }

    void movesAndClicksReadNothingAgain()
    {
        LoadedContas fx;
        fx.window->readRest();
        QStringList statements;
        fx.state.database->statementHook = [&statements](const QString& sql) { statements << sql; };
        for (int index = 0; index < 6; ++index)
            fx.window->Movimento_Click(index);
        for (const char* key : {"2N4", "5N3", "1N0", "9N4"})
            fx.window->Arvore_NodeClick(fx.window->node(QString::fromLatin1(key)));
        fx.window->MoveFiltro_Click(0);
        QCOMPARE(statements, QStringList());
    }
};

VAREMO_TEST(TestBrowsing);
#include "test_browsing.moc"
