#include "contasfixture.h"
#include "editor/browse.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using namespace varemo::test;

// After a save the page shows what reading the whole level again would, on the saved row.
class TestSaveRefresh : public QObject {
    Q_OBJECT
private slots:
    void pageAfterSave_data()
    {
        QTest::addColumn<QString>("command"); // ID_Incluir or ID_Alterar, from "Conta de luz"
        QTest::addColumn<int>("level"); // 4: the item page, else the level page of that level
        QTest::addColumn<QString>("name"); // typed in the level's own field
        QTest::newRow("new item") << QStringLiteral("ID_Incluir") << 4 << QStringLiteral("Água");
        QTest::newRow("account renamed") << QStringLiteral("ID_Alterar") << 3 << QStringLiteral("Água e luz");
    }
    void pageAfterSave()
    {
        QFETCH(QString, command);
        QFETCH(int, level);
        QFETCH(QString, name);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, 8));
        fx.window->PreencheCampos();
        if (level == 3)
            fx.window->tool_click(QStringLiteral("ID_Conta"));
        fx.window->tool_click(command);
        if (level == 4)
            fx.window->Combo[4]->setText(name);
        else
            fx.window->Texto[3]->setText(name);
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        QVERIFY(fx.window->Gravou);

        auto reread = fx.state.database->openRecordset(browse::joinedLevelRows(level));
        reread->sortByText(browse::levelNameOrder(level));
        const Recordset* page = fx.window->dataSet();
        QVERIFY(page != nullptr);
        QCOMPARE(page->rows(), reread->rows());
        QCOMPARE(page->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString(), name);
    }
};

VAREMO_TEST(TestSaveRefresh);
#include "test_saverefresh.moc"
