#include "app/singleinstance.h"
#include "support/testregistry.h"

#include <QSignalSpy>
#include <QTest>
#include <QWidget>

using namespace varemo;

class TestSingleInstance : public QObject {
    Q_OBJECT

    // A title of its own per run, so a real copy of the module is never disturbed.
    QString m_title = QStringLiteral("Teste Guarda %1").arg(QCoreApplication::applicationPid());

private slots:
    void laterCopiesActivateTheLiveOne()
    {
        // A copy of another module is no running copy of this one.
        InstanceGuard other(QStringLiteral("Outro Módulo") + m_title);
        QVERIFY(other.listen());
        QVERIFY(!InstanceGuard::askRunningCopy(m_title, 100));
        InstanceGuard first(m_title);
        QVERIFY(first.listen());
        InstanceGuard second(m_title);
        QVERIFY(!second.listen());
        QSignalSpy activations(&first, &InstanceGuard::activationRequested);
        QVERIFY(InstanceGuard::askRunningCopy(m_title));
        QTRY_COMPARE(activations.size(), 1);
        QVERIFY(InstanceGuard::askRunningCopy(m_title)); // every later copy asks again
        QTRY_COMPARE(activations.size(), 2);
    }

    void frontWindowComesBackRestored_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("expected");
        QTest::newRow("minimised") << int(Qt::WindowMinimized) << int(Qt::WindowNoState);
        QTest::newRow("minimised from maximised")
            << int(Qt::WindowMinimized | Qt::WindowMaximized) << int(Qt::WindowMaximized);
    }

    void frontWindowComesBackRestored()
    {
        QFETCH(int, state);
        QFETCH(int, expected);
        QWidget window;
        window.setWindowState(Qt::WindowStates(state));
        bringToFront(window);
        QVERIFY(window.isVisible());
        QCOMPARE(int(window.windowState() & (Qt::WindowMinimized | Qt::WindowMaximized)), expected);
    }
};

VAREMO_TEST(TestSingleInstance);
#include "test_singleinstance.moc"
