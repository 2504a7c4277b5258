#include "support/fakedesktop.h"

#include <QWidget>

namespace varemo::test {

int FakeDesktop::msgbox(const QString& prompt, int buttons, const QString& title)
{
    boxes.append({prompt, buttons, title});
    if (!m_answers.empty()) {
        const int answer = m_answers.front();
        m_answers.pop_front();
        return answer;
    }
    return (buttons & 0xF) == vb::YesNo ? vb::No : vb::OK;
}

void FakeDesktop::showModal(QWidget& window)
{
    modalWindows << (window.objectName().isEmpty() ? QString::fromLatin1(window.metaObject()->className())
                                                   : window.objectName());
    if (!m_modals.empty()) {
        auto action = std::move(m_modals.front());
        m_modals.pop_front();
        action(window);
    }
    window.close();
}

bool FakeDesktop::activateRunningCopy(const QString&)
{
    ++activations;
    return runningCopy;
}

bool FakeDesktop::restorePlacement(QWidget&, const QString&)
{
    return placementSaved;
}

void FakeDesktop::savePlacement(QWidget&, const QString& appName)
{
    placementsSaved << appName;
}

} // namespace varemo::test
