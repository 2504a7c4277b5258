#include "contasfixture.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTreeWidget>

using varemo::test::LoadedContas;

namespace {

// "key name/parent key" of every node under `root`, in walk order.
QStringList treeShape(QTreeWidgetItem* root)
{
    QStringList shape;
    varemo::walkTree(root, [&shape, root](QTreeWidgetItem* node) {
        if (node != root)
            shape << varemo::nodeKeyOf(node) + u' ' + node->text(0) + u'/'
                    + varemo::nodeKeyOf(node->parent());
    });
    return shape;
}

// Each child's name and image.
QStringList children(QTreeWidgetItem* node)
{
    QStringList names;
    for (int i = 0; i < node->childCount(); ++i)
        names << node->child(i)->text(0) + u':' + varemo::nodeImage(node->child(i));
    return names;
}

} // namespace

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
        QCOMPARE(varemo::nodeKeyOf(root) + u' ' + root->text(0), QStringLiteral("NI Despesas e Receitas"));
        // Only the root is open and every node unmarked; the branch of the record shown
        // (item 6) opens once events run.
        QCOMPARE(varemo::nodeKeyOf(fx.window->Arvore->currentItem()), QStringLiteral("6N4"));
        varemo::walkTree(root, [root](QTreeWidgetItem* node) {
            QCOMPARE(node->isExpanded(), node == root);
            QCOMPARE(varemo::nodeImage(node), QStringLiteral("Nenhum"));
        });
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

    void rowsWithoutParentStayOut_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<int>("nodes");
        QTest::addColumn<QString>("message");
        const QString orphans
            = QStringLiteral("%1 registro(s) sem nível superior cadastrado não aparecem na árvore");
        QTest::newRow("none") << QStringList() << 29 << QString();
        QTest::newRow("no groups") << QStringList {"DELETE FROM NivelCategoria2"} << 7 << orphans.arg(16);
        QTest::newRow("no items") << QStringList {"DELETE FROM NivelCategoria4"} << 20 << QString();
        QTest::newRow("orphan chain") << QStringList {"INSERT INTO NivelCategoria2 (Codigo, Nome, "
                                                      "CodigoCategoria1) VALUES (40, 'Órfão', 99)",
            "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (40, 'Filha', 40)",
            "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (40, 'Sem pai', NULL)"}
                                      << 29 << orphans.arg(3);
    }
    void rowsWithoutParentStayOut()
    {
        QFETCH(QStringList, changes);
        QFETCH(int, nodes);
        QFETCH(QString, message);
        LoadedContas fx(changes);
        QVERIFY(fx.loaded);
        QCOMPARE(treeShape(fx.window->Arvore->topLevelItem(0)).size(), nodes);
        QCOMPARE(fx.window->Status->panelText(varemo::StatusBar::Message), message);
    }

    void savedReportMarksTheTree()
    {
        LoadedContas fx;
        fx.window->MostraMarcas(1);
        QStringList marked;
        varemo::walkTree(fx.window->Arvore->topLevelItem(0), [&marked](QTreeWidgetItem* node) {
            if (varemo::nodeImage(node) != QStringLiteral("Nenhum"))
                marked << varemo::nodeKeyOf(node) + u':' + varemo::nodeImage(node);
        });
        QCOMPARE(marked.join(u' '),
            QStringLiteral(
                "2N0:Alguns 3N1:Todos 5N2:Todos 5N3:Todos 6N4:Todos 7N4:Todos 6N3:Todos 8N4:Todos"));
        varemo::clearMarks(fx.window->Arvore->topLevelItem(0));
        QCOMPARE(varemo::nodeImage(fx.window->node(QStringLiteral("2N0"))), QStringLiteral("Nenhum"));
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
            "'Água', 5), "
            "(22, 'Internet', 5)",
            0, "5N2", "5N2",
            "Água:Nenhum|Aluguel e condomínio:Nenhum|Energia:Nenhum|Internet:Nenhum|zelador:Nenhum");
        row("opened branch", "", 0, "1N0", "1N0", "Receitas Clientes:Nenhum|Receitas Financeiras:Nenhum");
        row("asked below a closed branch", "", 0, "9N4", "7N3", "CDB:Nenhum");
        row("marks of a closed branch", mark + "(1, 'N1', 4, 3), (1, 'N1', 1, 2)", 1, "1N0", "1N0",
            "Receitas Clientes:Alguns|Receitas Financeiras:Todos");
        row("mark below a node asked for", mark + "(1, 'N4', 9, 3)", 1, "9N4", "7N3", "CDB:Todos");
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
        QCOMPARE(::children(fx.window->node(parent)).join(u'|'), children);
    }

    // A save reaches the tree even under a branch never opened: the new node is in its place,
    // and rebuilding the tree from the tables the window holds gives the same tree.
    void saveReachesTheTree_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("children");
        const auto row = [](const char* tag, const char* path, const char* parent, const char* children) {
            QTest::newRow(tag) << QString::fromUtf8(path) << parent << QString::fromUtf8(children);
        };
        row("item between its siblings",
            "Despesas/Despesas Administrativas/Ocupação/Aluguel e condomínio/Água", "5N3",
            "Água|Aluguel da loja|Condomínio");
        row("item under a closed account", "Receitas/Receitas Financeiras/Vendas Produtos/Aplicações/Tesouro",
            "7N3", "CDB|Tesouro");
        row("account made on a closed path", "Receitas/Receitas Clientes/Vendas Produtos/Bolos/Bolo de milho",
            "1N2", "Bolos|Pães");
        row("sector made on the path", "Receitas/receitas eventuais/Aluguéis/Sala 2/Março", "1N0",
            "Receitas Clientes|receitas eventuais|Receitas Financeiras");
        row("sector under an empty category", "Vazia/Novo setor/Novo grupo/Nova conta/Item", "3N0",
            "Novo setor");
    }
    void saveReachesTheTree()
    {
        QFETCH(QString, path);
        QFETCH(QString, parent);
        QFETCH(QString, children);
        LoadedContas fx;
        fx.play(QStringLiteral("ID_Incluir"));
        fx.typePath(path.split(u'/'));
        fx.play(QStringLiteral("ID_Gravar"));
        QVERIFY(!fx.window->EmInclusao);
        QCOMPARE(
            fx.window->node(varemo::nodeKey(fx.window->CodigoGravado, 4))->text(0), path.section(u'/', -1));
        QCOMPARE(::children(fx.window->node(parent)).join(u'|').remove(QStringLiteral(":Nenhum")), children);
        const QStringList saved = treeShape(fx.window->Arvore->topLevelItem(0));
        fx.window->CarregaArvore();
        QCOMPARE(treeShape(fx.window->Arvore->topLevelItem(0)), saved);
    }

    void failedLoadIsLoggedAndStillReady()
    {
        LoadedContas fx({QStringLiteral("DROP TABLE Relatorios")});
        QVERIFY(!fx.loaded);
        QVERIFY(fx.state.mainWindowReady);
        QVERIFY(fx.desktop.sounds.contains(1));
        QVERIFY(fx.desktop.boxes.last().prompt.contains(
            QStringLiteral("Rotina em que houve o erro: Erro ao Abrir Programa")));
    }
};

VAREMO_TEST(TestTree);
#include "test_tree.moc"
