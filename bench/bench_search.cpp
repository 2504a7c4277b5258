// Search time: five filled rows, one of them "Qualquer campo", against one bare UPDATE
// marking the same items, in the same run, through the same Qt SQL driver.
//
//   bench_search COMPANY.mdb [--runs 7] [--reference PYTHON_TREE] [--trace] [--server CONNINFO]
//
// COMPANY.mdb comes from `generate OUT.mdb --items 50000 --lines 1000000`; it is copied to a
// scratch folder first, so the kept file never changes. With --server the program and the
// floor run on that company loaded into a PostgreSQL server instead.
// - program: search::runSearch with the window's preparation done untimed before each run,
//   as the window does it on opening; its one transaction and commit are timed;
// - floor: one hand-written UPDATE ... SET Marca = True WHERE <the same condition>, in Jet's
//   words and run as the program's translation writes it for the engine, on a connection of
//   its own opened as the program opens one (autocommit), so Like and the comparisons answer
//   exactly as the search's; the marks are cleared untimed first;
// - on the file, the same UPDATE with SQLite's own LIKE and comparisons (not equivalent for
//   accented capitals; printed only to show what Jet's text rules cost);
// - row by row: the markers' rows found and edited one by one, once, and its marks and
//   scratch table compared with the program's;
// - reference (optional): the earlier Python program's search on a copy of the same file, its
//   runs taking turns with the program's.
// Each time is the best of --runs, the kinds interleaved, as wall-clock time and as the
// thread's CPU time: on a machine shared with other work a run waits for a core, and the
// CPU time stays comparable where the wall time does not (on the server the server's own
// work is outside this thread's CPU time: there only the wall time compares). --trace prints
// each statement of the program's last search with its CPU time. Ends with one RESULT line.
#include "app/state.h"
#include "benchsupport.h"
#include "data/database.h"
#include "data/dialect.h"
#include "search/marking.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>

namespace {

// A OR (B AND C AND D) OR E, the links as the window writes them.
const varemo::search::Rows SearchRows {{
    {QStringLiteral("Qualquer campo"), QStringLiteral("contenha"), QStringLiteral("Pão"), {}},
    {QStringLiteral("Categoria"), QStringLiteral("seja igual a"), QStringLiteral("Despesas"),
        QStringLiteral("ou")},
    {QStringLiteral("Item"), QStringLiteral("não contenha"), QStringLiteral("2"), QStringLiteral("e o")},
    {QStringLiteral("Setor"), QStringLiteral("seja maior que"), QStringLiteral("Despesas F"),
        QStringLiteral("e o")},
    {QStringLiteral("Conta"), QStringLiteral("contenha"), QStringLiteral("Energia"), QStringLiteral("ou")},
}};

// The same search by hand: the levels joined once, the combined condition, one UPDATE. In
// Jet's words (each engine runs it as the program's translation writes it for that engine),
// or, for comparison on the file only, in SQLite's with its plain LIKE and text comparisons.
QString floorText(bool jet)
{
    const auto like = [&](const char* column, const char* content) {
        return jet ? QStringLiteral("%1 Like '*%2*'").arg(QLatin1String(column), QString::fromUtf8(content))
                   : QStringLiteral("%1 LIKE '%%2%'").arg(QLatin1String(column), QString::fromUtf8(content));
    };
    return QStringLiteral("UPDATE NivelCategoria4 SET Marca = %1 WHERE Codigo IN (SELECT n4.Codigo "
                          "FROM (((NivelCategoria4 AS n4 "
                          "LEFT JOIN NivelCategoria3 AS n3 ON n3.Codigo = n4.CodigoCategoria3) "
                          "LEFT JOIN NivelCategoria2 AS n2 ON n2.Codigo = n3.CodigoCategoria2) "
                          "LEFT JOIN NivelCategoria1 AS n1 ON n1.Codigo = n2.CodigoCategoria1) "
                          "LEFT JOIN NivelCategoria0 AS n0 ON n0.Codigo = n1.CodigoCategoria0 WHERE (")
               .arg(jet ? QStringLiteral("True") : QStringLiteral("1"))
        + like("n4.Nome", "Pão") + QStringLiteral(" OR ") + like("n3.Nome", "Pão") + QStringLiteral(" OR ")
        + like("n2.Nome", "Pão") + QStringLiteral(" OR ") + like("n1.Nome", "Pão") + QStringLiteral(" OR ")
        + like("n0.Nome", "Pão") + QStringLiteral(") OR n0.Nome = 'Despesas' AND NOT ") + like("n4.Nome", "2")
        + QStringLiteral(" AND n1.Nome > 'Despesas F' OR ") + like("n3.Nome", "Energia") + QLatin1Char(')');
}

double threadCpuMillis()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

constexpr double Never = std::numeric_limits<double>::infinity();

struct Times {
    double wall = Never;
    double cpu = Never;
    void keepBest(const Times& other)
    {
        wall = std::min(wall, other.wall);
        cpu = std::min(cpu, other.cpu);
    }
};

Times timesOf(const std::function<void()>& timed)
{
    QElapsedTimer timer;
    const double cpu = threadCpuMillis();
    timer.start();
    timed();
    return {double(timer.nsecsElapsed()) / 1e6, threadCpuMillis() - cpu};
}

void run(QSqlDatabase& connection, const QString& sql)
{
    QSqlQuery query(connection);
    if (!query.exec(sql)) {
        std::fprintf(stderr, "falhou: %s\n%s\n", qPrintable(query.lastError().text()), qPrintable(sql));
        std::exit(3);
    }
}

QStringList rowsOf(QSqlDatabase& connection, const QString& sql)
{
    QSqlQuery query(connection);
    query.exec(sql);
    QStringList rows;
    while (query.next()) {
        QStringList cells;
        for (int i = 0; i < query.record().count(); ++i)
            cells << query.value(i).toString();
        rows << cells.join(QLatin1Char('|'));
    }
    return rows;
}

const QString MarkedItems
    = QStringLiteral("SELECT Codigo FROM NivelCategoria4 WHERE Marca = True ORDER BY Codigo");
// DISTINCT (each item is once in Procura) keeps the translation from adding each row's handle,
// which the server numbers anew on every fill.
const QString ScratchRows = QStringLiteral(
    "SELECT DISTINCT Codigo, Marca, Marca1, Marca2, Marca3, Marca4, Marca5 FROM Procura ORDER BY Codigo");
const QString ClearMarks = QStringLiteral("UPDATE NivelCategoria4 SET Marca = False WHERE Marca = True");

// The earlier Python program's search on its own copy of the file, one search per request, so
// its runs take turns with the program's under the same load.
class Reference {
public:
    Reference(const QString& tree, const QString& company)
    {
        const QString script = QStringLiteral(R"(
import sys, time
from varemo_contas.app.state import State
from varemo_contas.data.dao import Database
from varemo_contas.search import execution
rows = [("Qualquer campo", "contenha", "Pão", ""), ("Categoria", "seja igual a", "Despesas", "ou"),
        ("Item", "não contenha", "2", "e o"), ("Setor", "seja maior que", "Despesas F", "e o"),
        ("Conta", "contenha", "Energia", "ou")]
state = State(database=Database.open(sys.argv[1]))
for _ in sys.stdin:
    procura, itens = execution.prepare(state)
    start, start_cpu = time.perf_counter(), time.thread_time()
    execution.run_search(state, rows, procura)
    wall, cpu = time.perf_counter() - start, time.thread_time() - start_cpu
    procura.close()
    itens.close()
    print("MS", wall * 1000, cpu * 1000, state.search_result, flush=True)
state.database.close()
)");
        m_python.start(
            QDir(tree).filePath(QStringLiteral(".venv/bin/python")), {QStringLiteral("-c"), script, company});
    }
    ~Reference()
    {
        m_python.closeWriteChannel();
        m_python.waitForFinished(60000);
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    // One search's times; false when the program failed.
    bool run(Times& best)
    {
        m_python.write("run\n");
        while (!m_python.canReadLine() && m_python.waitForReadyRead(600000)) { }
        const QList<QByteArray> words = m_python.readLine().trimmed().split(' ');
        if (words.size() != 4 || words[0] != "MS") {
            std::fprintf(stderr, "a referência falhou: %s\n", m_python.readAllStandardError().constData());
            return false;
        }
        hits = words[3].toInt();
        best.keepBest({words[1].toDouble(), words[2].toDouble()});
        return true;
    }

    int hits = 0;

private:
    QProcess m_python;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Procura de cinco critérios contra um UPDATE simples."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("empresa"), QStringLiteral("arquivo feito por generate"));
    parser.addOption({QStringLiteral("runs"), QStringLiteral("repetições (a melhor conta)"),
        QStringLiteral("N"), QStringLiteral("7")});
    parser.addOption({QStringLiteral("reference"), QStringLiteral("árvore do programa anterior (Python)"),
        QStringLiteral("DIR")});
    parser.addOption(
        {QStringLiteral("trace"), QStringLiteral("cada instrução da última procura, com seu tempo")});
    bench::addServerOption(parser);
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);
    const int runs = std::max(1, parser.value(QStringLiteral("runs")).toInt());

    QTemporaryDir scratch;
    const QString company = scratch.filePath(QStringLiteral("empresa.mdb"));
    if (!QFile::copy(parser.positionalArguments().front(), company)) {
        std::fprintf(stderr, "não foi possível copiar a empresa\n");
        return 2;
    }

    varemo::AppState state;
    const auto server = bench::serverOption(parser);
    state.database = bench::openCompany(company, server);
    // The floor's own connection, opened as the program opens one: on the file with our text
    // functions and collation, on the server with the functions each connection creates.
    const auto floorDatabase = bench::openCompany(company, server);
    QSqlDatabase bare = floorDatabase->connection();
    const int items = floorDatabase->scalar(QStringLiteral("SELECT Count(*) FROM NivelCategoria4")).toInt();
    const QString markedItems = bench::floorSql(*floorDatabase, MarkedItems);
    const QString scratchRows = bench::floorSql(*floorDatabase, ScratchRows);
    const QString floorJet = bench::floorSql(*floorDatabase, floorText(true));

    varemo::search::Prepared prepared;
    const auto search = [&](varemo::search::Marking marking) {
        prepared = {};
        prepared = varemo::search::prepare(state);
        return timesOf(
            [&] { varemo::search::runSearch(state, SearchRows, prepared.procura.get(), marking); });
    };
    const auto floor = [&](const QString& sql) {
        floorDatabase->execute(ClearMarks);
        return timesOf([&] { run(bare, sql); });
    };

    const QString tree = parser.value(QStringLiteral("reference"));
    std::unique_ptr<Reference> python;
    if (!tree.isEmpty()) {
        const QString copy = scratch.filePath(QStringLiteral("referencia.mdb"));
        QFile::copy(parser.positionalArguments().front(), copy);
        python = std::make_unique<Reference>(tree, copy);
    }

    Times program, floorTimes, floorPlain, reference;
    QStringList programMarks;
    QStringList programScratch;
    int hits = 0;
    QStringList trace;
    double traceMark = 0;
    for (int i = 0; i < runs; ++i) {
        if (parser.isSet(QStringLiteral("trace")) && i == runs - 1)
            state.database->statementHook = [&](const QString& sql) {
                const double now = threadCpuMillis();
                trace << QStringLiteral("  %1 ms  %2").arg(now - traceMark, 7, 'f', 1).arg(sql.left(100));
                traceMark = threadCpuMillis();
            };
        traceMark = threadCpuMillis();
        program.keepBest(search(varemo::search::Marking::Fast));
        state.database->statementHook = nullptr;
        hits = state.searchResult;
        programMarks = rowsOf(bare, markedItems);
        programScratch = rowsOf(bare, scratchRows);
        floorTimes.keepBest(floor(floorJet));
        if (!server)
            floorPlain.keepBest(floor(floorText(false)));
        if (python && !python->run(reference))
            python.reset();
    }
    floor(floorJet);
    const bool floorSame = rowsOf(bare, markedItems) == programMarks;

    const double rowByRow = search(varemo::search::Marking::RowByRow).wall;
    const bool rowByRowSame = state.searchResult == hits && rowsOf(bare, markedItems) == programMarks
        && rowsOf(bare, scratchRows) == programScratch;
    prepared = {};

    std::printf("%d itens, 5 critérios (um \"Qualquer campo\"), %d encontrados\n", items, hits);
    if (!trace.isEmpty())
        std::printf("última procura, CPU por instrução (a preparação antes dela):\n%s\n",
            qPrintable(trace.join(QLatin1Char('\n'))));
    std::printf("                                    relógio       CPU\n");
    std::printf("programa (runSearch):              %8.1f ms %8.1f ms\n", program.wall, program.cpu);
    std::printf("piso (um UPDATE, texto como o Jet): %8.1f ms %8.1f ms  marcas iguais: %s\n", floorTimes.wall,
        floorTimes.cpu, floorSame ? "sim" : "NÃO");
    if (!server)
        std::printf(
            "UPDATE com LIKE do SQLite:          %8.1f ms %8.1f ms  (não equivalente; só para comparar)\n",
            floorPlain.wall, floorPlain.cpu);
    std::printf("linha a linha (uma vez):            %8.1f ms  marcas e Procura iguais: %s\n", rowByRow,
        rowByRowSame ? "sim" : "NÃO");

    if (python)
        std::printf("referência Python (run_search):     %8.1f ms %8.1f ms  %d encontrados\n", reference.wall,
            reference.cpu, python->hits);

    std::printf("RESULT search: programa %.1f ms (CPU %.1f), piso %.1f ms (CPU %.1f), melhor de %d, "
                "razão %.2fx (CPU %.2fx, meta 2x)",
        program.wall, program.cpu, floorTimes.wall, floorTimes.cpu, runs, program.wall / floorTimes.wall,
        program.cpu / floorTimes.cpu);
    if (reference.wall < Never)
        std::printf(", referência %.1f ms (CPU %.1f): programa/referência %.2f (CPU %.2f)", reference.wall,
            reference.cpu, program.wall / reference.wall, program.cpu / reference.cpu);
    std::printf("\n");
    // On the server most of the work is the server's, outside this thread's CPU time.
    bench::printFigure(QStringLiteral("procura de cinco linhas"), program.wall, floorTimes.wall);
    return floorSame && rowByRowSame ? 0 : 1;
}
