// Start-up time and peak memory: the program against a bare Qt window, in the same run.
//
//   bench_startup [--repeat 9] [--program DIR | --company FILE.mdb [--server CONNINFO]]
//                 [--reference PYTHON_TREE]
//
// Each measurement is a fresh process timed from its launch until its window is exposed
// (offscreen platform), so process start, libraries and QApplication count in both:
// - baseline: a QApplication showing one empty QWidget;
// - program: the splash load and the main window's load (varemo::start) then show();
// - program, whole chart: the same, timed until the rest of the chart that the load leaves for
//   after the window is shown has been read from the event loop; its peak memory is the
//   program's with every row in memory, the figure to hold against the reference's;
// - reference (optional): the earlier Python program's own child, on the same program folder.
// The company is the demo, an installed program folder, or a company file (from `generate`)
// installed in a scratch folder (with --server, an installation sending the program to the
// company loaded into that server). Each child's peak resident memory is its maximum RSS as the
// kernel reports it when the child is reaped. The kinds alternate after one unmeasured warm-up
// round; medians and ratios are printed, ending with one RESULT line.
#include "app/qtdesktop.h"
#include "app/startup.h"
#include "app/state.h"
#include "benchsupport.h"
#include "data/demo.h"
#include "editor/contas.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

const char* const Ready = "READY";
const char* const AllRead = "ALLREAD";

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

int childProgram(int argc, char** argv, const QString& programFolder, bool wholeChart)
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
    if (wholeChart) {
        while (!window->restRead())
            QApplication::processEvents(QEventLoop::AllEvents, 5);
        std::printf("%s\n", AllRead);
        std::fflush(stdout);
    }
    window->Form_Unload();
    return 0;
}

struct Child {
    QString program;
    QStringList arguments;
    QString name;
    QList<double> millis;
    QList<double> peakMb;
    QList<double> cpuMillis;
    const char* marker = Ready; // the line that ends the timed part
};

struct Run {
    double millis;
    double peakMb;
    double cpuMillis; // user + system time of the whole child: steadier than wall time on a busy machine
};

// The child runs to its end after READY; reaping it with wait4 gives its own peak RSS.
Run runChild(const Child& child, const QStringList& env)
{
    int out[2];
    if (pipe(out) != 0) {
        std::perror("pipe");
        std::exit(4);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addclose(&actions, out[1]);
    QList<QByteArray> argBytes {child.program.toLocal8Bit()};
    for (const QString& argument : child.arguments)
        argBytes << argument.toLocal8Bit();
    QList<QByteArray> envBytes;
    for (const QString& entry : env)
        envBytes << entry.toLocal8Bit();
    std::vector<char*> args;
    for (QByteArray& bytes : argBytes)
        args.push_back(bytes.data());
    args.push_back(nullptr);
    std::vector<char*> envp;
    for (QByteArray& bytes : envBytes)
        envp.push_back(bytes.data());
    envp.push_back(nullptr);

    QElapsedTimer timer;
    timer.start();
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    if (spawned != 0) {
        std::fprintf(stderr, "não foi possível iniciar %s\n", args[0]);
        std::exit(4);
    }
    double wall = -1;
    QByteArray text;
    char buffer[4096];
    pollfd wait {out[0], POLLIN, 0};
    while (wall < 0 && timer.elapsed() < 60000) {
        if (poll(&wait, 1, 100) <= 0)
            continue;
        const ssize_t got = read(out[0], buffer, sizeof buffer);
        if (got <= 0)
            break;
        text.append(buffer, got);
        if (text.contains(child.marker))
            wall = double(timer.nsecsElapsed()) / 1e6;
    }
    // The rest of the output is drained so the child never blocks on a full pipe.
    while (read(out[0], buffer, sizeof buffer) > 0) { }
    close(out[0]);
    int status = 0;
    rusage usage {};
    if (wait4(pid, &status, 0, &usage) != pid || wall < 0) {
        std::fprintf(stderr, "medição falhou (%s)\n", qPrintable(child.name));
        std::exit(4);
    }
    const auto cpu = [](const timeval& t) { return double(t.tv_sec) * 1000.0 + double(t.tv_usec) / 1000.0; };
    return {wall, double(usage.ru_maxrss) / 1024.0, cpu(usage.ru_utime) + cpu(usage.ru_stime)};
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
            return childProgram(1, argv, QString::fromLocal8Bit(argv[3]), qstrcmp(argv[2], "whole") == 0);
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
    parser.addOption({QStringLiteral("company"),
        QStringLiteral("arquivo de empresa (de generate) instalado numa pasta temporária"),
        QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("reference"),
        QStringLiteral("árvore do programa anterior (Python), medida no mesmo arquivo"),
        QStringLiteral("DIR")});
    bench::addServerOption(parser);
    parser.process(app);
    const int repeat = std::max(1, parser.value(QStringLiteral("repeat")).toInt());

    QTemporaryDir scratch;
    QString program = parser.value(QStringLiteral("program"));
    const QString company = parser.value(QStringLiteral("company"));
    if (!company.isEmpty()) {
        program = bench::installCompany(company, scratch.filePath(QStringLiteral("empresa")),
            bench::CompanyFile::Link, bench::serverOption(parser));
    } else if (program.isEmpty()) {
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
    const QStringList environment = env.toStringList();

    const QString self = QCoreApplication::applicationFilePath();
    std::vector<Child> kinds {
        {self, {QStringLiteral("--child"), QStringLiteral("bare")}, QStringLiteral("base"), {}, {}, {}},
        {self, {QStringLiteral("--child"), QStringLiteral("program"), program}, QStringLiteral("programa"),
            {}, {}, {}},
        {self, {QStringLiteral("--child"), QStringLiteral("whole"), program}, QStringLiteral("tudo lido"), {},
            {}, {}, AllRead},
    };
    const QString reference = parser.value(QStringLiteral("reference"));
    if (!reference.isEmpty()) {
        const QString python = QDir(reference).filePath(QStringLiteral(".venv/bin/python"));
        kinds.push_back({python,
            {QDir(reference).filePath(QStringLiteral("bench/bench_startup.py")), QStringLiteral("--child"),
                QStringLiteral("program"), program},
            QStringLiteral("referência"), {}, {}, {}, Ready});
    }

    for (const auto& kind : kinds)
        runChild(kind, environment); // warm-up, unmeasured
    for (int i = 0; i < repeat; ++i) {
        for (auto& kind : kinds) {
            const Run run = runChild(kind, environment);
            kind.millis << run.millis;
            kind.peakMb << run.peakMb;
            kind.cpuMillis << run.cpuMillis;
        }
    }

    for (const auto& kind : kinds)
        std::printf("%-11s mediana %7.0f ms  (mín %.0f, máx %.0f)  CPU %6.0f ms  pico de memória %6.1f MB\n",
            qPrintable(kind.name), median(kind.millis),
            *std::min_element(kind.millis.begin(), kind.millis.end()),
            *std::max_element(kind.millis.begin(), kind.millis.end()), median(kind.cpuMillis),
            median(kind.peakMb));
    const double base = median(kinds[0].millis);
    const double ours = median(kinds[1].millis);
    const double oursMb = median(kinds[1].peakMb);
    const double wholeMb = median(kinds[2].peakMb);
    std::printf(
        "RESULT startup: programa %.0f ms, janela vazia %.0f ms (medianas de %d), razão %.2fx (meta até 3x "
        "%s), em CPU %.2fx; memória %.1f MB até a janela, %.1f MB com tudo lido em %.0f ms (janela vazia "
        "%.1f MB)",
        ours, base, repeat, ours / base, ours / base <= 3 ? "PASS" : "FAIL",
        median(kinds[1].cpuMillis) / median(kinds[0].cpuMillis), oursMb, wholeMb, median(kinds[2].millis),
        median(kinds[0].peakMb));
    if (kinds.size() > 3) {
        const double ref = median(kinds[3].millis);
        const double refMb = median(kinds[3].peakMb);
        // The reference holds the whole chart when its window comes up: it is held against
        // ours with the whole chart read.
        std::printf(
            "; referência %.0f ms (%.2fx, %s), %.1f MB (nossa com tudo lido/referência %.2f, meta até "
            "0.5 %s)",
            ref, ref / base, ours < ref ? "PASS" : "FAIL", refMb, wholeMb / refMb,
            wholeMb / refMb <= 0.5 ? "PASS" : "FAIL");
    }
    std::printf("\n");
    bench::printFigure(QStringLiteral("abertura (mediana)"), ours, base);
    bench::printFigure(QStringLiteral("abertura, tudo lido (mediana)"), median(kinds[2].millis), base);
    return 0;
}
