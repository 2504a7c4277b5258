#include "contasfixture.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTreeWidget>

using namespace varemo;
using namespace varemo::test;

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
};

VAREMO_TEST(TestTree);
#include "test_tree.moc"
