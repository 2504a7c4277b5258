#pragma once

#include "app/desktop.h"

#include <QString>
#include <QUrl>

#include <map>
#include <memory>

class QMessageBox;
class QSoundEffect;

namespace varemo {

struct AppState;
class HelpViewer;

// The real desktop: Qt's message boxes, modal windows, sounds, help window, mail link,
// sibling modules, the single-instance guard and the window placement.
class QtDesktop : public Desktop {
public:
    explicit QtDesktop(AppState& state);
    ~QtDesktop() override;
    QtDesktop(const QtDesktop&) = delete;
    QtDesktop& operator=(const QtDesktop&) = delete;

    int msgbox(const QString& prompt, int buttons = vb::OKOnly, const QString& title = {}) override;
    void showModal(QWidget& window) override;
    void playSound(int number) override;
    void showHelp(int context) override;
    void sendMail() override;
    void startModule(int number) override;
    bool activateRunningCopy(const QString& title) override;
    bool restorePlacement(QWidget& window, const QString& appName) override;
    void savePlacement(QWidget& window, const QString& appName) override;
    void processEvents() override;

    // The box msgbox shows, before it is shown: icon, buttons and default from the flags.
    std::unique_ptr<QMessageBox> messageBox(const QString& prompt, int buttons, const QString& title) const;
    // What the pressed button answers; a box closed without a button answers its escape.
    static int answerOf(const QMessageBox& box);

    // The file of sound 1..7 under the program folder; empty for another number or a
    // file that is not there.
    static QString soundPath(const QString& programFolder, int number);
    // The program of sibling module 1..10 in the program folder; empty for another number.
    static QString moduleProgram(const QString& programFolder, int number);
    static QUrl mailUrl();

    static inline const QString HelpMessage = QStringLiteral("A Ajuda não abre ou tópico não existe");
    static inline const QString HelpTitle = QStringLiteral("Ajuda do Programa");

private:
    AppState& m_state;
    std::unique_ptr<HelpViewer> m_help;
    std::map<int, std::unique_ptr<QSoundEffect>> m_sounds;
};

} // namespace varemo
