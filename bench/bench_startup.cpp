// Start-up time: the program on the demo company against a bare Qt window, in the same run.
//
//   bench_startup [--repeat 9] [--program DIR] [--reference PYTHON_TREE]
//
// Each measurement is a fresh process timed from its launch until its window is exposed
// (offscreen platform), so process start, libraries and QApplication count in both:
// - baseline: a QApplication showing one empty QWidget;
// - program: the splash load and the main window's load (varemo::start) then show();
// - reference (optional): the earlier Python program's own child, on the same program folder.
// The kinds alternate after one unmeasured warm-up round; medians and ratios are printed,
// ending with one RESULT line.
#include "app/qtdesktop.h"
#include "app/startup.h"
#include "app/state.h"
#include "data/demo.h"
#include "editor/contas.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

const char* const Ready = "READY";

void waitExposed(QWidget& widget)
{
    QElapsedTimer limit;
    limit.start();
    while (!(widget.windowHandle() && widget.windowHandle()->isExposed())) {
        if (limit.elapsed() > 30000) {
            std::fprintf(stderr, "a janela não apareceu\n");
            std::exit(3);
        }
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

int childBare(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Plano de Contas"));
    window.resize(1100, 720);
    window.show();
    waitExposed(window);
    std::printf("%s\n", Ready);
    std::fflush(stdout);
    return 0;
}

int childProgram(int argc, char** argv, const QString& programFolder)
{
    QApplication app(argc, argv);
    varemo::AppState state;
    varemo::QtDesktop desktop(state);
    auto window = varemo::start(programFolder, state, desktop);
    if (!window) {
        std::fprintf(stderr, "o programa não iniciou\n");
        return 3;
    }
    window->show();
    waitExposed(*window);
    std::printf("%s\n", Ready);
    std::fflush(stdout);
    window->Form_Unload();
    return 0;
}

struct Child {
    QString program;
    QStringList arguments;
    QString name;
    QList<double> millis;
};

double runChild(const Child& child, const QProcessEnvironment& env)
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(child.program, child.arguments);
    double wall = -1;
    QByteArray out;
    while (process.state() != QProcess::NotRunning || process.bytesAvailable() > 0) {
        process.waitForReadyRead(50);
        out += process.readAllStandardOutput();
        if (wall < 0 && out.contains(Ready))
            wall = double(timer.nsecsElapsed()) / 1e6;
        if (wall >= 0)
            break;
        if (timer.elapsed() > 60000)
            break;
    }
    process.waitForFinished(60000);
    if (wall < 0) {
        std::fprintf(stderr, "medição falhou (%s): %s\n", qPrintable(child.name),
            process.readAllStandardError().constData());
        std::exit(4);
    }
    return wall;
}

// The build's program folder (Sons/, Ajuda/) that a demo installation copies.
QString programFolderOfBuild()
{
    const QByteArray fromEnv = qgetenv("VAREMO_PROGRAM_DIR");
    if (!fromEnv.isEmpty())
        return QString::fromLocal8Bit(fromEnv);
    return QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("../programa"));
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    const auto n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 3 && qstrcmp(argv[1], "--child") == 0) {
        if (qstrcmp(argv[2], "bare") == 0)
            return childBare(1, argv);
        if (argc >= 4)
            return childProgram(1, argv, QString::fromLocal8Bit(argv[3]));
        return 2;
    }

    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Tempo de abertura do programa."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("repeat"), QStringLiteral("repetições de cada medida"),
        QStringLiteral("N"), QStringLiteral("9")});
    parser.addOption(
        {QStringLiteral("program"), QStringLiteral("pasta do programa já montada"), QStringLiteral("DIR")});
    parser.addOption({QStringLiteral("reference"),
        QStringLiteral("árvore do programa anterior (Python), medida no mesmo arquivo"),
        QStringLiteral("DIR")});
    parser.process(app);
    const int repeat = std::max(1, parser.value(QStringLiteral("repeat")).toInt());

    QTemporaryDir scratch;
    QString program = parser.value(QStringLiteral("program"));
    if (program.isEmpty()) {
        QElapsedTimer built;
        built.start();
        program = varemo::demo::build(scratch.filePath(QStringLiteral("demo")), programFolderOfBuild());
        std::printf("demo em %s (%.1f s)\n", qPrintable(program), double(built.elapsed()) / 1000);
    }

    // A settings store and temp folder of the run's own: no saved placement, no guard socket.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("HOME"), scratch.path());
    env.insert(QStringLiteral("TMPDIR"), scratch.path());
    env.remove(QStringLiteral("XDG_CONFIG_HOME"));

    const QString self = QCoreApplication::applicationFilePath();
    std::vector<Child> kinds {
        {self, {QStringLiteral("--child"), QStringLiteral("bare")}, QStringLiteral("base"), {}},
        {self, {QStringLiteral("--child"), QStringLiteral("program"), program}, QStringLiteral("programa"),
            {}},
    };
    const QString reference = parser.value(QStringLiteral("reference"));
    if (!reference.isEmpty()) {
        const QString python = QDir(reference).filePath(QStringLiteral(".venv/bin/python"));
        kinds.push_back({python,
            {QDir(reference).filePath(QStringLiteral("bench/bench_startup.py")), QStringLiteral("--child"),
                QStringLiteral("program"), program},
            QStringLiteral("referência"), {}});
    }

    for (const auto& kind : kinds)
        runChild(kind, env); // warm-up, unmeasured
    for (int i = 0; i < repeat; ++i)
        for (auto& kind : kinds)
            kind.millis << runChild(kind, env);

    for (const auto& kind : kinds)
        std::printf("%-11s mediana %7.0f ms  (mín %.0f, máx %.0f)\n", qPrintable(kind.name),
            median(kind.millis), *std::min_element(kind.millis.begin(), kind.millis.end()),
            *std::max_element(kind.millis.begin(), kind.millis.end()));
    const double base = median(kinds[0].millis);
    const double ours = median(kinds[1].millis);
    std::printf("RESULT startup: programa %.0f ms, janela vazia %.0f ms (medianas de %d), razão %.2fx", ours,
        base, repeat, ours / base);
    if (kinds.size() > 2) {
        const double ref = median(kinds[2].millis);
        std::printf(", referência %.0f ms (%.2fx)", ref, ref / base);
    }
    std::printf("\n");
    return 0;
}
