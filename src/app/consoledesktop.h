#pragma once

#include "app/silentdesktop.h"

#include <QString>

#include <cstdio>

namespace varemo {

// For the command-line runs with no window: start-up's messages become lines on stderr and
// nothing waits for an answer.
class ConsoleDesktop : public SilentDesktop {
public:
    int msgbox(const QString& prompt, int buttons, const QString& title) override
    {
        QString text = prompt;
        text.replace(QLatin1String("\r\n"), QLatin1String(" ")).replace(QLatin1Char('\r'), QLatin1Char(' '));
        say(title.isEmpty() ? text : title + QStringLiteral(": ") + text);
        return (buttons & 0x0F) == vb::YesNo ? vb::No : vb::OK;
    }

    static void say(const QString& text) { std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData()); }
};

} // namespace varemo
