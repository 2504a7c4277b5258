#include "contasfixture.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QTest>
#include <QTreeWidgetItem>

using namespace varemo;
using namespace varemo::test;

namespace {

int rowCount(Database& database, const QString& table)
{
    const auto rows = database.openRecordset(QStringLiteral("SELECT * FROM ") + table);
    int count = 0;
    for (; !rows->eof(); rows->moveNext())
        ++count;
    return count;
}

} // namespace

class TestSave : public QObject {
    Q_OBJECT
private slots:
    void saveItem_data()
    {
        QTest::addColumn<QStringList>("path"); // the five selector texts
        QTest::addColumn<QString>(
            "expected"); // box title, accounts, items, mode, tree text of the saved item

        const QString category = QStringLiteral("Despesas");
        QTest::newRow("new item under an existing account") << QStringList {category,
            QStringLiteral("Despesas Administrativas"), QStringLiteral("Ocupação"), QStringLiteral("Energia"),
            QStringLiteral("Conta de água")} << QStringLiteral("|7|10|Visualizar|Conta de água");
        QTest::newRow("missing account is made")
            << QStringList {category, QStringLiteral("Despesas Administrativas"), QStringLiteral("Ocupação"),
                   QStringLiteral("Telefone"), QStringLiteral("Celular")}
            << QStringLiteral("|8|10|Visualizar|Celular");
        QTest::newRow("same item under the same account") << QStringList {category,
            QStringLiteral("Despesas Administrativas"), QStringLiteral("Ocupação"), QStringLiteral("Energia"),
            QStringLiteral("Conta de luz")} << QStringLiteral("Item existente|7|9|Visualizar|Conta de luz");
        QTest::newRow("blank item name keeps the mode") << QStringList {category,
            QStringLiteral("Despesas Administrativas"), QStringLiteral("Ocupação"), QStringLiteral("Energia"),
            QStringLiteral("   ")} << QStringLiteral("Existe campo em branco|7|9|Inserir|");
        QTest::newRow("apostrophe writes nothing, not even the new account")
            << QStringList {category, QStringLiteral("Despesas Administrativas"), QStringLiteral("Ocupação"),
                   QStringLiteral("Telefone"), QStringLiteral("D'água")}
            << QStringLiteral("Tratamento de Erros|7|9|Inserir|");
    }
    void saveItem()
    {
        QFETCH(QStringList, path);
        QFETCH(QString, expected);
        LoadedContas fx;
        fx.window->tool_click(QStringLiteral("ID_Incluir"));
        for (int level = 0; level < 5; ++level)
            fx.window->Combo[static_cast<std::size_t>(level)]->setText(path[level]);
        fx.clearCalls();
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        Database& db = *fx.state.database;
        QTreeWidgetItem* saved = fx.window->node(nodeKey(fx.window->CodigoGravado, 4));
        const QString seen = QStringList {fx.desktop.boxes.isEmpty() ? QString() : fx.desktop.boxes[0].title,
            QString::number(rowCount(db, QStringLiteral("NivelCategoria3"))),
            QString::number(rowCount(db, QStringLiteral("NivelCategoria4"))), fx.window->Modo,
            saved != nullptr && fx.window->Gravou ? saved->text(0) : QString()}
                                 .join(QLatin1Char('|'));
        QCOMPARE(seen, expected);
    }

    void saveOnLevelPage_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected"); // box title, accounts, tree text of the saved account
        QTest::newRow("new account") << QStringLiteral("Telefone") << QStringLiteral("|8|Telefone");
        QTest::newRow("existing account")
            << QStringLiteral("Energia") << QStringLiteral("Registro já existente|7|Energia");
    }
    void saveOnLevelPage()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, 8)); // "Conta de luz", under "Energia"
        fx.window->PreencheCampos();
        fx.window->tool_click(QStringLiteral("ID_Conta"));
        fx.window->tool_click(QStringLiteral("ID_Incluir"));
        fx.window->Texto[3]->setText(name);
        fx.clearCalls();
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        QTreeWidgetItem* saved = fx.window->node(nodeKey(fx.window->CodigoGravado, 3));
        const QString seen = QStringList {fx.desktop.boxes.isEmpty() ? QString() : fx.desktop.boxes[0].title,
            QString::number(rowCount(*fx.state.database, QStringLiteral("NivelCategoria3"))),
            saved != nullptr ? saved->text(0) : QString()}
                                 .join(QLatin1Char('|'));
        QCOMPARE(seen, expected);
    }
};

VAREMO_TEST(TestSave);
#include "test_save.moc"
