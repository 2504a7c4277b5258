#include "app/entrada.h"
#include "app/state.h"
#include "support/testregistry.h"

#include <QTest>
#include <QTimer>

using namespace varemo;

class TestEntrada : public QObject {
    Q_OBJECT

private slots:
    // The splash waits for the main window's load, however many ticks it takes.
    void handsOverOnceReady()
    {
        AppState state;
        QWidget main;
        Entrada splash(state);
        splash.setMainWindow(&main);
        splash.show();
        splash.Timer1->start();
        QTest::qWait(3 * Entrada::TimerInterval);
        QVERIFY(splash.isVisible() && splash.Timer1->isActive());
        QVERIFY(!main.isVisible());
        state.mainWindowReady = true;
        QTRY_VERIFY(main.isVisible());
        QVERIFY(!splash.isVisible());
        QVERIFY(!splash.Timer1->isActive());
    }
};

VAREMO_TEST(TestEntrada);
#include "test_entrada.moc"
