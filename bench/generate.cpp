// Writes a large company file shaped like the demo, for the benchmarks and for trying the
// program on a big chart:  generate OUT.mdb --items 50000 --lines 1000000 [--seed N]
#include "data/generator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Gera um banco de dados de empresa para testes."));
    parser.addHelpOption();
    parser.addPositionalArgument(
        QStringLiteral("saida"), QStringLiteral("arquivo .mdb a criar (substituído se existir)"));
    const QCommandLineOption items(QStringLiteral("items"), QStringLiteral("itens (nível 4)"),
        QStringLiteral("n"), QStringLiteral("50000"));
    const QCommandLineOption lines(QStringLiteral("lines"), QStringLiteral("linhas de movimento"),
        QStringLiteral("n"), QStringLiteral("1000000"));
    const QCommandLineOption seed(QStringLiteral("seed"), QStringLiteral("semente do sorteio"),
        QStringLiteral("n"), QStringLiteral("0"));
    parser.addOptions({items, lines, seed});
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);

    bool itemsOk = false, linesOk = false, seedOk = false;
    const int itemCount = parser.value(items).toInt(&itemsOk);
    const int lineCount = parser.value(lines).toInt(&linesOk);
    const auto seedValue = parser.value(seed).toULongLong(&seedOk);
    if (!itemsOk || !linesOk || !seedOk || lineCount < 0) {
        std::fprintf(stderr, "generate: --items, --lines e --seed pedem números inteiros\n");
        return 2;
    }
    const QString out = parser.positionalArguments().front();
    QElapsedTimer timer;
    timer.start();
    try {
        varemo::demo::generateCompany(out, itemCount, lineCount, seedValue);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "generate: %s\n", error.what());
        return 1;
    }
    std::printf("%s: %d itens, %d linhas em %.1f s\n", qPrintable(out), itemCount, lineCount,
        static_cast<double>(timer.elapsed()) / 1000.0);
    return 0;
}
