#pragma once

#include <QObject>
#include <QString>

class QLocalServer;
class QWidget;

namespace varemo {

// One running copy per module and user. The first copy listens on a local socket named
// after the module's title; a later copy connects, asks it to come forward, and ends.
class InstanceGuard : public QObject {
    Q_OBJECT
public:
    explicit InstanceGuard(const QString& title, QObject* parent = nullptr);
    ~InstanceGuard() override;

    // The socket's name: one per module title and user.
    static QString serverName(const QString& title);
    // True when a running copy answered; it has been asked to come to the front.
    static bool askRunningCopy(const QString& title, int timeoutMs = 500);

    // Starts listening. A socket left behind by a copy that died without cleaning up (killed,
    // crashed) is removed first; a socket a live copy answers on is never taken over, and
    // then this returns false.
    bool listen();
    bool isListening() const;

signals:
    // A later copy asked this one to come forward.
    void activationRequested();

private:
    void acceptConnections();

    QString m_name;
    QLocalServer* m_server = nullptr;
};

// The running copy's answer: its window comes forward, restored when minimised (a
// maximised one stays maximised).
void bringToFront(QWidget& window);

} // namespace varemo
