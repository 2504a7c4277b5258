// The main window on a big company, each action against a floor read in the same run.
//
//   bench_editor COMPANY.mdb [--runs 5] [--wall] [--server CONNINFO]
//
// COMPANY.mdb comes from `generate OUT.mdb --items N --lines M`; a copy of it is installed in a
// scratch folder (the saves write to the copy), or with --server an installation that sends the
// program to that company loaded into a PostgreSQL server (the saves write there). The real window is opened
// by varemo::start, offscreen, with a desktop that answers no message box (a box fails the run). Floors go
// through the same Qt SQL connection the program uses, forward-only QSqlQuery, every column read,
// each statement as the program's translation writes it for the engine:
// - start-up's chart (the five level tables, the tree, selector 0) against reading Codigo,
//   Nome and parent code of the five tables;
// - a view command ("ID_Item" from the accounts, "ID_Conta" from the items) and a save's
//   refresh against reading the joined rows the program asked the engine for (the statement
//   with the engine's own ORDER BY is timed for information);
// - a move (each of the six buttons, from the middle) and a tree click: absolute, under 2 ms.
// Every figure is the best of `runs`, in the thread's CPU time unless --wall; one line each:
// name, ms, floor ms, ratio, target, PASS/FAIL.
#include "app/desktop.h"
#include "app/silentdesktop.h"
#include "app/startup.h"
#include "app/state.h"
#include "benchsupport.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>

namespace {

// Nobody answers: a message box means the run went somewhere it should not.
class QuietDesktop : public varemo::SilentDesktop {
public:
    int msgbox(const QString& prompt, int, const QString& title) override
    {
        std::fprintf(stderr, "caixa de mensagem inesperada: %s: %s\n", qPrintable(title), qPrintable(prompt));
        std::exit(5);
    }
};

// Wall-clock time, or the thread's CPU time: on a machine shared with other work the CPU time
// of an action and of its floor stay comparable when wall times swing with the load.
bool wallClock = false;

double threadCpuMillis()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1000.0 + double(now.tv_nsec) / 1e6;
}

double millis(const std::function<void()>& action)
{
    if (!wallClock) {
        const double start = threadCpuMillis();
        action();
        return threadCpuMillis() - start;
    }
    QElapsedTimer timer;
    timer.start();
    action();
    return double(timer.nsecsElapsed()) / 1e6;
}

// Every row and column of a statement, forward only: what any reader must at least do.
qint64 readAll(const QSqlDatabase& connection, const QString& sql)
{
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    if (!query.exec(sql)) {
        std::fprintf(stderr, "o piso falhou: %s\n", qPrintable(sql));
        std::exit(4);
    }
    const int width = query.record().count();
    qint64 cells = 0;
    while (query.next()) {
        for (int c = 0; c < width; ++c)
            cells += query.value(c).isNull() ? 0 : 1;
    }
    return cells;
}

struct Figure {
    QString name;
    double ms;
    double floor; // 0 for an absolute target
    double target; // a ratio, or milliseconds when there is no floor
    bool pass() const { return floor > 0 ? ms / floor <= target : ms < target; }
};

void print(const Figure& f)
{
    if (f.floor > 0)
        bench::printFigure(f.name, f.ms, f.floor);
    if (f.floor > 0)
        std::printf("%-34s %9.2f ms  piso %9.2f ms  razão %5.2fx  meta %.1fx  %s\n", qPrintable(f.name), f.ms,
            f.floor, f.ms / f.floor, f.target, f.pass() ? "PASS" : "FAIL");
    else
        std::printf("%-34s %9.3f ms  %-16s %-12s  meta < %.0f ms  %s\n", qPrintable(f.name), f.ms, "", "",
            f.target, f.pass() ? "PASS" : "FAIL");
    std::fflush(stdout);
}

constexpr double Inf = std::numeric_limits<double>::infinity();

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A janela principal numa empresa grande."));
    parser.addHelpOption();
    parser.addPositionalArgument(
        QStringLiteral("empresa"), QStringLiteral("arquivo .mdb feito por generate"));
    parser.addOption({QStringLiteral("runs"), QStringLiteral("repetições de cada medida"),
        QStringLiteral("N"), QStringLiteral("5")});
    parser.addOption(
        {QStringLiteral("wall"), QStringLiteral("tempo de relógio em vez do tempo de CPU da thread")});
    bench::addServerOption(parser);
    parser.process(app);
    wallClock = parser.isSet(QStringLiteral("wall"));
    std::printf("tempos: %s\n", wallClock ? "de relógio" : "de CPU da thread (sem a espera do disco)");
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);
    const int runs = std::max(1, parser.value(QStringLiteral("runs")).toInt());

    QTemporaryDir scratch;
    const QString program = bench::installCompany(parser.positionalArguments().front(), scratch.path(),
        bench::CompanyFile::Copy, bench::serverOption(parser));
    QuietDesktop desktop;
    QList<Figure> figures;

    // Start-up's chart: the five level tables read, the tree and selector 0 built.
    double loadBest = Inf;
    double chartBest = Inf;
    double chartFloor = Inf;
    QStringList chartSql;
    varemo::AppState state;
    std::unique_ptr<varemo::Contas> window;
    for (int run = 0; run < runs; ++run) {
        if (window) {
            window->Form_Unload();
            window.reset();
            state = varemo::AppState();
        }
        QElapsedTimer timer;
        timer.start();
        window = varemo::start(program, state, desktop);
        if (!window) {
            std::fprintf(stderr, "o programa não abriu\n");
            return 3;
        }
        loadBest = std::min(loadBest, double(timer.nsecsElapsed()) / 1e6);
        // Plain enough to be the same text on both engines, in the server's spelling there.
        if (chartSql.isEmpty()) {
            chartSql << bench::engineText(
                *state.database, QStringLiteral("SELECT Codigo, Nome FROM NivelCategoria0"));
            for (int level = 1; level <= 4; ++level)
                chartSql << bench::engineText(*state.database,
                    QStringLiteral("SELECT Codigo, Nome, CodigoCategoria%1 FROM NivelCategoria%2")
                        .arg(level - 1)
                        .arg(level));
        }
        const QSqlDatabase connection = state.database->connection();
        chartFloor = std::min(chartFloor, millis([&connection, &chartSql] {
            for (const QString& sql : chartSql)
                readAll(connection, sql);
        }));
        // What the load does for the chart: the five level tables, the tree, selector 0. The
        // old tree goes first, untimed: at start-up there is none.
        window->Arvore->clear();
        chartBest = std::min(chartBest, millis([&window, &state] {
            for (int level = 0; level < 5; ++level)
                window->Nivel[static_cast<std::size_t>(level)] = state.database->openRecordset(
                    QStringLiteral("NivelCategoria%1").arg(level), varemo::RecordsetType::Table);
            window->CarregaArvore();
            window->PreencherCombo(0);
        }));
    }
    std::printf("start() inteiro (melhor de %d): %.1f ms; %d nós na árvore\n", runs, loadBest,
        int(window->Arvore->topLevelItem(0)->childCount()));
    figures << Figure {QStringLiteral("árvore e seletor 0"), chartBest, chartFloor, 2.0};
    print(figures.back());

    varemo::Contas& contas = *window;
    QSqlDatabase connection = state.database->connection();
    QStringList sent;
    state.database->statementHook = [&sent](const QString& sql) { sent << sql; };
    auto joinedSql = [&](const QString& key) {
        sent.clear();
        contas.tool_click(key);
        QString longest;
        for (const QString& sql : sent) {
            if (sql.trimmed().startsWith(QStringLiteral("SELECT"), Qt::CaseInsensitive)
                && sql.size() > longest.size())
                longest = sql;
        }
        return bench::engineText(*state.database, longest);
    };

    // View commands, each from the other level. The floor reads the rows the program asks the
    // engine for; the statement of the level as written (state.sql), ordered by the engine
    // itself, is timed for information.
    for (const auto& [key, other] : {std::pair {QStringLiteral("ID_Item"), QStringLiteral("ID_Conta")},
             std::pair {QStringLiteral("ID_Conta"), QStringLiteral("ID_Item")}}) {
        contas.tool_click(other);
        const QString sql = joinedSql(key);
        const QString ordered = bench::floorSql(*state.database, state.sql);
        double best = Inf;
        double floor = Inf;
        for (int run = 0; run < runs; ++run) {
            contas.tool_click(other);
            floor = std::min(floor, millis([&] { readAll(connection, sql); }));
            best = std::min(best, millis([&] { contas.tool_click(key); }));
        }
        figures << Figure {QStringLiteral("comando ") + key, best, floor, 1.5};
        print(figures.back());
        std::printf("%-34s %9.2f ms  (informativo: o SELECT com ORDER BY lido pelo QSqlQuery)\n", "",
            millis([&] { readAll(connection, ordered); }));
    }

    // A save on the item page: the write and the refresh that follows it.
    contas.tool_click(QStringLiteral("ID_Item"));
    const QString itemsSql = joinedSql(QStringLiteral("ID_Item"));
    contas.Movimento_Click(0);
    {
        double best = Inf;
        double floor = Inf;
        for (int run = 0; run < runs; ++run) {
            floor = std::min(floor, millis([&] { readAll(connection, itemsSql); }));
            contas.tool_click(QStringLiteral("ID_Incluir"));
            contas.Combo[4]->setText(QStringLiteral("Item do benchmark %1").arg(run + 1));
            best = std::min(best, millis([&] { contas.tool_click(QStringLiteral("ID_Gravar")); }));
            if (contas.EmInclusao) {
                std::fprintf(stderr, "a gravação não terminou\n");
                return 3;
            }
        }
        figures << Figure {QStringLiteral("gravar item e reler"), best, floor, 1.5};
        print(figures.back());
    }
    state.database->statementHook = nullptr;

    // Moves and tree clicks on the window as shown.
    contas.resize(1200, 780);
    contas.show();
    QApplication::processEvents();
    auto toMiddle = [&] {
        if (contas.NivelAtual != 4)
            contas.tool_click(QStringLiteral("ID_Item"));
        varemo::Recordset* rows = contas.dataSet();
        rows->setAbsolutePosition(rows->recordCount() / 2);
        contas.Movimento_Click(4);
        QApplication::processEvents();
    };
    double worstPaint = 0;
    for (int index = 0; index < 6; ++index) {
        double best = Inf;
        for (int run = 0; run < runs; ++run) {
            toMiddle();
            best = std::min(best, millis([&] { contas.Movimento_Click(index); }));
            worstPaint = std::max(worstPaint, millis([] { QApplication::processEvents(); }));
        }
        figures << Figure {QStringLiteral("Movimento(%1)").arg(index), best, 0, 2.0};
        print(figures.back());
    }
    QStringList items;
    QStringList accounts;
    varemo::walkTree(contas.Arvore->topLevelItem(0), [&](QTreeWidgetItem* node) {
        const QString key = varemo::nodeKeyOf(node);
        if (key.endsWith(QStringLiteral("N4")))
            items << key;
        else if (key.endsWith(QStringLiteral("N3")))
            accounts << key;
    });
    {
        double best = Inf;
        for (int run = 0; run < runs; ++run) {
            toMiddle();
            QTreeWidgetItem* node = contas.node(items.at(items.size() * (run + 1) / (runs + 2)));
            best = std::min(best, millis([&] { contas.Arvore_NodeClick(node); }));
            worstPaint = std::max(worstPaint, millis([] { QApplication::processEvents(); }));
        }
        figures << Figure {QStringLiteral("clique na árvore (item)"), best, 0, 2.0};
        print(figures.back());
    }
    {
        // For information: a click on an account from the item page changes the level.
        double best = Inf;
        for (int run = 0; run < std::min(runs, int(accounts.size())); ++run) {
            contas.tool_click(QStringLiteral("ID_Item"));
            QTreeWidgetItem* node = contas.node(accounts.at(run));
            best = std::min(best, millis([&] { contas.Arvore_NodeClick(node); }));
        }
        std::printf("%-34s %9.2f ms  (informativo)\n", "clique na árvore (conta, troca)", best);
    }
    std::printf("%-34s %9.2f ms  (informativo)\n", "pior repintura após uma ação", worstPaint);

    connection = QSqlDatabase(); // the program closes its connection on unload
    contas.Form_Unload();
    window.reset();
    QStringList missed;
    double worstAction = 0;
    for (const Figure& f : figures) {
        if (!f.pass())
            missed << f.name;
        if (f.floor <= 0)
            worstAction = std::max(worstAction, f.ms);
    }
    std::printf("RESULT editor: %d itens; start() %.0f ms; ", int(items.size()), loadBest);
    for (const Figure& f : figures) {
        if (f.floor > 0)
            std::printf("%s %.2fx; ", qPrintable(f.name), f.ms / f.floor);
    }
    std::printf("pior movimento/clique %.3f ms; metas perdidas: %s\n", worstAction,
        missed.isEmpty() ? "nenhuma" : qPrintable(missed.join(QStringLiteral(", "))));
    return missed.isEmpty() ? 0 : 1;
}
