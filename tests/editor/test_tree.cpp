#include "contasfixture.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QSqlQuery>
#include <QTest>
#include <QTreeWidget>

using varemo::test::LoadedContas;

namespace {

// key -> "name / parent key" for every node under the root.
QMap<QString, QString> treeShape(QTreeWidgetItem* root)
{
    QMap<QString, QString> shape;
    varemo::walkTree(root, [&shape, root](QTreeWidgetItem* node) {
        if (node != root)
            shape.insert(varemo::nodeKeyOf(node),
                node->text(0) + QStringLiteral(" / ") + varemo::nodeKeyOf(node->parent()));
    });
    return shape;
}

// The same, read from the five level tables directly.
QMap<QString, QString> tableShape(varemo::test::TestCompany& company)
{
    QMap<QString, QString> shape;
    for (int level = 0; level < 5; ++level) {
        const QString parent
            = level == 0 ? QStringLiteral("NULL") : QStringLiteral("CodigoCategoria%1").arg(level - 1);
        QSqlQuery query(company.sql());
        if (!query.exec(
                QStringLiteral("SELECT Codigo, Nome, %1 FROM NivelCategoria%2").arg(parent).arg(level)))
            qFatal("cannot read level %d", level);
        while (query.next()) {
            const QString parentKey = level == 0
                ? QStringLiteral("NI")
                : query.value(2).toString() + QStringLiteral("N%1").arg(level - 1);
            shape.insert(query.value(0).toString() + QStringLiteral("N%1").arg(level),
                query.value(1).toString() + QStringLiteral(" / ") + parentKey);
        }
    }
    company.closeSql();
    return shape;
}

QStringList childNames(QTreeWidgetItem* node)
{
    QStringList names;
    for (int i = 0; i < node->childCount(); ++i)
        names << node->child(i)->text(0);
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
        QTreeWidget* tree = fx.window->Arvore;
        QCOMPARE(tree->topLevelItemCount(), 1);
        QTreeWidgetItem* root = tree->topLevelItem(0);
        QCOMPARE(varemo::nodeKeyOf(root), QStringLiteral("NI"));
        QCOMPARE(root->text(0), QStringLiteral("Despesas e Receitas"));
        QVERIFY(root->isExpanded());
        const QMap<QString, QString> shape = treeShape(root);
        QCOMPARE(shape.size(), 3 + 4 + 6 + 7 + 9);
        QCOMPARE(shape, tableShape(fx.company));
        // Only the root is open, every node starts unmarked, and codes repeat across levels.
        // The record shown (item 6) is current; its branch opens once events run.
        QCOMPARE(varemo::nodeKeyOf(tree->currentItem()), QStringLiteral("6N4"));
        varemo::walkTree(root, [root](QTreeWidgetItem* node) {
            QCOMPARE(node->isExpanded(), node == root);
            QCOMPARE(varemo::nodeImage(node), QStringLiteral("Nenhum"));
        });
        QCOMPARE(fx.window->node(QStringLiteral("5N3"))->text(0), QStringLiteral("Aluguel e condomínio"));
        QCOMPARE(fx.window->node(QStringLiteral("5N2"))->text(0), QStringLiteral("Ocupação"));
        QTRY_VERIFY(fx.window->node(QStringLiteral("5N3"))->isExpanded());
        QVERIFY(fx.window->node(QStringLiteral("2N0"))->isExpanded());
        QVERIFY(!fx.window->node(QStringLiteral("1N0"))->isExpanded());
        // Of the selectors only the category list is filled; the saved reports are listed.
        QCOMPARE(fx.window->Combo[0]->names(),
            (QStringList {QStringLiteral("Despesas"), QStringLiteral("Receitas"), QStringLiteral("Vazia")}));
        for (std::size_t level = 1; level < 5; ++level)
            QCOMPARE(fx.window->Combo[level]->count(), 0);
        QCOMPARE(fx.window->Relatos->count(), 1);
        QCOMPARE(fx.window->Relatos->item(0)->text(), QStringLiteral("Resultado Mensal"));
    }

    void siblingsAreInNameOrder_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("categories") << QStringList() << QStringLiteral("NI")
                                    << QStringList {QStringLiteral("Despesas"), QStringLiteral("Receitas"),
                                           QStringLiteral("Vazia")};
        QTest::newRow("accents and case")
            << QStringList {QStringLiteral(
                   "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (20, 'zelador', 5), "
                   "(21, 'Água', 5), (22, 'Internet', 5)")}
            << QStringLiteral("5N2")
            << QStringList {QStringLiteral("Água"), QStringLiteral("Aluguel e condomínio"),
                   QStringLiteral("Energia"), QStringLiteral("Internet"), QStringLiteral("zelador")};
    }
    void siblingsAreInNameOrder()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, parent);
        QFETCH(QStringList, names);
        LoadedContas fx(changes);
        fx.window->readRest(); // the tree follows the first record
        QCOMPARE(childNames(fx.window->node(parent)), names);
    }

    void rowsWithoutParentStayOut_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<int>("nodes");
        QTest::addColumn<QString>("message");
        QTest::newRow("none") << QStringList() << 29 << QString();
        QTest::newRow("no groups")
            << QStringList {QStringLiteral("DELETE FROM NivelCategoria2")} << 7
            << QStringLiteral("16 registro(s) sem nível superior cadastrado não aparecem na árvore");
        QTest::newRow("no items") << QStringList {QStringLiteral("DELETE FROM NivelCategoria4")} << 20
                                  << QString();
        QTest::newRow("orphan chain") << QStringList {QStringLiteral(
                                                          "INSERT INTO NivelCategoria2 (Codigo, Nome, "
                                                          "CodigoCategoria1) VALUES (40, 'Órfão', 99)"),
            QStringLiteral(
                "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (40, 'Filha', 40)"),
            QStringLiteral(
                "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (40, 'Sem pai', NULL)")}
                                      << 29
                                      << QStringLiteral("3 registro(s) sem nível superior cadastrado não "
                                                        "aparecem na árvore");
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
        QMap<QString, QString> marked;
        varemo::walkTree(fx.window->Arvore->topLevelItem(0), [&marked](QTreeWidgetItem* node) {
            const QString image = varemo::nodeImage(node);
            if (image != QStringLiteral("Nenhum"))
                marked.insert(varemo::nodeKeyOf(node), image);
        });
        const QString all = QStringLiteral("Todos");
        const QMap<QString, QString> expected
            = {{QStringLiteral("2N0"), QStringLiteral("Alguns")}, {QStringLiteral("3N1"), all},
                {QStringLiteral("5N2"), all}, {QStringLiteral("5N3"), all}, {QStringLiteral("6N3"), all},
                {QStringLiteral("6N4"), all}, {QStringLiteral("7N4"), all}, {QStringLiteral("8N4"), all}};
        QCOMPARE(marked, expected);
        varemo::clearMarks(fx.window->Arvore->topLevelItem(0));
        QCOMPARE(varemo::nodeImage(fx.window->node(QStringLiteral("2N0"))), QStringLiteral("Nenhum"));
    }

    // Branches below the categories are made when they open or when a node below them is
    // asked for; report marks of nodes not made yet show once they are.
    void branchesAreMadeOnDemand_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<bool>("marks");
        QTest::addColumn<bool>("clear");
        QTest::addColumn<QString>("open");
        QTest::addColumn<QString>("ask");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QStringList>("children");
        const QString mark = QStringLiteral(
            "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES %1");
        QTest::newRow("opened branch in order")
            << QStringList() << false << false << QStringLiteral("1N0") << QString() << QStringLiteral("1N0")
            << QStringList {
                   QStringLiteral("Receitas Clientes:Nenhum"), QStringLiteral("Receitas Financeiras:Nenhum")};
        QTest::newRow("asked below a closed branch")
            << QStringList() << false << false << QString() << QStringLiteral("9N4") << QStringLiteral("7N3")
            << QStringList {QStringLiteral("CDB:Nenhum")};
        QTest::newRow("marks of a closed branch")
            << QStringList {mark.arg(QStringLiteral("(1, 'N1', 4, 3), (1, 'N1', 1, 2)"))} << true << false
            << QStringLiteral("1N0") << QString() << QStringLiteral("1N0")
            << QStringList {
                   QStringLiteral("Receitas Clientes:Alguns"), QStringLiteral("Receitas Financeiras:Todos")};
        QTest::newRow("mark below a node asked for")
            << QStringList {mark.arg(QStringLiteral("(1, 'N4', 9, 3)"))} << true << false << QString()
            << QStringLiteral("9N4") << QStringLiteral("7N3") << QStringList {QStringLiteral("CDB:Todos")};
        QTest::newRow("cleared marks of a closed branch")
            << QStringList {mark.arg(QStringLiteral("(1, 'N1', 4, 3)"))} << true << true
            << QStringLiteral("1N0") << QString() << QStringLiteral("1N0")
            << QStringList {
                   QStringLiteral("Receitas Clientes:Nenhum"), QStringLiteral("Receitas Financeiras:Nenhum")};
    }
    void branchesAreMadeOnDemand()
    {
        QFETCH(QStringList, changes);
        QFETCH(bool, marks);
        QFETCH(bool, clear);
        QFETCH(QString, open);
        QFETCH(QString, ask);
        QFETCH(QString, parent);
        QFETCH(QStringList, children);
        LoadedContas fx(changes);
        QVERIFY(fx.loaded);
        if (marks)
            fx.window->MostraMarcas(1);
        if (clear)
            fx.window->hideReportList();
        if (!open.isEmpty()) {
            QTreeWidgetItem* closed = fx.window->node(open);
            QCOMPARE(closed->childCount(), 0);
            QCOMPARE(closed->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
            closed->setExpanded(true);
        }
        if (!ask.isEmpty()) {
            QTreeWidgetItem* asked = fx.window->node(ask);
            QVERIFY(asked != nullptr);
            QCOMPARE(asked->parent(), fx.window->node(parent));
            QVERIFY(!fx.window->node(parent)->isExpanded());
        }
        QStringList shown;
        QTreeWidgetItem* above = fx.window->node(parent);
        for (int i = 0; i < above->childCount(); ++i)
            shown << above->child(i)->text(0) + QLatin1Char(':') + varemo::nodeImage(above->child(i));
        QCOMPARE(shown, children);
    }

    // A save under a branch never opened reaches the tree's index: the new node is in its place
    // when the branch is made.
    void saveUnderAClosedBranch_data()
    {
        QTest::addColumn<QStringList>("path");
        QTest::addColumn<QString>("closed");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QStringList>("children");
        QTest::newRow("item under a closed account")
            << QStringList {"Receitas", "Receitas Financeiras", "Vendas Produtos", "Aplicações", "Tesouro"}
            << QStringLiteral("1N0") << QStringLiteral("7N3") << QStringList {"CDB", "Tesouro"};
        QTest::newRow("account made on a closed path")
            << QStringList {"Receitas", "Receitas Clientes", "Vendas Produtos", "Bolos", "Bolo de milho"}
            << QStringLiteral("1N0") << QStringLiteral("1N2") << QStringList {"Bolos", "Pães"};
        QTest::newRow("sector under an empty category")
            << QStringList {"Vazia", "Novo setor", "Novo grupo", "Nova conta", "Item"}
            << QStringLiteral("3N0") << QStringLiteral("3N0") << QStringList {"Novo setor"};
    }
    void saveUnderAClosedBranch()
    {
        QFETCH(QStringList, path);
        QFETCH(QString, closed);
        QFETCH(QString, parent);
        QFETCH(QStringList, children);
        LoadedContas fx;
        QCOMPARE(fx.window->node(closed)->childCount(), 0);
        fx.window->tool_click(QStringLiteral("ID_Incluir"));
        fx.typePath(path);
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        QVERIFY(!fx.window->EmInclusao);
        QTreeWidgetItem* saved = fx.window->node(varemo::nodeKey(fx.window->CodigoGravado, 4));
        QVERIFY(saved != nullptr);
        QCOMPARE(saved->text(0), path.last());
        QCOMPARE(childNames(fx.window->node(parent)), children);
    }

    void keysComeApart_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("level");
        QTest::addColumn<qlonglong>("code");
        QTest::newRow("conta 17") << QStringLiteral("17N3") << 3 << 17LL;
        QTest::newRow("long code") << QStringLiteral("123456N4") << 4 << 123456LL;
        QTest::newRow("root") << QStringLiteral("NI") << -1 << 0LL;
        QTest::newRow("level 5 is none") << QStringLiteral("7N5") << -1 << 7LL;
    }
    void keysComeApart()
    {
        QFETCH(QString, key);
        QFETCH(int, level);
        QFETCH(qlonglong, code);
        QCOMPARE(varemo::keyLevel(key), level);
        QCOMPARE(varemo::keyCode(key), code);
        if (level >= 0)
            QCOMPARE(varemo::nodeKey(code, level), key);
    }

    void selectorFollowsTheNameAbove_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* tag, int level, const char* parent, const char* names,
                             const char* message = "") {
            QTest::newRow(tag) << level << QString::fromUtf8(parent) << QString::fromUtf8(names).split(u'|')
                               << QString::fromUtf8(message);
        };
        row("sectors", 1, " Despesas ", "Despesas Administrativas|Despesas Fornecedores");
        row("groups", 2, "Despesas Administrativas", "Ocupação");
        row("items", 4, "Aluguel e condomínio", "Aluguel da loja|Condomínio");
        // The list keeps what it had when the name above is unknown.
        row("unknown category", 1, "Nada", "antes", "Categoria não encontrada");
        row("unknown sector", 2, "Nada", "antes", "Depto. não encontrado");
        row("unknown account", 4, "Nada", "antes", "Conta não encontrada");
    }
    void selectorFollowsTheNameAbove()
    {
        QFETCH(int, level);
        QFETCH(QString, parent);
        QFETCH(QStringList, names);
        QFETCH(QString, message);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->Combo[static_cast<std::size_t>(level)]->fill({QStringLiteral("antes")});
        fx.window->Combo[static_cast<std::size_t>(level - 1)]->setText(parent);
        fx.window->PreencherCombo(level);
        QCOMPARE(fx.window->Combo[static_cast<std::size_t>(level)]->names(), names);
        QCOMPARE(fx.desktop.boxes.size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(fx.desktop.boxes[0].prompt, message);
            QCOMPARE(fx.desktop.boxes[0].buttons, varemo::vb::Information);
        }
    }

    void failedLoadIsLoggedAndStillReady()
    {
        LoadedContas fx({QStringLiteral("DROP TABLE Relatorios")});
        QVERIFY(!fx.loaded);
        QVERIFY(fx.state.mainWindowReady);
        QVERIFY(fx.desktop.sounds.contains(1));
        QVERIFY(!fx.desktop.boxes.isEmpty());
        QVERIFY(fx.desktop.boxes.last().prompt.contains(
            QStringLiteral("Rotina em que houve o erro: Erro ao Abrir Programa")));
    }
};

VAREMO_TEST(TestTree);
#include "test_tree.moc"
