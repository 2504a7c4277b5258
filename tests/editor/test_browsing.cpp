#include "contasfixture.h"
#include "editor/tree.h"
#include "search/procontas.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTreeWidget>

using varemo::test::LoadedContas;

// The item page of the small company in its joined order, the item code at each position:
// 1 Aluguel da loja (6), 2 Condomínio (7) in "Aluguel e condomínio"; 3 Conta de luz (8) in
// "Energia"; 4 Farinha de trigo (5) in "Farinhas"; 5 Pão francês (4) in "Pães"; 6 Farinha
// de trigo (3) in "Farinhas"; 7 Baguete (2), 8 Pão francês (1) in "Pães"; 9 CDB (9).
class TestBrowsing : public QObject {
    Q_OBJECT

private slots:
    void browse_data()
    {
        QTest::addColumn<QString>("change"); // statements run on the company before the load
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("expected"); // the screen afterwards
        const auto row = [](const char* tag, const char* change, const char* steps, const QString& expected) {
            QTest::newRow(tag) << QString::fromUtf8(change) << QString::fromLatin1(steps) << expected;
        };
        // Three hits, the report's box over them.
        const auto hit = [&row](const char* tag, const char* steps, const char* expected) {
            row(tag, "UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (8, 5, 3)", steps,
                QString::fromUtf8(expected)
                    + QStringLiteral(" [Registros encontrados]|Foram encontrados 3 registros,  /64"));
        };
        const char* noItems
            = "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (8, 'Sem itens', 6)";
        row("first", "", "m4*5 m0", "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        row("previous", "", "m4*4 m1", "0 4 Registro 4/9 Farinhas/Farinha de trigo");
        row("previous at 1 stays", "", "m1", "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        row("next", "", "m4 m4", "0 4 Registro 3/9 Energia/Conta de luz");
        row("next at the end stays", "", "m4*8 m4", "0 4 Registro 9/9 Aplicações/CDB");
        row("last", "", "m5", "0 4 Registro 9/9 Aplicações/CDB");
        row("next group inside a group", "", "m4 m3", "0 4 Registro 3/9 Energia/Conta de luz");
        row("next group over a two-row group", "", "m4*6 m3", "0 4 Registro 9/9 Aplicações/CDB");
        row("next group in the last group", "", "m5 m3", "0 4 Registro 9/9 Aplicações/CDB");
        row("previous group lands on its last row", "", "m4*7 m2",
            "0 4 Registro 6/9 Farinhas/Farinha de trigo");
        row("previous group in the first group", "", "m4 m2",
            "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        // A group move on a level page groups by the row's parent.
        row("sectors by category", "", "ID_Setor m3", "1 1 Registro 3/4 Receitas/Receitas Clientes");
        row("groups by sector", "", "ID_Grupo m3",
            "1 2 Registro 2/6 Despesas Fornecedores/Fornecedores Insumos");
        row("accounts by group", "", "ID_Conta m3", "1 3 Registro 3/7 Fornecedores Insumos/Farinhas");
        row("no items", "DELETE FROM NivelCategoria4", "m2 m3 m0 m1 m5 f0 f3",
            "0 4 Registro 0/0 /|3 4 6 7 0");
        row("one item", "DELETE FROM NivelCategoria4 WHERE Codigo <> 9", "m2 m3 m0 m1",
            "0 4 Registro 1/1 Aplicações/CDB|3 4 6 7 1");
        // The name goes into the group criteria as it is: the group moves fail into the log.
        row("apostrophe in the group name",
            "UPDATE NivelCategoria3 SET Nome = 'Conta d''água' WHERE Codigo = 5", "m3 m2",
            "0 4 Registro 1/9 Conta d'água/Aluguel da loja [Tratamento de Erros,Tratamento de Erros]|Erro no "
            "Programa Plano de Contas/16");
        row("no move while a record is open", "", "ID_Incluir m5",
            "Inserir 010 000011 00|Inserindo novo registro|0 4 Registro 10/10 Aluguel e condomínio/");
        // A search may start from the level page: the hits are shown on the item page.
        hit("first hit", "ID_Setor h3", "0 4 3 Registros 3/9 Energia/Conta de luz hit 1/3 00111");
        hit("next hit skips unmarked rows", "ID_Setor h3 f3",
            "0 4 3 Registros 4/9 Farinhas/Farinha de trigo hit 2/3 11111");
        hit("last hit", "h3 f4", "0 4 3 Registros 6/9 Farinhas/Farinha de trigo hit 3/3 11100");
        hit("next at the last hit stays", "h3 f4 f3",
            "0 4 3 Registros 6/9 Farinhas/Farinha de trigo hit 3/3 11100");
        hit("previous hit", "h3 f4 f1", "0 4 3 Registros 4/9 Farinhas/Farinha de trigo hit 2/3 11111");
        hit("previous at the first hit stays", "h3 f1",
            "0 4 3 Registros 3/9 Energia/Conta de luz hit 1/3 00111");
        hit("back to the first hit", "h3 f4 f0", "0 4 3 Registros 3/9 Energia/Conta de luz hit 1/3 00111");
        row("one hit", "UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo = 3", "h1 f3",
            "0 4 1 Registro 6/9 Farinhas/Farinha de trigo hit 1/1 00100 [Registro encontrado]|Foi encontrado "
            "apenas um registro, /64");
        row("no hit moves nothing", "", "ID_Setor h0",
            "1 1 Registro 1/4 Despesas/Despesas Administrativas [Nenhum registro encontrado]|Não foi "
            "encontrado nenhum registro, /64");
        // A tree click makes the row current; above the items, the first item under it.
        row("tree: item", "", "n2N4", "0 4 Registro 7/9 Pães/Baguete");
        row("tree: account", "", "n3N3", "0 4 Registro 5/9 Pães/Pão francês");
        row("tree: category", "", "n1N0", "0 4 Registro 6/9 Farinhas/Farinha de trigo");
        row("tree: root does nothing", "", "nNI", "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        row("tree: item from the sector page", "", "ID_Setor n9N4", "0 4 Registro 9/9 Aplicações/CDB");
        row("tree: group on the group page", "", "ID_Setor n4N2",
            "1 2 Registro 2/6 Despesas Fornecedores/Fornecedores Insumos");
        row("tree: account without items", noItems, "n8N3",
            "1 3 Registro 8/8 Vendas Produtos/Sem itens|3 4 6 8 9");
        row("levels tab: accounts", "", "t1", "1 3 Registro 1/7 Ocupação/Aluguel e condomínio");
        row("items tab from the group page", "", "ID_Grupo t0",
            "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        // An archive company keeps the record tools off whatever ran last.
        const auto archive = [&row](const char* key, const char* screen) {
            row(key, "UPDATE DadosEmpresa SET Morto = 1", key,
                QStringLiteral("Visualizar 101 000100 11|   [Arq. Mortos Carregados]|")
                    + QString::fromUtf8(screen));
        };
        archive("ID_Setor", "1 1 Registro 1/4 Despesas/Despesas Administrativas");
        archive("ID_Relatorios", "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        archive("ID_Cancelar", "0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        // A row whose ancestors are missing is only found by reading the rest.
        row("branches without items first, then a move",
            "INSERT INTO NivelCategoria0 VALUES (4, 'Adiantamentos');INSERT INTO NivelCategoria1 VALUES (5, "
            "'Sem grupos', 4, 0);INSERT INTO NivelCategoria1 VALUES (6, 'Aaa', 2, 0);INSERT INTO "
            "NivelCategoria2 VALUES (7, 'Sem contas', 6, 0)",
            "m4", "0 4 Registro 2/9 Aluguel e condomínio/Condomínio|4 6 7 7 9");
        row("an item without a name, equal names in code order",
            "INSERT INTO NivelCategoria4 VALUES (11, NULL, 5, 0, 0);INSERT INTO NivelCategoria4 VALUES (10, "
            "'ALUGUEL DA LOJA', 5, 0, 0);UPDATE NivelCategoria4 SET Nome = 'aluguel da loja' WHERE Codigo = "
            "7",
            "m5", "0 4 Registro 11/11 Aplicações/CDB|3 4 6 7 11");
        row("an item whose account is missing", "INSERT INTO NivelCategoria4 VALUES (12, 'Órfão', 99, 0, 0)",
            "",
            "1 registro(s) sem nível superior cadastrado não aparecem na árvore|0 4 Registro 1/10 /Órfão|3 4 "
            "6 7 10");
        row("a record open for change keeps its page", "", "ID_Alterar t1",
            "Alterar 010 000011 00|Alterando Registro|0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
    }
    // The window comes up before the chart is read, on the page's first row; once the rest is
    // read (or a step reads it first) it shows what a window that read the whole page at once
    // shows, on the same tree node.
    void browse()
    {
        QFETCH(QString, change);
        QFETCH(QString, steps);
        QFETCH(QString, expected);
        const QStringList changes = change.split(u';', Qt::SkipEmptyParts);
        LoadedContas fx(changes);
        LoadedContas whole(changes);
        whole.window->showLevel(4, false, true);
        QVERIFY(!fx.window->restRead());
        if (steps.isEmpty())
            fx.window->readRest();
        else
            QCOMPARE(fx.screen(), whole.screen());
        fx.clearCalls();
        whole.clearCalls();
        fx.play(steps);
        whole.play(steps);
        QCOMPARE(fx.screen(), expected);
        QCOMPARE(whole.screen(), expected);
        fx.window->readRest();
        if (fx.window->Modo == QStringLiteral("Visualizar")) // an open record leaves the tree alone
            QCOMPARE(varemo::nodeKeyOf(fx.window->Arvore->currentItem()),
                varemo::nodeKeyOf(whole.window->Arvore->currentItem()));
        QCOMPARE(fx.window->dataSet()->rows(), whole.window->dataSet()->rows());
    }

    // The search command opens the search window; the found-records report follows unless the
    // search is cancelled, and the hits are walked from the first, which is marked.
    void searchThenReport_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<QString>("calls");
        QTest::newRow("searched") << 2
                                  << "modal ProContas sound 7 box Foram encontrados 4 registros,  \rcom as "
                                     "regras de filtro estabelecidas.|Registros encontrados|64";
        QTest::newRow("cancelled") << 1 << "modal ProContas sound 7";
    }
    void searchThenReport()
    {
        QFETCH(int, button);
        QFETCH(QString, calls);
        LoadedContas fx;
        fx.clearCalls();
        fx.desktop.setNextModal([button](QWidget& shown) {
            auto& window = static_cast<varemo::ProContas&>(shown);
            window.Criterio[0]->setCurrentText(QStringLiteral("seja igual a"));
            window.Conteudo[0]->setText(QStringLiteral("Receitas"));
            window.BotaoProcura_Click(button);
        });
        fx.play(QStringLiteral("ID_Filtrar"));
        QCOMPARE(fx.desktop.calls.join(u' '), calls);
        QCOMPARE(fx.window->MoveFiltro[3]->isEnabled(), button == 2);
        QVERIFY(button != 2 || fx.window->dataSet()->value(QStringLiteral("NivelCategoria4.Marca")).toBool());
    }

    void movesAndClicksReadNothingAgain()
    {
        LoadedContas fx;
        fx.window->readRest();
        QStringList statements;
        fx.state.database->statementHook = [&statements](const QString& sql) { statements << sql; };
        fx.play(QStringLiteral("m0 m1 m2 m3 m4 m5 n2N4 n5N3 n1N0 n9N4 f0"));
        QCOMPARE(statements, QStringList());
    }
};

VAREMO_TEST(TestBrowsing);
#include "test_browsing.moc"
