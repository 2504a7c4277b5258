#include "app/qtdesktop.h"

#include "app/helpviewer.h"
#include "app/modules.h"
#include "app/placement.h"
#include "app/singleinstance.h"
#include "app/state.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QSoundEffect>
#include <QUrlQuery>

#include <array>

namespace varemo {

namespace {

const std::array<QString, 7> SoundFiles {
    QStringLiteral("somerro.wav"),
    QStringLiteral("somabre.wav"),
    QStringLiteral("sommuda.wav"),
    QStringLiteral("somsair.wav"),
    QStringLiteral("somlivre.wav"),
    QStringLiteral("mousemov.wav"),
    QStringLiteral("mousecli.wav"),
};
const QString SupportAddress = QStringLiteral("suporte@varemo.com.br");
const QString MailSubject = QStringLiteral("Varemo - Módulo Plano de Contas");

QString withSeparator(const QString& folder)
{
    if (folder.isEmpty() || folder.endsWith(QLatin1Char('/')) || folder.endsWith(QLatin1Char('\\')))
        return folder;
    return folder + QDir::separator();
}

QMessageBox::Icon iconFor(int buttons)
{
    switch (buttons & 0x70) {
    case vb::Critical:
        return QMessageBox::Critical;
    case vb::Question:
        return QMessageBox::Question;
    case vb::Exclamation:
        return QMessageBox::Warning;
    case vb::Information:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// A box belongs to the window the person is looking at, unless that is a box closing.
QWidget* boxParent()
{
    QWidget* window = QApplication::activeWindow();
    if (window == nullptr || qobject_cast<QMessageBox*>(window) != nullptr || !window->isVisible())
        return nullptr;
    return window;
}

// Ends a modal loop when its window is hidden (closed), not when it is minimised.
class HideWatcher : public QObject {
public:
    explicit HideWatcher(QEventLoop& loop)
        : m_loop(loop)
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Hide && !event->spontaneous())
            m_loop.quit();
        return QObject::eventFilter(watched, event);
    }

private:
    QEventLoop& m_loop;
};

} // namespace

QtDesktop::QtDesktop(AppState& state)
    : m_state(state)
{
}

QtDesktop::~QtDesktop() = default;

std::unique_ptr<QMessageBox> QtDesktop::messageBox(
    const QString& prompt, int buttons, const QString& title) const
{
    auto box = std::make_unique<QMessageBox>(boxParent());
    box->setWindowTitle(title.isEmpty() ? m_state.title : title);
    // Plain text: a name holding "<" or "&" is shown as typed.
    box->setTextFormat(Qt::PlainText);
    QString text = prompt;
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    box->setText(text);
    box->setIcon(iconFor(buttons));
    if ((buttons & 0x0F) == vb::YesNo) {
        box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box->setDefaultButton((buttons & vb::DefaultButton2) != 0 ? QMessageBox::No : QMessageBox::Yes);
        box->setEscapeButton(QMessageBox::No);
    } else {
        box->setStandardButtons(QMessageBox::Ok);
        box->setDefaultButton(QMessageBox::Ok);
        box->setEscapeButton(QMessageBox::Ok);
    }
    return box;
}

int QtDesktop::answerOf(const QMessageBox& box)
{
    QAbstractButton* clicked = box.clickedButton();
    if (clicked == nullptr)
        clicked = box.escapeButton();
    const bool yesNo = box.button(QMessageBox::No) != nullptr;
    if (clicked == nullptr)
        return yesNo ? vb::No : vb::OK;
    switch (box.standardButton(clicked)) {
    case QMessageBox::Yes:
        return vb::Yes;
    case QMessageBox::No:
        return vb::No;
    default:
        return vb::OK;
    }
}

int QtDesktop::msgbox(const QString& prompt, int buttons, const QString& title)
{
    const QPointer<QMessageBox> box = messageBox(prompt, buttons, title).release();
    box->exec();
    if (box.isNull()) // its parent went away while it was up
        return (buttons & 0x0F) == vb::YesNo ? vb::No : vb::OK;
    const int answer = answerOf(*box);
    delete box.data();
    return answer;
}

void QtDesktop::showModal(QWidget& window)
{
    if (auto* dialog = qobject_cast<QDialog*>(&window)) {
        dialog->exec();
        return;
    }
    window.setWindowModality(Qt::ApplicationModal);
    QEventLoop loop;
    HideWatcher watcher(loop);
    const QPointer<QWidget> guarded(&window);
    window.installEventFilter(&watcher);
    QObject::connect(&window, &QObject::destroyed, &loop, &QEventLoop::quit);
    window.show();
    if (window.isVisible())
        loop.exec();
    if (guarded)
        guarded->removeEventFilter(&watcher);
}

QString QtDesktop::soundPath(const QString& programFolder, int number)
{
    if (number < 1 || number > static_cast<int>(SoundFiles.size()))
        return {};
    const QString path = withSeparator(programFolder) + QStringLiteral("Sons") + QDir::separator()
        + SoundFiles[static_cast<std::size_t>(number - 1)];
    return QFileInfo(path).isFile() ? path : QString();
}

void QtDesktop::playSound(int number)
{
    const QString path = soundPath(m_state.programFolder, number);
    if (path.isEmpty())
        return; // a missing file only means no sound
    auto& effect = m_sounds[number];
    if (!effect) {
        effect = std::make_unique<QSoundEffect>();
        effect->setSource(QUrl::fromLocalFile(path));
    }
    effect->play(); // returns at once; a missing audio device is silence
}

void QtDesktop::showHelp(int context)
{
    if (!m_help)
        m_help = std::make_unique<HelpViewer>(m_state.programFolder);
    if (!m_help->show(context))
        msgbox(HelpMessage, vb::Exclamation, HelpTitle);
}

QUrl QtDesktop::mailUrl()
{
    QUrl url(QStringLiteral("mailto:") + SupportAddress);
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), MailSubject);
    url.setQuery(query);
    return url;
}

void QtDesktop::sendMail()
{
    QDesktopServices::openUrl(mailUrl());
}

QString QtDesktop::moduleProgram(const QString& programFolder, int number)
{
    const SiblingModule* module = siblingModule(number);
    if (module == nullptr)
        return {};
#ifdef Q_OS_WIN
    const QString suffix = QStringLiteral(".exe");
#else
    const QString suffix;
#endif
    return withSeparator(programFolder) + module->program + suffix;
}

void QtDesktop::startModule(int number)
{
    const QString program = moduleProgram(m_state.programFolder, number);
    m_state.moduleToStart = 0;
    if (program.isEmpty())
        return;
    // This module does not wait: it finishes its own shutdown while the other one starts.
    QProcess::startDetached(program, {}, QFileInfo(program).absolutePath());
}

bool QtDesktop::activateRunningCopy(const QString& title)
{
    return InstanceGuard::askRunningCopy(title);
}

bool QtDesktop::restorePlacement(QWidget& window, const QString& appName)
{
    return placement::restore(window, appName);
}

void QtDesktop::savePlacement(QWidget& window, const QString& appName)
{
    placement::save(window, appName);
}

void QtDesktop::processEvents()
{
    QCoreApplication::processEvents();
}

} // namespace varemo
