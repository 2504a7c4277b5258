#include "contasfixture.h"
#include "editor/browse.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QToolBar>
#include <QTreeWidgetItem>

using namespace varemo;
using namespace varemo::test;

// Entering a mode, Escape leaving it, and the saves.
class TestSave : public QObject {
    Q_OBJECT
private slots:
    // Escape while a record is open cancels without asking and gives back the fields as
    // they were on entry.
    void enterMode_data()
    {
        QTest::addColumn<qint64>("item"); // made current first
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("escape"); // then a name typed and Escape
        QTest::addColumn<QString>("expected"); // mode, message, box, first move on, item field, bands shown
        QTest::newRow("edit ordinary item")
            << qint64(6) << "ID_Alterar" << false << "Alterar|Alterando Registro||0|Aluguel da loja|01";
        QTest::newRow("edit product item refused")
            << qint64(1) << "ID_Alterar" << false << "Visualizar||Não pode alterar|1|Pão francês|10";
        QTest::newRow("insert beside product item")
            << qint64(1) << "ID_Incluir" << false << "Inserir|Inserindo novo registro||0||01";
        QTest::newRow("escape from insert")
            << qint64(7) << "ID_Incluir" << true << "Visualizar|||1|Condomínio|10";
        QTest::newRow("escape from edit")
            << qint64(7) << "ID_Alterar" << true << "Visualizar|||1|Condomínio|10";
    }
    void enterMode()
    {
        QFETCH(qint64, item);
        QFETCH(QString, key);
        QFETCH(bool, escape);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, item));
        fx.window->PreencheCampos();
        fx.play(key);
        if (escape) {
            fx.window->Combo[4]->setText(QStringLiteral("Rascunho"));
            fx.clearCalls();
            QVERIFY(fx.window->Form_KeyDown(Qt::Key_Escape));
            QVERIFY(fx.state.database);
        }
        const auto on = [](bool shown) { return shown ? QStringLiteral("1") : QStringLiteral("0"); };
        QCOMPARE(QStringList(
                     {fx.window->Modo, fx.window->Status->panelText(StatusBar::Message), fx.firstBoxTitle(),
                         on(fx.window->Movimento[0]->isEnabled()), fx.window->Combo[4]->text(),
                         on(!fx.window->Barra1->isHidden()) + on(!fx.window->Barra2->isHidden())})
                     .join(u'|'),
            expected);
    }
    // From "Conta de luz" (item 8, under the account "Energia"): on the item page the
    // account and item selectors are typed; on the account page the account's own field.
    void save_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("typed"); // account/item, or the account's name
        QTest::addColumn<QString>("expected"); // box title, accounts, items, mode, tree text of the saved row
        const auto row
            = [](const char* tag, int level, const char* command, const char* typed, const char* expected) {
                  QTest::newRow(tag) << level << QString::fromLatin1(command) << QString::fromUtf8(typed)
                                     << QString::fromUtf8(expected);
              };
        row("new item under an existing account", 4, "ID_Incluir", "Energia/Água", "|7|10|Visualizar|Água");
        row("missing account is made", 4, "ID_Incluir", "Telefone/Celular", "|8|10|Visualizar|Celular");
        row("same item under the same account", 4, "ID_Incluir", "Energia/Conta de luz",
            "Item existente|7|9|Visualizar|Conta de luz");
        // Blank and quoted names alone are the typed-text suite's; here a bad item must also
        // take back the account made for it.
        row("apostrophe writes nothing, not even the new account", 4, "ID_Incluir", "Telefone/D'água",
            "Tratamento de Erros|7|9|Inserir|");
        row("new account", 3, "ID_Incluir", "Telefone", "|8|9|Visualizar|Telefone");
        row("existing account", 3, "ID_Incluir", "Energia", "Registro já existente|7|9|Visualizar|Energia");
        row("account renamed", 3, "ID_Alterar", "Água e luz", "|7|9|Visualizar|Água e luz");
    }
    void save()
    {
        QFETCH(int, level);
        QFETCH(QString, command);
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, 8));
        fx.window->PreencheCampos();
        fx.play((level == 3 ? QStringLiteral("ID_Conta ") : QString()) + command);
        if (level == 3)
            fx.window->Texto[3]->setText(typed);
        else
            fx.typePath(QStringList {"Despesas", "Despesas Administrativas", "Ocupação"}
                + typed.split(QLatin1Char('/')));
        fx.clearCalls();
        fx.play(QStringLiteral("ID_Gravar"));
        QTreeWidgetItem* saved = fx.window->node(nodeKey(fx.window->CodigoGravado, level));
        const QString seen = QStringList {fx.firstBoxTitle(),
            fx.company.scalar("SELECT count(*) FROM NivelCategoria3").toString(),
            fx.company.scalar("SELECT count(*) FROM NivelCategoria4").toString(), fx.window->Modo,
            saved != nullptr && fx.window->Gravou ? saved->text(0) : QString()}
                                 .join(QLatin1Char('|'));
        QCOMPARE(seen, expected);
        if (!fx.desktop.boxes.isEmpty())
            return;
        // The page after a save shows what reading the whole level again would, on the saved row.
        auto reread = fx.state.database->openRecordset(browse::joinedLevelRows(level));
        reread->sortByText(browse::levelNameOrder(level));
        const Recordset* page = fx.window->dataSet();
        QCOMPARE(page->rows(), reread->rows());
        QCOMPARE(page->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString(),
            typed.section(QLatin1Char('/'), -1));
    }
};

VAREMO_TEST(TestSave);
#include "test_save.moc"
