// The program on an installation part of which is write-protected for it (the parent test
// starts this process inside a read-only mount):
//   child_readonly <program folder>
// It starts, views an item, saves a new path on the hierarchy page, leaves insert mode with
// Escape and builds the chart listing, then prints what it saw, one "key value" a line:
// started, current, mode (after the save, after Escape), chart (detail lines), box (title|prompt),
// sound.

#include "app/startup.h"
#include "app/state.h"
#include "data/recordset.h"
#include "editor/contas.h"
#include "reliability/reliability.h"
#include "support/fakedesktop.h"

#include <QApplication>

#include <cstdio>

using namespace varemo;

namespace {

void say(const char* key, const QString& value)
{
    QString line = value;
    line.replace(QLatin1Char('\r'), QLatin1Char('~'));
    std::printf("%s %s\n", key, line.toUtf8().constData());
}

void useProgram(AppState& state, test::FakeDesktop& desktop, Contas& window)
{
    window.relocate(4, 8);
    window.PreencheCampos();
    say("current", window.dataSet()->value(QStringLiteral("NivelCategoria4.Nome")).toString());
    test::typeNewPath(window);
    window.tool_click(QStringLiteral("ID_Gravar"));
    say("mode", window.Modo);
    window.Form_KeyDown(Qt::Key_Escape);
    say("mode", window.Modo);
    say("chart", QString::number(test::chartDetails(state, desktop)));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc != 2)
        return 1;
    AppState state;
    test::FakeDesktop desktop;
    {
        const auto window = start(QString::fromLocal8Bit(argv[1]), state, desktop);
        say("started", QString::number(window != nullptr));
        if (window) {
            useProgram(state, desktop, *window);
            window->Form_Unload();
        }
    }
    for (const test::Box& box : desktop.boxes)
        say("box", box.title + QLatin1Char('|') + box.prompt);
    for (const int sound : desktop.sounds)
        say("sound", QString::number(sound));
    return 0;
}
