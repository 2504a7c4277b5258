#include "app/singleinstance.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace varemo;

namespace {

// What a copy killed with SIGKILL leaves: a socket file nobody accepts on.
bool leaveStaleSocket(const QString& path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    std::strncpy(address.sun_path, bytes.constData(), sizeof(address.sun_path) - 1);
    const bool bound
        = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 && ::listen(fd, 1) == 0;
    ::close(fd);
    return bound && QFile::exists(path);
}

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

    // A title of its own per run, so a real copy of the module is never disturbed.
    QString m_title = QStringLiteral("Teste Guarda %1").arg(QCoreApplication::applicationPid());

private slots:
    void nobodyAnswersWithoutARunningCopy_data()
    {
        QTest::addColumn<QString>("listening");
        QTest::newRow("no copy") << QString();
        QTest::newRow("a copy of another module") << QStringLiteral("Outro Módulo");
    }

    void nobodyAnswersWithoutARunningCopy()
    {
        QFETCH(QString, listening);
        InstanceGuard other(listening + m_title);
        if (!listening.isEmpty())
            QVERIFY(other.listen());
        QVERIFY(!InstanceGuard::askRunningCopy(m_title, 100));
    }

    void staleSocketIsRemoved()
    {
        const QString path = QDir::tempPath() + QLatin1Char('/') + InstanceGuard::serverName(m_title);
        QFile::remove(path);
        QVERIFY(leaveStaleSocket(path));
        QVERIFY(!InstanceGuard::askRunningCopy(m_title, 100));

        InstanceGuard next(m_title);
        QVERIFY(next.listen());
        QSignalSpy activations(&next, &InstanceGuard::activationRequested);
        QVERIFY(InstanceGuard::askRunningCopy(m_title));
        QTRY_COMPARE(activations.size(), 1);
    }

    void laterCopiesActivateTheLiveOne()
    {
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
