#include "reports/engine.h"
#include "reports/format.h"
#include "reports/painter.h"
#include "support/testregistry.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace varemo::reports;

namespace {

Band row(const QString& text, qreal height = 5, bool keep = false)
{
    Band band;
    band.height = height;
    band.texts.push_back({0, 100, text});
    band.keepWithNext = keep;
    return band;
}

// Usable height 297 - 2 * 10 minus header and footer of 5 each: 267 mm.
Engine pagedEngine()
{
    Engine engine;
    engine.setPageHeader(row(QStringLiteral("Relatório")));
    engine.setPageFooter(row(QStringLiteral("Página {pagina} de {paginas}")));
    return engine;
}

int pageOf(const Document& document, const QString& text)
{
    for (int p = 0; p < int(document.pages.size()); ++p) {
        for (const auto& run : document.pages[size_t(p)].texts) {
            if (run.text == text)
                return p;
        }
    }
    return -1;
}

} // namespace

class TestEngine : public QObject {
    Q_OBJECT

private slots:
    void money_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("millions") << 1234567.891 << QStringLiteral("1.234.567,89");
        QTest::newRow("below one") << 0.07 << QStringLiteral("0,07");
        QTest::newRow("tiny negative is zero") << -0.001 << QStringLiteral("0,00");
    }
    void money()
    {
        QFETCH(double, value);
        QTEST(formatMoney(value), "text");
    }

    // rows: how many 5 mm rows; header: index of a keep-with-next header among them (-1 none).
    // The pages are read back from the PDF too, where poppler's pdftotext is at hand.
    void pagination_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("header");
        QTest::addColumn<int>("pages");
        QTest::addColumn<int>("headerPage");
        QTest::newRow("one page holds 53 rows") << 53 << -1 << 1 << -1;
        QTest::newRow("the 54th row opens a page") << 54 << -1 << 2 << -1;
        QTest::newRow("header at the foot moves on") << 54 << 52 << 2 << 1;
        QTest::newRow("header with room stays") << 54 << 51 << 2 << 0;
        QTest::newRow("header as the last band") << 53 << 52 << 1 << 0;
    }
    void pagination()
    {
        QFETCH(int, rows);
        QFETCH(int, header);
        QFETCH(int, pages);
        Engine engine = pagedEngine();
        const auto text = [](int i) { return formatMoney(1000.25 * i); };
        for (int i = 0; i < rows; ++i)
            engine.add(row(text(i), 5, i == header));
        const Document document = engine.finish();
        QCOMPARE(int(document.pages.size()), pages);
        if (header >= 0)
            QTEST(pageOf(document, text(header)), "headerPage");
        for (int i = 0; i < rows; ++i)
            QVERIFY2(pageOf(document, text(i)) >= 0, qPrintable(text(i)));
        const QString last = QStringLiteral("Página %1 de %1").arg(pages);
        QCOMPARE(pageOf(document, last), pages - 1);
        QCOMPARE(pageOf(document, QStringLiteral("Página 1 de %1").arg(pages)), 0);
        const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
        if (pdftotext.isEmpty())
            return;
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("r.pdf"));
        QVERIFY(writePdf(document, file));
        QProcess process;
        process.start(pdftotext, {QStringLiteral("-layout"), file, QStringLiteral("-")});
        QVERIFY(process.waitForFinished(30000));
        const QString read = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY(read.contains(last) && read.contains(text(rows - 1)));
        QCOMPARE(read.count(QLatin1Char('\f')), pages);
    }
};

VAREMO_TEST(TestEngine);
#include "test_engine.moc"
