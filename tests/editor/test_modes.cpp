#include "contasfixture.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QPushButton>
#include <QTest>
#include <QToolBar>

using namespace varemo;
using namespace varemo::test;

class TestModes : public QObject {
    Q_OBJECT
private slots:
    void enterMode_data()
    {
        QTest::addColumn<qint64>("item"); // item made current first
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected"); // mode, message panel, box title, first move button on
        QTest::newRow("edit ordinary item")
            << qint64(6) << QStringLiteral("ID_Alterar") << QStringLiteral("Alterar|Alterando Registro||0");
        QTest::newRow("edit product item refused")
            << qint64(1) << QStringLiteral("ID_Alterar") << QStringLiteral("Visualizar||Não pode alterar|1");
        QTest::newRow("insert beside product item") << qint64(1) << QStringLiteral("ID_Incluir")
                                                    << QStringLiteral("Inserir|Inserindo novo registro||0");
    }
    void enterMode()
    {
        QFETCH(qint64, item);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, item));
        fx.clearCalls();
        fx.window->tool_click(key);
        const QString message = fx.window->Status->panelText(StatusBar::Message);
        QCOMPARE(
            QStringList({fx.window->Modo, message, fx.firstBoxTitle(),
                            fx.window->Movimento[0]->isEnabled() ? QStringLiteral("1") : QStringLiteral("0")})
                .join(QLatin1Char('|')),
            expected);
    }

    // Escape while a record is open cancels without asking and gives back the fields as
    // they were on entry.
    void escapeCancelsAndRestores_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("insert") << QStringLiteral("ID_Incluir");
        QTest::newRow("edit") << QStringLiteral("ID_Alterar");
    }
    void escapeCancelsAndRestores()
    {
        QFETCH(QString, key);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, 7));
        fx.window->PreencheCampos();
        const QString name = fx.window->Combo[4]->text();
        fx.window->tool_click(key);
        QVERIFY(fx.window->EmInclusao || fx.window->EmAlteracao);
        fx.window->Combo[4]->setText(QStringLiteral("Rascunho"));
        fx.clearCalls();
        QVERIFY(fx.window->Form_KeyDown(Qt::Key_Escape));
        QVERIFY(fx.desktop.boxes.isEmpty());
        QVERIFY(fx.state.database);
        QVERIFY(!fx.window->EmInclusao && !fx.window->EmAlteracao);
        QCOMPARE(fx.window->Modo, QStringLiteral("Visualizar"));
        QVERIFY(!fx.window->Barra1->isHidden() && fx.window->Barra2->isHidden());
        QCOMPARE(fx.window->Combo[4]->text(), name);
        QVERIFY(fx.window->Movimento[0]->isEnabled() || fx.window->Movimento[2]->isEnabled());
    }
};

VAREMO_TEST(TestModes);
#include "test_modes.moc"
