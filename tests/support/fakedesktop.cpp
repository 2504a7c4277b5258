#include "support/fakedesktop.h"

#include <QWidget>

namespace varemo::test {

int FakeDesktop::msgbox(const QString& prompt, int buttons, const QString& title)
{
    boxes.append({prompt, buttons, title});
    calls << QStringLiteral("box %1|%2|%3").arg(prompt, title).arg(buttons);
    if (m_answers.empty())
        return (buttons & 0xF) == vb::YesNo ? vb::No : vb::OK;
    const int answer = m_answers.front();
    m_answers.pop_front();
    return answer;
}

void FakeDesktop::showModal(QWidget& window)
{
    modalWindows << (window.objectName().isEmpty() ? QString::fromLatin1(window.metaObject()->className())
                                                   : window.objectName());
    calls << QStringLiteral("modal ") + modalWindows.last();
    if (!m_modals.empty()) {
        auto action = std::move(m_modals.front());
        m_modals.pop_front();
        action(window);
    }
    window.close();
}

} // namespace varemo::test
