#include "app/singleinstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QWidget>

namespace varemo {

namespace {

const QByteArray Request = QByteArrayLiteral("activate\n");

bool someoneAnswers(const QString& name, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.disconnectFromServer();
    return true;
}

} // namespace

InstanceGuard::InstanceGuard(const QString& title, QObject* parent)
    : QObject(parent)
    , m_name(serverName(title))
    , m_server(new QLocalServer(this))
{
    connect(m_server, &QLocalServer::newConnection, this, &InstanceGuard::acceptConnections);
}

InstanceGuard::~InstanceGuard() = default;

QString InstanceGuard::serverName(const QString& title)
{
    // One copy per person: the home folder tells people apart even where USER is not set.
    const QString user = QString::fromLatin1(
        QCryptographicHash::hash(QDir::homePath().toUtf8(), QCryptographicHash::Sha1).toHex().left(12));
    // Plain ASCII: the name becomes a file name on some platforms and a pipe name on others.
    QString name = QStringLiteral("varemo-%1-%2").arg(title, user).toLower();
    for (QChar& c : name) {
        const bool plain = (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
            || (c >= QLatin1Char('0') && c <= QLatin1Char('9'));
        if (!plain)
            c = QLatin1Char('-');
    }
    return name;
}

bool InstanceGuard::askRunningCopy(const QString& title, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(serverName(title));
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(Request);
    socket.flush();
    socket.waitForBytesWritten(timeoutMs);
    socket.disconnectFromServer();
    return true;
}

bool InstanceGuard::listen()
{
    if (m_server->isListening())
        return true;
    if (m_server->listen(m_name))
        return true;
    if (m_server->serverError() != QAbstractSocket::AddressInUseError)
        return false;
    if (someoneAnswers(m_name, 500))
        return false; // another copy came up meanwhile: it keeps the name
    QLocalServer::removeServer(m_name);
    return m_server->listen(m_name);
}

bool InstanceGuard::isListening() const
{
    return m_server->isListening();
}

void InstanceGuard::acceptConnections()
{
    while (QLocalSocket* connection = m_server->nextPendingConnection()) {
        // Only a request counts: a later copy that merely checks whether this one is alive
        // connects and leaves without asking anything.
        connect(connection, &QLocalSocket::readyRead, this, [this, connection] {
            if (connection->readAll().contains(Request))
                emit activationRequested();
        });
        connect(connection, &QLocalSocket::disconnected, connection, &QObject::deleteLater);
    }
}

void bringToFront(QWidget& window)
{
    if (window.isMinimized())
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace varemo
