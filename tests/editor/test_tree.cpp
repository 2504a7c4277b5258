#include "contasfixture.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTreeWidget>

using namespace varemo;
using namespace varemo::test;

// The tree and the selectors above the item fields.
class TestTree : public QObject {
    Q_OBJECT

private slots:
    void loadBuildsTheWholeChartUnderTheRoot()
    {
        LoadedContas fx;
        QVERIFY(fx.loaded);
        fx.window->readRest();
        QTreeWidgetItem* root = fx.window->Arvore->topLevelItem(0);
        QCOMPARE(fx.window->Arvore->topLevelItemCount(), 1);
        QCOMPARE(nodeKeyOf(root) + u' ' + root->text(0), QStringLiteral("NI Despesas e Receitas"));
        // Only the root is open; the branch of the record shown (item 6) opens once events run.
        QCOMPARE(nodeKeyOf(fx.window->Arvore->currentItem()), QStringLiteral("6N4"));
        walkTree(root, [root](QTreeWidgetItem* node) { QCOMPARE(node->isExpanded(), node == root); });
        QTRY_VERIFY(fx.window->node(QStringLiteral("5N3"))->isExpanded());
        QVERIFY(fx.window->node(QStringLiteral("2N0"))->isExpanded());
        QVERIFY(!fx.window->node(QStringLiteral("1N0"))->isExpanded());
        // Of the selectors only the category list is filled; the saved reports are listed.
        QCOMPARE(fx.window->Combo[0]->names().join(u','), QStringLiteral("Despesas,Receitas,Vazia"));
        for (std::size_t level = 1; level < 5; ++level)
            QCOMPARE(fx.window->Combo[level]->count(), 0);
        QCOMPARE(fx.window->Relatos->count(), 1);
        QCOMPARE(fx.window->Relatos->item(0)->text(), QStringLiteral("Resultado Mensal"));
    }

    // Rows whose parent is missing stay out of the tree, counted on the status bar; a load
    // that fails is logged and still lets the splash hand over.
    void rowsWithoutParentStayOut_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("expected"); // loaded, nodes, status message, logged routine
        const auto row = [](const char* tag, const QStringList& changes, const QString& expected) {
            QTest::newRow(tag) << changes << expected;
        };
        const QString orphans
            = QStringLiteral("registro(s) sem nível superior cadastrado não aparecem na árvore");
        row("none", {}, "1|29|");
        row("no groups", {"DELETE FROM NivelCategoria2"}, "1|7|16 " + orphans);
        row("no items", {"DELETE FROM NivelCategoria4"}, "1|20|");
        row("orphan chain",
            {"INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) VALUES (40, 'Órfão', 99)",
                "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (40, 'Filha', 40)",
                "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (40, 'Sem pai', NULL)"},
            "1|29|3 " + orphans);
        row("failed load", {"DROP TABLE Relatorios"},
            "0|0||Rotina em que houve o erro: Erro ao Abrir Programa");
    }
    void rowsWithoutParentStayOut()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, expected);
        LoadedContas fx(changes);
        QStringList seen {QString::number(fx.loaded), QString::number(treeShape(fx.window->Arvore).size()),
            fx.window->Status->panelText(StatusBar::Message)};
        for (const Box& box : fx.desktop.boxes)
            seen << box.prompt.split(u'\r').filter(QStringLiteral("Rotina"));
        QCOMPARE(seen.join(u'|'), expected);
        QVERIFY(fx.state.mainWindowReady);
        QCOMPARE(fx.desktop.sounds, fx.loaded ? QList<int>() : QList<int> {1});
    }

    // Branches below the categories are made when they open or when a node below them is
    // asked for, siblings in name order; report marks of nodes not made yet show once they are.
    void branchesAreMadeOnDemand_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("marks"); // 0 none, 1 report 1's shown, 2 shown then hidden
        QTest::addColumn<QString>("open"); // a closed node opened, or one below a closed branch asked for
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("children");
        const QString mark = QStringLiteral(
            "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES ");
        const auto row = [](const char* tag, const QString& change, int marks, const char* open,
                             const char* parent, const char* children) {
            QTest::newRow(tag) << change << marks << open << parent << QString::fromUtf8(children);
        };
        row("categories", "", 0, "", "NI", "Despesas:Nenhum|Receitas:Nenhum|Vazia:Nenhum");
        row("accents and case",
            "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (20, 'zelador', 5), (21, "
            "'Água', 5), (22, 'Internet', 5)",
            0, "5N2", "5N2",
            "Água:Nenhum|Aluguel e condomínio:Nenhum|Energia:Nenhum|Internet:Nenhum|zelador:Nenhum");
        row("opened branch", "", 0, "1N0", "1N0", "Receitas Clientes:Nenhum|Receitas Financeiras:Nenhum");
        row("asked below a closed branch", "", 0, "9N4", "7N3", "CDB:Nenhum");
        // The saved report marks part of one category and all of what lies under a marked node.
        row("report marks, categories", "", 1, "", "NI", "Despesas:Alguns|Receitas:Nenhum|Vazia:Nenhum");
        row("report marks, sectors", "", 1, "2N0", "2N0",
            "Despesas Administrativas:Todos|Despesas Fornecedores:Nenhum");
        row("report marks, items", "", 1, "7N4", "5N3", "Aluguel da loja:Todos|Condomínio:Todos");
        row("marks of a closed branch", mark + "(1, 'N1', 4, 3), (1, 'N1', 1, 2)", 1, "1N0", "1N0",
            "Receitas Clientes:Alguns|Receitas Financeiras:Todos");
        row("mark below a node asked for", mark + "(1, 'N4', 9, 3)", 1, "9N4", "7N3", "CDB:Todos");
        row("hidden marks", "", 2, "", "NI", "Despesas:Nenhum|Receitas:Nenhum|Vazia:Nenhum");
        row("hidden marks of a closed branch", mark + "(1, 'N1', 4, 3)", 2, "1N0", "1N0",
            "Receitas Clientes:Nenhum|Receitas Financeiras:Nenhum");
    }
    void branchesAreMadeOnDemand()
    {
        QFETCH(QString, change);
        QFETCH(int, marks);
        QFETCH(QString, open);
        QFETCH(QString, parent);
        QFETCH(QString, children);
        LoadedContas fx(change.isEmpty() ? QStringList() : QStringList {change});
        if (marks > 0)
            fx.window->MostraMarcas(1);
        if (marks > 1)
            fx.window->hideReportList();
        if (open == parent)
            fx.window->node(open)->setExpanded(true);
        else if (!open.isEmpty())
            QCOMPARE(fx.window->node(open)->parent(), fx.window->node(parent));
        QCOMPARE(childList(fx.window->node(parent)), children);
    }

    void choiceCascades_data()
    {
        QTest::addColumn<bool>("inserting");
        QTest::addColumn<QString>("path"); // chosen from the top, one selector after another
        QTest::addColumn<QString>("below"); // each selector under the last choice, "text:list"
        QTest::addColumn<bool>("lines");
        QTest::addColumn<QString>("box"); // in the prompt of the one box shown
        const auto row = [](const char* tag, const QString& path, const char* below, bool lines = false,
                             const char* box = "", bool inserting = true) {
            QTest::newRow(tag) << inserting << path << below << lines << box;
        };
        const char* noProducts = "Não existem Produtos ou Linha de produto errada!";
        const QString goods = QStringLiteral("Despesas/Despesas Fornecedores/Fornecedores Produtos");
        const QString rooms = QStringLiteral("Despesas/Despesas Administrativas/Ocupação");
        row("category", "Despesas", ":Despesas Administrativas,Despesas Fornecedores/:/:/:");
        row("ordinary group", rooms, ":Aluguel e condomínio,Energia/:");
        row("goods group: lines of goods", goods, ":Pães,Sorvetes/:", true);
        row("supply group: supply lines", "Despesas/Despesas Fornecedores/Fornecedores Insumos",
            ":Farinhas/:", true);
        row("sector spelt otherwise is ordinary", "Despesas/despesas fornecedores/Fornecedores Produtos",
            ":Pães/:");
        row("sales group is ordinary", "Receitas/Receitas Clientes/Vendas Produtos", ":Pães/:");
        row("line: its products", goods + "/Pães", ":Baguete,Pão francês", true);
        row("line without products", goods + "/Sorvetes", ":", true, noProducts);
        row("supply line under the goods group", goods + "/Farinhas", ":", true, noProducts);
        // A name is looked for in the whole table: the first "Pães" is of "Vendas Produtos".
        row("repeated name takes the first row", rooms + "/Pães", ":Baguete,Pão francês");
        row("unknown name: children of code 0", "Nada", ":/:/:/:", false, "CodigoProcurado não encontrado");
        // An apostrophe breaks the name's criteria: the failure goes to the log.
        row("apostrophe", "D'água", ":/:/:/:", false, "Rotina em que houve o erro: Preenchendo Seletor");
        row("browsing changes nothing", "Despesas",
            "x:/Ocupação:/Aluguel e condomínio:/Aluguel da loja:", false, "", false);
    }
    void choiceCascades()
    {
        QFETCH(bool, inserting);
        QFETCH(QString, path);
        QFETCH(QString, below);
        QFETCH(bool, lines);
        QFETCH(QString, box);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmInclusao = inserting;
        fx.window->CodigoProcurado = 0;
        const QStringList names = path.split(u'/');
        for (int level = 0; level < names.size(); ++level) {
            fx.window->Combo[std::size_t(level)]->setText(names.at(level));
            fx.window->Combo[std::size_t(level + 1)]->setText(QStringLiteral("x"));
            fx.window->Combo_Click(level);
        }
        // Everything below the last choice is emptied and only the next list filled; a line
        // without products is not kept either.
        QStringList seen;
        for (auto level = std::size_t(names.size()); level < 5; ++level)
            seen << fx.window->Combo[level]->text() + u':' + fx.window->Combo[level]->names().join(u',');
        QCOMPARE(seen.join(u'/'), below);
        QCOMPARE(fx.window->Combo[std::size_t(names.size() - 1)]->text(),
            box.isEmpty() || names.size() < 4 ? names.last() : QString());
        QCOMPARE(fx.window->ModoLinhas, lines);
        QCOMPARE(fx.desktop.boxes.size(), box.isEmpty() ? 0 : 1);
        QVERIFY(box.isEmpty() || fx.desktop.boxes[0].prompt.contains(box));
    }

    // The list under a name follows that name; an unknown name keeps the list as it was.
    void listFollowsTheNameAbove_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("expected"); // the list, then the box
        const QString box = QStringLiteral("antes|box %1||") + QString::number(vb::Information);
        QTest::newRow("sectors, blanks around the name") << 1 << " Despesas "
                                                         << "Despesas Administrativas,Despesas Fornecedores|";
        QTest::newRow("groups") << 2 << "Despesas Administrativas"
                                << "Ocupação|";
        QTest::newRow("unknown category")
            << 1 << "Nada" << box.arg(QStringLiteral("Categoria não encontrada"));
        QTest::newRow("unknown sector") << 2 << "Nada" << box.arg(QStringLiteral("Depto. não encontrado"));
        QTest::newRow("unknown account") << 4 << "Nada" << box.arg(QStringLiteral("Conta não encontrada"));
    }
    void listFollowsTheNameAbove()
    {
        QFETCH(int, level);
        QFETCH(QString, parent);
        QFETCH(QString, expected);
        LoadedContas fx;
        fx.clearCalls();
        const auto at = std::size_t(level);
        fx.window->Combo[at]->fill({QStringLiteral("antes")});
        fx.window->Combo[at - 1]->setText(parent);
        fx.window->PreencherCombo(level);
        QCOMPARE(fx.window->Combo[at]->names().join(u',') + u'|' + fx.desktop.calls.join(u' '), expected);
    }
};

VAREMO_TEST(TestTree);
#include "test_tree.moc"
