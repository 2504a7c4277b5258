#include "contasfixture.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QTest>
#include <QTreeWidget>

using varemo::test::LoadedContas;

namespace {

// Every node in walk order as "key name", children in their order.
QStringList walkOrder(QTreeWidget& tree)
{
    QStringList nodes;
    varemo::walkTree(tree.topLevelItem(0), [&nodes](QTreeWidgetItem* node) {
        nodes << varemo::nodeKeyOf(node) + QLatin1Char(' ') + node->text(0);
    });
    return nodes;
}

} // namespace

// The tree is rebuilt from the level tables the window holds: after saves it must be the tree
// the saves left in place.
class TestTreeRebuild : public QObject {
    Q_OBJECT
private slots:
    void rebuildMatchesTheSavedTree_data()
    {
        QTest::addColumn<QStringList>("path");
        QTest::addColumn<QString>("newNode");
        QTest::newRow("item between its siblings") << QStringList {"Despesas", "Despesas Administrativas",
            "Ocupação", "Aluguel e condomínio", "Água"}
                                                   << QStringLiteral("Água");
        QTest::newRow("account made on the path") << QStringList {"Despesas", "Despesas Administrativas",
            "Ocupação", "Internet", "Provedor"} << QStringLiteral("Internet");
        QTest::newRow("sector made on the path") << QStringList {"Receitas", "receitas eventuais", "Aluguéis",
            "Sala 2", "Março"} << QStringLiteral("receitas eventuais");
    }
    void rebuildMatchesTheSavedTree()
    {
        QFETCH(QStringList, path);
        QFETCH(QString, newNode);
        LoadedContas fx;
        fx.window->tool_click(QStringLiteral("ID_Incluir"));
        fx.typePath(path);
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        QVERIFY(!fx.window->EmInclusao);
        const QStringList saved = walkOrder(*fx.window->Arvore);
        QVERIFY(saved.join(QLatin1Char('|')).contains(newNode));

        fx.window->CarregaArvore();
        QCOMPARE(walkOrder(*fx.window->Arvore), saved);
        QCOMPARE(fx.window->node(varemo::nodeKey(fx.window->CodigoGravado, 4))->text(0), path[4]);
    }
};

VAREMO_TEST(TestTreeRebuild);
#include "test_treerebuild.moc"
