#include "app/entrada.h"
#include "app/sobre.h"
#include "app/state.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using namespace varemo;

// The module's own small windows: the about box and the splash.
class TestSobre : public QObject {
    Q_OBJECT

    AppState m_state;
    test::FakeDesktop m_desktop;

private slots:
    void init() { m_desktop = test::FakeDesktop(); }

    // Two digits of the minor version and at most four of the revision.
    void versionText_data()
    {
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("revision");
        QTest::addColumn<QString>("text");
        QTest::newRow("4 21") << 4 << 21 << "1.04.0021";
        QTest::newRow("five-digit revision keeps four") << 0 << 12345 << "1.00.2345";
        QTest::newRow("2 3") << 2 << 3 << "1.02.003";
        QTest::newRow("three-digit minor keeps two") << 123 << 0 << "1.23.000";
    }
    void versionText()
    {
        QFETCH(int, minor);
        QFETCH(int, revision);
        QFETCH(QString, text);
        m_state.major = 1;
        m_state.minor = minor;
        m_state.revision = revision;
        Sobre about(m_state, m_desktop);
        QCOMPARE(about.VerVersao->text() + u'|' + about.windowTitle(),
            text + QStringLiteral("|Sobre o Módulo de Plano de Contas"));
        QVERIFY(about.windowFlags().testFlag(Qt::FramelessWindowHint));
    }

    // Pressing on the picture or a label moves the window; the buttons' strip does not. The
    // first button opens the help, the second closes; both click.
    void dragsAndButtons_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("moves");
        QTest::newRow("Imagem") << "Imagem" << true;
        QTest::newRow("VerVersao") << "VerVersao" << true;
        QTest::newRow("button strip") << "Rodape" << false;
    }
    void dragsAndButtons()
    {
        QFETCH(QString, name);
        QFETCH(bool, moves);
        Sobre about(m_state, m_desktop);
        about.move(200, 150);
        about.show();
        QVERIFY(QTest::qWaitForWindowExposed(&about));
        auto* target = about.findChild<QWidget*>(name);
        const QPoint start = about.pos();
        const QPoint press = target->mapToGlobal(QPoint(3, 3));
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseButtonRelease}) {
            const QPoint global = type == QEvent::MouseButtonPress ? press : press + QPoint(40, 25);
            QMouseEvent event(type, target->mapFromGlobal(QPointF(global)), QPointF(global),
                type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &event);
        }
        QCOMPARE(about.pos(), moves ? start + QPoint(40, 25) : start);
        about.Botao[0]->click();
        QVERIFY(about.isVisible());
        about.Botao[1]->click();
        QVERIFY(!about.isVisible());
        QCOMPARE(m_desktop.sounds, QList<int>({7, 7}));
        QCOMPARE(m_desktop.helpContexts, QList<int> {30020});
    }

    // The splash waits for the main window's load, however many ticks it takes.
    void splashHandsOverOnceReady()
    {
        QWidget main;
        Entrada splash(m_state);
        splash.setMainWindow(&main);
        splash.show();
        splash.Timer1->start();
        QTest::qWait(3 * Entrada::TimerInterval);
        QVERIFY(splash.isVisible() && !main.isVisible());
        m_state.mainWindowReady = true;
        QTRY_VERIFY(main.isVisible());
        QVERIFY(!splash.isVisible() && !splash.Timer1->isActive());
    }
};

VAREMO_TEST(TestSobre);
#include "test_sobre.moc"
