// Report time: the sales and purchase totals of a personalised report of 5,000 items over six
// months, and that report laid out, against one bare grouped sum, in the same run, through
// the same Qt SQL driver.
//
//   bench_reports COMPANY.mdb [--chosen 5000] [--runs 5] [--reference-items 50]
//                 [--reference PYTHON_TREE] [--pdf OUT.pdf] [--server CONNINFO]
//
// COMPANY.mdb comes from `generate OUT.mdb --items 50000 --lines 1000000`; the items are a fixed
// random choice among its items, the period the last six months of its sales. With --server,
// everything runs on that company loaded into a PostgreSQL server instead.
// - floor: one query summing the period's sale and purchase lines grouped by item and kind,
//   joined to their documents for the dates, written by hand in Jet's words and run as the
//   program's translation writes it for the engine, forward-only through the program's own
//   Qt SQL connection;
// - totals: totals::periodTotals once for the "Receitas" items (sales) and once for the
//   "Despesas" items (purchases), as the report asks them;
// - literal: SomaVendas/SomaCompras item by item on the first --reference-items items, scaled
//   to all of them; their totals must equal the grouped ones;
// - report: reports::relPersonalTable + reports::layoutReport, every page; then PDF writing once;
// - reference (optional): the earlier Python program's period_totals on the same items and file.
// Each time is the best of --runs, the kinds interleaved. Ends with RESULT lines.
#include "benchsupport.h"
#include "data/database.h"
#include "reports/painter.h"
#include "reports/relpersonal.h"
#include "reports/reportlayout.h"
#include "reports/totals.h"

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>

namespace {

using varemo::totals::ItemPath;
using varemo::totals::Movement;
using varemo::totals::Totals;

const QString Receitas = QStringLiteral("Receitas");
const QString Despesas = QStringLiteral("Despesas");

// The period's lines summed per item and kind, nothing else: no names resolved. In Jet's
// words, so that each engine runs it as the program's translation writes it.
QString floorJet(QDate from, QDate to)
{
    const QString period = QStringLiteral("DataDocumento BETWEEN #%1# AND #%2#")
                               .arg(varemo::totals::jetDate(from), varemo::totals::jetDate(to));
    return QStringLiteral("SELECT 'V', vp.CodigoProduto, vp.CodigoSetor, vp.Produto, "
                          "SUM(vp.PrecoUnit * vp.QdeComprada), SUM(vp.QdeComprada) FROM VendaProdutos AS vp "
                          "INNER JOIN Venda AS v ON v.Codigo = vp.Codigo WHERE v.")
        + period
        + QStringLiteral(
            " AND v.Venda = True GROUP BY vp.CodigoProduto, vp.CodigoSetor, vp.Produto UNION ALL "
            "SELECT 'C', cp.CodigoProduto, cp.CodigoSetor, cp.Produto, "
            "SUM(cp.PrecoUnit * cp.QdeComprada), SUM(cp.QdeComprada) FROM CompraProdutos AS cp "
            "INNER JOIN Compra AS c ON c.Codigo = cp.Codigo WHERE c.")
        + period + QStringLiteral(" GROUP BY cp.CodigoProduto, cp.CodigoSetor, cp.Produto");
}

double millisOf(const std::function<void()>& timed)
{
    QElapsedTimer timer;
    timer.start();
    timed();
    return double(timer.nsecsElapsed()) / 1e6;
}

// Every item of the chart in the chart's order, with its path.
std::vector<ItemPath> chartItems(varemo::Database& database)
{
    const auto join
        = database.openRecordset(varemo::totals::ancestorJoinQuery(4, {}), varemo::RecordsetType::Snapshot);
    std::vector<int> at;
    for (int level = 0; level <= 4; ++level)
        at.push_back(join->fieldIndex(QStringLiteral("NivelCategoria%1.Nome").arg(level)));
    std::vector<ItemPath> items;
    for (const QList<QVariant>& row : join->rows()) {
        items.push_back({row.at(at[0]).toString(), row.at(at[1]).toString(), row.at(at[2]).toString(),
            row.at(at[3]).toString(), row.at(at[4]).toString()});
    }
    return items;
}

// The entries of a definition choosing exactly these items (in chart order).
QStringList entriesOf(const std::vector<ItemPath>& items)
{
    QStringList entries;
    ItemPath previous;
    bool first = true;
    for (const ItemPath& item : items) {
        const QString names[] {item.categoria, item.setor, item.grupo, item.conta};
        const QString before[] {previous.categoria, previous.setor, previous.grupo, previous.conta};
        int changed = first ? 0 : 4;
        for (int level = 0; level < 4 && changed == 4; ++level) {
            if (names[level] != before[level])
                changed = level;
        }
        for (int level = changed; level < 4; ++level)
            entries << varemo::reports::pathEntry(names[level], level, false);
        entries << varemo::reports::pathEntry(item.item, 4, true);
        previous = item;
        first = false;
    }
    return entries;
}

struct Split {
    std::vector<ItemPath> sales;
    std::vector<ItemPath> purchases;
};

Split splitByCategoria(const std::vector<ItemPath>& items)
{
    Split split;
    for (const ItemPath& item : items) {
        if (item.categoria == Receitas)
            split.sales.push_back(item);
        else if (item.categoria == Despesas)
            split.purchases.push_back(item);
    }
    return split;
}

// The earlier Python program's period_totals over the same items: the best of `runs`.
double referenceMillis(
    const QString& tree, const QString& company, const QString& itemsFile, QDate from, QDate to, int runs)
{
    const QString script = QStringLiteral(R"(
import sys, time
from varemo_contas.data.dao import Database
from varemo_contas.reports.totals import ItemPath, period_totals
database = Database.open(sys.argv[1])
with open(sys.argv[2], encoding="utf-8") as f:
    items = [ItemPath(*line.rstrip("\n").split("\t")) for line in f if line.strip()]
best = float("inf")
for _ in range(int(sys.argv[5])):
    start = time.perf_counter()
    period_totals(database, items, sys.argv[3], sys.argv[4])
    best = min(best, time.perf_counter() - start)
print("MS", best * 1000)
database.close()
)");
    QProcess python;
    python.start(QDir(tree).filePath(QStringLiteral(".venv/bin/python")),
        {QStringLiteral("-c"), script, company, itemsFile, from.toString(QStringLiteral("dd-MM-yyyy")),
            to.toString(QStringLiteral("dd-MM-yyyy")), QString::number(runs)});
    python.waitForFinished(600000);
    const QList<QByteArray> words = python.readAllStandardOutput().trimmed().split(' ');
    if (python.exitCode() != 0 || words.size() != 2 || words[0] != "MS") {
        std::fprintf(stderr, "a referência falhou: %s\n", python.readAllStandardError().constData());
        return -1;
    }
    return words[1].toDouble();
}

} // namespace

int main(int argc, char** argv)
{
    // The layout measures text and the PDF draws it: fonts without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Totais e relatório personalizado contra uma soma agrupada."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("empresa"), QStringLiteral("arquivo feito por generate"));
    const auto option = [&](const char* name, const char* help, const char* value, const char* fallback) {
        parser.addOption({QString::fromLatin1(name), QString::fromUtf8(help), QString::fromLatin1(value),
            QString::fromLatin1(fallback)});
    };
    option("chosen", "itens do relatório", "N", "5000");
    option("runs", "repetições (a melhor conta)", "N", "5");
    option("reference-items", "itens somados um a um pela rotina literal", "N", "50");
    option("reference", "árvore do programa anterior (Python)", "DIR", "");
    option("pdf", "arquivo PDF a escrever (senão, um temporário)", "OUT", "");
    bench::addServerOption(parser);
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);
    const int runs = std::max(1, parser.value(QStringLiteral("runs")).toInt());
    const QString company = parser.positionalArguments().front();
    QTemporaryDir scratch;

    auto database = bench::openCompany(company, bench::serverOption(parser));
    const QDate to = database->scalar(QStringLiteral("SELECT MAX(DataDocumento) FROM Venda")).toDate();
    const QDate from = to.addDays(-182);

    std::vector<ItemPath> all = chartItems(*database);
    const auto chosenCount
        = std::min<qsizetype>(parser.value(QStringLiteral("chosen")).toInt(), qsizetype(all.size()));
    std::vector<size_t> picked(all.size());
    for (size_t i = 0; i < picked.size(); ++i)
        picked[i] = i;
    QRandomGenerator random(1);
    for (qsizetype i = 0; i < chosenCount; ++i)
        std::swap(picked[size_t(i)], picked[size_t(i) + random.bounded(quint32(picked.size() - size_t(i)))]);
    picked.resize(size_t(chosenCount));
    std::sort(picked.begin(), picked.end());
    std::vector<ItemPath> chosen;
    for (size_t index : picked)
        chosen.push_back(all[index]);
    const Split split = splitByCategoria(chosen);
    std::printf("%zu itens no plano; relatório de %zu itens (%zu de receitas, %zu de despesas), %s a %s\n",
        all.size(), chosen.size(), split.sales.size(), split.purchases.size(),
        qPrintable(from.toString(QStringLiteral("dd-MM-yyyy"))),
        qPrintable(to.toString(QStringLiteral("dd-MM-yyyy"))));

    int floorGroups = 0;
    const QString floorSql = bench::floorSql(*database, floorJet(from, to));
    const auto floor = [&] {
        QSqlQuery query(database->connection());
        query.setForwardOnly(true);
        if (!query.exec(floorSql)) {
            std::fprintf(stderr, "o piso falhou: %s\n", qPrintable(query.lastError().text()));
            std::exit(3);
        }
        floorGroups = 0;
        double sink = 0;
        while (query.next()) {
            sink += query.value(4).toDouble();
            ++floorGroups;
        }
        (void)sink;
    };
    std::vector<Totals> sales, purchases;
    const auto grouped = [&] {
        sales = varemo::totals::periodTotals(*database, Movement::Sales, split.sales, from, to);
        purchases = varemo::totals::periodTotals(*database, Movement::Purchases, split.purchases, from, to);
    };
    const QStringList entries = entriesOf(chosen);
    varemo::reports::Document document;
    const auto report = [&] {
        const auto table = varemo::reports::relPersonalTable(
            *database, entries, QStringLiteral("Bench"), from, to, QDate(2026, 1, 1));
        document = varemo::reports::layoutReport(table);
    };

    constexpr double Never = std::numeric_limits<double>::infinity();
    double floorMs = Never, totalsMs = Never, reportMs = Never;
    for (int i = 0; i < runs; ++i) {
        floorMs = std::min(floorMs, millisOf(floor));
        totalsMs = std::min(totalsMs, millisOf(grouped));
        reportMs = std::min(reportMs, millisOf(report));
    }
    QString pdf = parser.value(QStringLiteral("pdf"));
    if (pdf.isEmpty())
        pdf = scratch.filePath(QStringLiteral("relatorio.pdf"));
    const double pdfMs = millisOf([&] { varemo::reports::writePdf(document, pdf); });

    // The literal routine, item by item, on a sample taken from both movements.
    const auto sample = std::min<size_t>(
        size_t(std::max(0, parser.value(QStringLiteral("reference-items")).toInt())), chosen.size());
    int mismatches = 0;
    const double literalMs = millisOf([&] {
        size_t s = 0, p = 0;
        for (size_t i = 0; i < sample; ++i) {
            const bool isSale = (i % 2 == 0 && s < split.sales.size()) || p >= split.purchases.size();
            const ItemPath& path = isSale ? split.sales[s] : split.purchases[p];
            const Totals expected = isSale ? sales[s++] : purchases[p++];
            QString sql;
            const Totals got = isSale ? varemo::totals::SomaVendas(*database, sql, path, from, to)
                                      : varemo::totals::SomaCompras(*database, sql, path, from, to);
            // The same lines summed in another order may differ in the last digits.
            const auto near
                = [](double a, double b) { return std::abs(a - b) <= 1e-9 * std::max(1.0, std::abs(b)); };
            if (!near(got.money, expected.money) || !near(got.quantity, expected.quantity))
                ++mismatches;
        }
    });
    const double literalScaled = sample ? literalMs * double(chosen.size()) / double(sample) : 0;

    std::printf("piso (uma consulta agrupada, %d grupos): %8.1f ms\n", floorGroups, floorMs);
    std::printf("totais (periodTotals, vendas + compras): %8.1f ms\n", totalsMs);
    std::printf("relatório (tabela + %zu páginas):        %8.1f ms\n", document.pages.size(), reportMs);
    std::printf("PDF (uma vez):                           %8.1f ms\n", pdfMs);
    std::printf("literal: %zu itens em %.0f ms, %zu itens ~ %.1f s; diferenças: %d\n", sample, literalMs,
        chosen.size(), literalScaled / 1000, mismatches);

    double reference = -1;
    const QString tree = parser.value(QStringLiteral("reference"));
    if (!tree.isEmpty()) {
        const QString itemsFile = scratch.filePath(QStringLiteral("itens.tsv"));
        QFile file(itemsFile);
        if (file.open(QIODevice::WriteOnly)) {
            QTextStream out(&file);
            for (const ItemPath& item : chosen)
                out << item.categoria << '\t' << item.setor << '\t' << item.grupo << '\t' << item.conta
                    << '\t' << item.item << '\n';
        }
        file.close();
        reference = referenceMillis(tree, company, itemsFile, from, to, runs);
        std::printf("referência Python (period_totals):       %8.1f ms\n", reference);
    }

    std::printf(
        "RESULT totals: %.1f ms, piso %.1f ms (melhor de %d), razão %.2fx (meta 1.2x); literal ~%.0f ms, "
        "%.0fx mais lento (meta 1000x)",
        totalsMs, floorMs, runs, totalsMs / floorMs, literalScaled, literalScaled / totalsMs);
    if (reference > 0)
        std::printf("; referência %.1f ms (%.1fx a nossa)", reference, reference / totalsMs);
    std::printf("\nRESULT report: %zu páginas em %.1f ms, razão %.2fx o piso (meta 1.5x); PDF %.0f ms\n",
        document.pages.size(), reportMs, reportMs / floorMs, pdfMs);
    bench::printFigure(QStringLiteral("totais de %1 itens").arg(chosen.size()), totalsMs, floorMs);
    bench::printFigure(QStringLiteral("relatório de %1 itens").arg(chosen.size()), reportMs, floorMs);
    return mismatches == 0 ? 0 : 1;
}
