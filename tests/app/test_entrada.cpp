#include "app/entrada.h"
#include "app/state.h"
#include "support/testregistry.h"

#include <QLabel>
#include <QTest>
#include <QTimer>

using namespace varemo;

class TestEntrada : public QObject {
    Q_OBJECT

private slots:
    // The splash waits for the main window's load, however many ticks it takes.
    void tickHandsOverOnlyWhenReady_data()
    {
        QTest::addColumn<bool>("ready");
        QTest::newRow("still loading") << false;
        QTest::newRow("ready") << true;
    }

    void tickHandsOverOnlyWhenReady()
    {
        QFETCH(bool, ready);
        AppState state;
        QWidget main;
        Entrada splash(state);
        splash.setMainWindow(&main);
        splash.show();
        splash.Timer1->start();
        state.mainWindowReady = ready;
        splash.Timer1_Timer();
        QCOMPARE(main.isVisible(), ready);
        QCOMPARE(splash.isVisible(), !ready);
        QCOMPARE(splash.Timer1->isActive(), !ready);
    }

    void runningTimerHandsOver()
    {
        AppState state;
        QWidget main;
        Entrada splash(state);
        splash.setMainWindow(&main);
        splash.show();
        splash.Timer1->start();
        QTest::qWait(3 * Entrada::TimerInterval);
        QVERIFY(splash.isVisible());
        state.mainWindowReady = true;
        QTRY_VERIFY(main.isVisible());
        QVERIFY(!splash.isVisible());
    }

    void showsTheSealAndVersion()
    {
        AppState state;
        state.versionText = QStringLiteral("1.2.3");
        Entrada splash(state);
        QVERIFY(!splash.Selo->pixmap().isNull());
        QCOMPARE(splash.Versao->text(), QStringLiteral("Versão 1.2.3"));
    }
};

VAREMO_TEST(TestEntrada);
#include "test_entrada.moc"
