#pragma once

#include "app/desktop.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <deque>
#include <functional>

namespace varemo::test {

// A message box the program showed.
struct Box {
    QString prompt;
    int buttons = 0;
    QString title;
};

// The desktop of the tests: records every call and answers boxes and modal windows
// from a script. An unscripted box gets OK (or No for a Yes/No box).
class FakeDesktop : public Desktop {
public:
    int msgbox(const QString& prompt, int buttons = vb::OKOnly, const QString& title = {}) override;
    void showModal(QWidget& window) override;
    void playSound(int number) override
    {
        sounds << number;
        calls << QStringLiteral("sound %1").arg(number);
    }
    void showHelp(int context) override
    {
        helpContexts << context;
        calls << QStringLiteral("help %1").arg(context);
    }
    void sendMail() override { calls << QStringLiteral("mail"); }
    void startModule(int number) override { calls << QStringLiteral("start %1").arg(number); }
    bool activateRunningCopy(const QString&) override
    {
        ++activations;
        return runningCopy;
    }
    bool restorePlacement(QWidget&, const QString&) override { return false; }
    void savePlacement(QWidget&, const QString& appName) override
    {
        calls << QStringLiteral("placement ") + appName;
    }
    void processEvents() override { }

    // The next box gets this answer (queued in order).
    void setNextAnswer(int answer) { m_answers.push_back(answer); }
    // The next modal window is handed to this callback instead of an event loop.
    void setNextModal(std::function<void(QWidget&)> action) { m_modals.push_back(std::move(action)); }

    QList<Box> boxes;
    QList<int> sounds;
    QList<int> helpContexts;
    QStringList modalWindows; // objectName or class name of each window shown modally
    QStringList calls; // every call in order: "box prompt|title|buttons", "sound 7", "start 3"...
    bool runningCopy = false; // what activateRunningCopy answers
    int activations = 0;

private:
    std::deque<int> m_answers;
    std::deque<std::function<void(QWidget&)>> m_modals;
};

} // namespace varemo::test
