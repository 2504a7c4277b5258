#pragma once

#include <QString>

class QWidget;

namespace varemo {

namespace vb { // message-box flags and answers, as the program's boxes name them
inline constexpr int OKOnly = 0, YesNo = 4, Critical = 16, Question = 32, Exclamation = 48, Information = 64,
                     DefaultButton2 = 256;
inline constexpr int OK = 1, Yes = 6, No = 7;
} // namespace vb

// Everything that talks to the person or the platform. The real one is QtDesktop;
// tests pass a scripted fake.
class Desktop {
public:
    virtual ~Desktop() = default;
    virtual int msgbox(const QString& prompt, int buttons = vb::OKOnly, const QString& title = {}) = 0;
    virtual void showModal(QWidget& window) = 0; // returns when the window is closed
    virtual void playSound(int number) = 0; // 1..7
    virtual void showHelp(int context) = 0; // 0 = default topic
    virtual void sendMail() = 0;
    virtual void startModule(int number) = 0; // 1..10
    virtual bool activateRunningCopy(const QString& title) = 0;
    virtual bool restorePlacement(QWidget& window, const QString& appName) = 0;
    virtual void savePlacement(QWidget& window, const QString& appName) = 0;
    virtual void processEvents() = 0;
};

} // namespace varemo
