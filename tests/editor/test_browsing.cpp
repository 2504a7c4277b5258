#include "contasfixture.h"
#include "editor/browse.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

using varemo::Contas;
using varemo::StatusBar;
using varemo::test::LoadedContas;

// The item page of the small company, in its joined order: the item code at each position.
// 1 Aluguel da loja (6), 2 Condomínio (7) in "Aluguel e condomínio"; 3 Conta de luz (8) in
// "Energia"; 4 Farinha de trigo (5) in "Farinhas"; 5 Pão francês (4) in "Pães"; 6 Farinha de
// trigo (3) in "Farinhas"; 7 Baguete (2), 8 Pão francês (1) in "Pães"; 9 CDB (9).

namespace {

const QList<int> CodesByPosition = {6, 7, 8, 5, 4, 3, 2, 1, 9};

QString counter(const Contas& window)
{
    return window.Status->panelText(StatusBar::Record);
}

int currentCode(const Contas& window)
{
    return window.dataSet()->value(QStringLiteral("Codigo")).toInt();
}

void goTo(Contas& window, int position)
{
    window.Movimento_Click(0);
    for (int i = 1; i < position; ++i)
        window.Movimento_Click(4);
}

QStringList texts(const std::array<varemo::Selector*, 5>& fields, int count)
{
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << fields[static_cast<std::size_t>(i)]->text();
    return out;
}

QStringList loggedRoutines(const varemo::test::FakeDesktop& desktop)
{
    QStringList routines;
    const QString mark = QStringLiteral("Rotina em que houve o erro: ");
    for (const auto& box : desktop.boxes) {
        const qsizetype at = box.prompt.indexOf(mark);
        if (at >= 0)
            routines << box.prompt.mid(at + mark.size()).section(QLatin1Char('\r'), 0, 0);
    }
    return routines;
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
        QTest::newRow("first") << 6 << 0 << 1;
        QTest::newRow("previous") << 5 << 1 << 4;
        QTest::newRow("previous at 1 stays") << 1 << 1 << 1;
        QTest::newRow("next") << 2 << 4 << 3;
        QTest::newRow("next at the end stays") << 9 << 4 << 9;
        QTest::newRow("last") << 1 << 5 << 9;
        QTest::newRow("next group from the first row") << 1 << 3 << 3;
        QTest::newRow("next group inside a group") << 2 << 3 << 3;
        QTest::newRow("next group over a two-row group") << 7 << 3 << 9;
        QTest::newRow("next group in the last group") << 9 << 3 << 9;
        QTest::newRow("previous group") << 3 << 2 << 2;
        QTest::newRow("previous group lands on the group's last row") << 8 << 2 << 6;
        QTest::newRow("previous group in the first group") << 2 << 2 << 1;
    }
    void movesOverTheItems()
    {
        QFETCH(int, start);
        QFETCH(int, index);
        QFETCH(int, end);
        LoadedContas fx;
        goTo(*fx.window, start);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro %1/9").arg(start));
        fx.clearCalls();
        fx.window->Movimento_Click(index);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro %1/9").arg(end));
        QCOMPARE(fx.window->dataSet()->absolutePosition(), end - 1);
        QCOMPARE(currentCode(*fx.window), CodesByPosition[end - 1]);
        QVERIFY(fx.desktop.boxes.isEmpty());
    }

    void fieldsAndTreeFollowTheRecord()
    {
        LoadedContas fx;
        QCOMPARE(fx.window->TotalRegistros[0], 9);
        fx.window->Movimento_Click(5);
        QCOMPARE(texts(fx.window->Combo, 5),
            (QStringList {QStringLiteral("Receitas"), QStringLiteral("Receitas Financeiras"),
                QStringLiteral("Vendas Produtos"), QStringLiteral("Aplicações"), QStringLiteral("CDB")}));
        QCOMPARE(varemo::nodeKeyOf(fx.window->Arvore->currentItem()), QStringLiteral("9N4"));
        fx.window->Movimento_Click(1);
        QCOMPARE(fx.window->Combo[4]->text(), QStringLiteral("Pão francês"));
        QCOMPARE(fx.window->Combo[1]->text(), QStringLiteral("Receitas Clientes"));
        QCOMPARE(varemo::nodeKeyOf(fx.window->Arvore->currentItem()), QStringLiteral("1N4"));
    }

    void levelPagesGroupByTheParent_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("criterion");
        QTest::addColumn<int>("end");
        QTest::addColumn<int>("total");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("sectors") << QStringLiteral("ID_Setor") << QStringLiteral("Plano de Contas - Setor")
                                 << QStringLiteral("NivelCategoria0.Nome <> 'Despesas'") << 3 << 4
                                 << QStringList {QStringLiteral("Receitas"),
                                        QStringLiteral("Receitas Clientes"), QString(), QString()};
        QTest::newRow("groups") << QStringLiteral("ID_Grupo") << QStringLiteral("Plano de Contas - Grupo")
                                << QStringLiteral("NivelCategoria1.Nome <> 'Despesas Administrativas'") << 2
                                << 6
                                << QStringList {QStringLiteral("Despesas"),
                                       QStringLiteral("Despesas Fornecedores"),
                                       QStringLiteral("Fornecedores Insumos"), QString()};
        QTest::newRow("accounts") << QStringLiteral("ID_Conta") << QStringLiteral("Plano de Contas - Conta")
                                  << QStringLiteral("NivelCategoria2.Nome <> 'Ocupação'") << 3 << 7
                                  << QStringList {QStringLiteral("Despesas"),
                                         QStringLiteral("Despesas Fornecedores"),
                                         QStringLiteral("Fornecedores Insumos"), QStringLiteral("Farinhas")};
    }
    void levelPagesGroupByTheParent()
    {
        QFETCH(QString, command);
        QFETCH(QString, caption);
        QFETCH(QString, criterion);
        QFETCH(int, end);
        QFETCH(int, total);
        QFETCH(QStringList, fields);
        LoadedContas fx;
        fx.window->tool_click(command);
        QCOMPARE(fx.window->PaginaAtiva, 1);
        QCOMPARE(fx.window->Pasta->currentIndex(), 1);
        QCOMPARE(fx.window->NovoRotulo->text(), caption);
        fx.window->Movimento_Click(0);
        fx.window->Movimento_Click(3);
        QCOMPARE(fx.window->CriterioMove, criterion);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro %1/%2").arg(end).arg(total));
        QCOMPARE(texts(fx.window->Texto, 4), fields);
        fx.window->tool_click(QStringLiteral("ID_Item"));
        QCOMPARE(fx.window->PaginaAtiva, 0);
        QCOMPARE(fx.window->TotalRegistros[0], 9);
    }

    void smallAndBrokenPages_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QString>("criterion");
        QTest::addColumn<QStringList>("logged");
        QTest::newRow("no items") << QStringList {QStringLiteral("DELETE FROM NivelCategoria4")}
                                  << QStringLiteral("Registro 0/0") << QString() << QStringList();
        QTest::newRow("one item builds no group criterion")
            << QStringList {QStringLiteral("DELETE FROM NivelCategoria4 WHERE Codigo <> 9")}
            << QStringLiteral("Registro 1/1") << QString() << QStringList();
        QTest::newRow("apostrophe in the group name")
            << QStringList {QStringLiteral(
                   "UPDATE NivelCategoria3 SET Nome = 'Conta d''água' WHERE Codigo = 5")}
            << QStringLiteral("Registro 1/9") << QStringLiteral("NivelCategoria3.Nome <> 'Conta d'água'")
            << QStringList(6, QStringLiteral("Erro no Movimento_Click"));
    }
    void smallAndBrokenPages()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, counter);
        QFETCH(QString, criterion);
        QFETCH(QStringList, logged);
        LoadedContas fx(changes);
        QVERIFY(fx.loaded);
        fx.clearCalls();
        for (int round = 0; round < 3; ++round) {
            for (int index : {2, 3}) {
                fx.window->Movimento_Click(index);
                QCOMPARE(::counter(*fx.window), counter);
            }
        }
        QCOMPARE(fx.window->CriterioMove, criterion);
        QCOMPARE(loggedRoutines(fx.desktop), logged);
        for (int index = 0; index < 5; ++index)
            fx.window->MoveFiltro_Click(index);
        // The window stays usable.
        fx.window->Movimento_Click(5);
        QCOMPARE(
            ::counter(*fx.window).endsWith(QStringLiteral("9/9")), counter.endsWith(QStringLiteral("/9")));
    }

    void counterWaitsWhileARecordIsOpen()
    {
        LoadedContas fx;
        fx.window->EmInclusao = true;
        fx.window->Status->setPanel(StatusBar::Record, QStringLiteral("Registro 10/10"));
        fx.window->Combo[4]->setText(QStringLiteral("Novo item"));
        fx.window->TotalDeRegistros();
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro 10/10"));
        QCOMPARE(fx.window->Combo[4]->text(), QStringLiteral("Novo item"));
        fx.window->PaginaAtiva = 2; // no such page: nothing moves or shows
        fx.window->EmInclusao = false;
        for (int index = 0; index < 6; ++index)
            fx.window->Movimento_Click(index);
        QCOMPARE(counter(*fx.window), QStringLiteral("Registro 10/10"));
    }

    void searchHits_data()
    {
        QTest::addColumn<QString>("marked");
        QTest::addColumn<int>("hits");
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("hit");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QList<bool>>("buttons");
        const QString three = QStringLiteral("8, 5, 3");
        QTest::newRow("found: first hit")
            << three << 3 << QList<int> {} << 8 << 1 << QStringLiteral("3 Registros 3/9")
            << QList<bool> {false, false, true, true, true};
        QTest::newRow("next hit skips unmarked rows")
            << three << 3 << QList<int> {3} << 5 << 2 << QStringLiteral("3 Registros 4/9")
            << QList<bool> {true, true, true, true, true};
        QTest::newRow("last hit") << three << 3 << QList<int> {4} << 3 << 3
                                  << QStringLiteral("3 Registros 6/9")
                                  << QList<bool> {true, true, true, false, false};
        QTest::newRow("next at the last stays")
            << three << 3 << QList<int> {4, 3} << 3 << 3 << QStringLiteral("3 Registros 6/9")
            << QList<bool> {true, true, true, false, false};
        QTest::newRow("previous hit")
            << three << 3 << QList<int> {4, 1} << 5 << 2 << QStringLiteral("3 Registros 4/9")
            << QList<bool> {true, true, true, true, true};
        QTest::newRow("previous at the first stays")
            << three << 3 << QList<int> {1} << 8 << 1 << QStringLiteral("3 Registros 3/9")
            << QList<bool> {false, false, true, true, true};
        QTest::newRow("first hit") << three << 3 << QList<int> {4, 0} << 8 << 1
                                   << QStringLiteral("3 Registros 3/9")
                                   << QList<bool> {false, false, true, true, true};
        QTest::newRow("show keeps the hit")
            << three << 3 << QList<int> {3, 2} << 5 << 2 << QStringLiteral("3 Registros 4/9")
            << QList<bool> {true, true, true, true, true};
        QTest::newRow("one hit says Registro")
            << QStringLiteral("3") << 1 << QList<int> {3} << 3 << 1 << QStringLiteral("1 Registro 6/9")
            << QList<bool> {false, false, true, false, false};
        QTest::newRow("no hit moves nothing")
            << QString() << 0 << QList<int> {} << 6 << 0 << QStringLiteral("Registro 1/9")
            << QList<bool> {false, false, false, false, false};
    }
    void searchHits()
    {
        QFETCH(QString, marked);
        QFETCH(int, hits);
        QFETCH(QList<int>, clicks);
        QFETCH(int, code);
        QFETCH(int, hit);
        QFETCH(QString, counter);
        QFETCH(QList<bool>, buttons);
        QStringList changes;
        if (!marked.isEmpty())
            changes
                << QStringLiteral("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (%1)").arg(marked);
        LoadedContas fx(changes);
        fx.clearCalls();
        // A search may start from the level page: the hits are shown on the item page.
        fx.window->tool_click(QStringLiteral("ID_Setor"));
        fx.window->RelatorioEncontrados(hits);
        QCOMPARE(fx.desktop.boxes.size(), 1);
        const varemo::browse::Message message = varemo::browse::foundMessage(hits);
        QCOMPARE(fx.desktop.boxes[0].prompt, message.prompt);
        QCOMPARE(fx.desktop.boxes[0].title, message.title);
        QCOMPARE(fx.desktop.boxes[0].buttons, varemo::vb::Information);
        fx.window->Pasta->setCurrentIndex(1);
        for (int index : clicks)
            fx.window->MoveFiltro_Click(index);
        if (hits > 0) {
            QCOMPARE(fx.window->PaginaAtiva, 0);
            QCOMPARE(currentCode(*fx.window), code);
            QCOMPARE(fx.window->HitAtual, hit);
            QCOMPARE(::counter(*fx.window), counter);
        }
        QList<bool> enabled;
        for (const QPushButton* button : fx.window->MoveFiltro)
            enabled << button->isEnabled();
        QCOMPARE(enabled, buttons);
        if (clicks.contains(2))
            QCOMPARE(fx.window->Pasta->currentIndex(), 0);
    }

    void foundMessages_data()
    {
        QTest::addColumn<int>("hits");
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("title");
        const QString tail = QStringLiteral("\rcom as regras de filtro estabelecidas.");
        QTest::newRow("none") << 0 << QStringLiteral("Não foi encontrado nenhum registro, ") + tail
                              << QStringLiteral("Nenhum registro encontrado");
        QTest::newRow("one") << 1 << QStringLiteral("Foi encontrado apenas um registro, ") + tail
                             << QStringLiteral("Registro encontrado");
        QTest::newRow("twelve") << 12 << QStringLiteral("Foram encontrados 12 registros,  ") + tail
                                << QStringLiteral("Registros encontrados");
    }
    void foundMessages()
    {
        QFETCH(int, hits);
        QFETCH(QString, prompt);
        QFETCH(QString, title);
        QCOMPARE(varemo::browse::foundMessage(hits).prompt, prompt);
        QCOMPARE(varemo::browse::foundMessage(hits).title, title);
    }

    void treeClickMakesTheRowCurrent_data()
    {
        QTest::addColumn<QString>("view");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QString>("name");
        QTest::newRow("item") << QString() << QStringLiteral("2N4") << 4 << QStringLiteral("Registro 7/9")
                              << QStringLiteral("Baguete");
        QTest::newRow("account: its first item")
            << QString() << QStringLiteral("3N3") << 4 << QStringLiteral("Registro 5/9")
            << QStringLiteral("Pão francês");
        QTest::newRow("category: its first item")
            << QString() << QStringLiteral("1N0") << 4 << QStringLiteral("Registro 6/9")
            << QStringLiteral("Farinha de trigo");
        QTest::newRow("root does nothing")
            << QString() << QStringLiteral("NI") << 4 << QStringLiteral("Registro 1/9")
            << QStringLiteral("Aluguel da loja");
        QTest::newRow("item from the sector page") << QStringLiteral("ID_Setor") << QStringLiteral("9N4") << 4
                                                   << QStringLiteral("Registro 9/9") << QStringLiteral("CDB");
        QTest::newRow("group on the sector page: the level changes")
            << QStringLiteral("ID_Setor") << QStringLiteral("4N2") << 2 << QStringLiteral("Registro 2/6")
            << QStringLiteral("Fornecedores Insumos");
        QTest::newRow("account without items: the account page")
            << QString() << QStringLiteral("7N3") << 3 << QStringLiteral("Registro 7/7")
            << QStringLiteral("Aplicações");
    }
    void treeClickMakesTheRowCurrent()
    {
        QFETCH(QString, view);
        QFETCH(QString, key);
        QFETCH(int, level);
        QFETCH(QString, counter);
        QFETCH(QString, name);
        LoadedContas fx(QTest::currentDataTag() == QByteArray("account without items: the account page")
                ? QStringList {QStringLiteral("DELETE FROM NivelCategoria4 WHERE Codigo = 9")}
                : QStringList());
        if (!view.isEmpty())
            fx.window->tool_click(view);
        fx.clearCalls();
        fx.window->Arvore_NodeClick(fx.window->node(key));
        QCOMPARE(fx.window->NivelAtual, level);
        QCOMPARE(fx.window->PaginaAtiva, level == 4 ? 0 : 1);
        QCOMPARE(::counter(*fx.window).replace(QStringLiteral("/8"), QStringLiteral("/9")), counter);
        const auto& fields = level == 4 ? fx.window->Combo : fx.window->Texto;
        QCOMPARE(fields[static_cast<std::size_t>(level)]->text(), name);
        QVERIFY(fx.desktop.boxes.isEmpty());
    }

    void movesAndClicksReadNothingAgain_data()
    {
        QTest::addColumn<QString>("view");
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("items") << QString()
                               << QStringList {QStringLiteral("2N4"), QStringLiteral("5N3"),
                                      QStringLiteral("1N0"), QStringLiteral("9N4")};
        QTest::newRow("accounts") << QStringLiteral("ID_Conta")
                                  << QStringList {QStringLiteral("6N3"), QStringLiteral("2N1")};
    }
    void movesAndClicksReadNothingAgain()
    {
        QFETCH(QString, view);
        QFETCH(QStringList, keys);
        LoadedContas fx;
        if (!view.isEmpty())
            fx.window->tool_click(view);
        QStringList statements;
        fx.state.database->statementHook = [&statements](const QString& sql) { statements << sql; };
        for (int index = 0; index < 6; ++index)
            fx.window->Movimento_Click(index);
        for (const QString& key : keys)
            fx.window->Arvore_NodeClick(fx.window->node(key));
        fx.window->MoveFiltro_Click(0);
        QCOMPARE(statements, QStringList());
    }
};

VAREMO_TEST(TestBrowsing);
#include "test_browsing.moc"
