#include "contasfixture.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QTest>
#include <QTreeWidgetItem>

using namespace varemo;
using namespace varemo::test;

class TestSave : public QObject {
    Q_OBJECT
private slots:
    void saveItem_data()
    {
        QTest::addColumn<QStringList>("path"); // the five selector texts
        QTest::addColumn<QString>(
            "expected"); // box title, accounts, items, mode, tree text of the saved item
        const auto row = [](const char* tag, const char* account, const char* item, const char* expected) {
            QTest::newRow(tag) << QStringList {"Despesas", "Despesas Administrativas", "Ocupação", account,
                item} << QString::fromUtf8(expected);
        };
        row("new item under an existing account", "Energia", "Conta de água",
            "|7|10|Visualizar|Conta de água");
        row("missing account is made", "Telefone", "Celular", "|8|10|Visualizar|Celular");
        row("same item under the same account", "Energia", "Conta de luz",
            "Item existente|7|9|Visualizar|Conta de luz");
        row("blank item name keeps the mode", "Energia", "   ", "Existe campo em branco|7|9|Inserir|");
        row("apostrophe writes nothing, not even the new account", "Telefone", "D'água",
            "Tratamento de Erros|7|9|Inserir|");
    }
    void saveItem()
    {
        QFETCH(QStringList, path);
        QFETCH(QString, expected);
        LoadedContas fx;
        fx.window->tool_click(QStringLiteral("ID_Incluir"));
        fx.typePath(path);
        fx.clearCalls();
        fx.window->tool_click(QStringLiteral("ID_Gravar"));
        QTreeWidgetItem* saved = fx.window->node(nodeKey(fx.window->CodigoGravado, 4));
        const QString seen
            = QStringList {fx.firstBoxTitle(), QString::number(fx.rows(QStringLiteral("NivelCategoria3"))),
                QString::number(fx.rows(QStringLiteral("NivelCategoria4"))), fx.window->Modo,
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
        const QString seen
            = QStringList {fx.firstBoxTitle(), QString::number(fx.rows(QStringLiteral("NivelCategoria3"))),
                saved != nullptr ? saved->text(0) : QString()}
                  .join(QLatin1Char('|'));
        QCOMPARE(seen, expected);
    }
};

VAREMO_TEST(TestSave);
#include "test_save.moc"
