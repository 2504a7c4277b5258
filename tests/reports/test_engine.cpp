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
    Band footer = row(QStringLiteral("Página {pagina} de {paginas}"));
    engine.setPageFooter(footer);
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
        QTest::newRow("thousands") << 1234.5 << QStringLiteral("1.234,50");
        QTest::newRow("millions") << 1234567.891 << QStringLiteral("1.234.567,89");
        QTest::newRow("below one") << 0.07 << QStringLiteral("0,07");
        QTest::newRow("negative") << -12.3 << QStringLiteral("-12,30");
        QTest::newRow("tiny negative is zero") << -0.001 << QStringLiteral("0,00");
    }
    void money()
    {
        QFETCH(double, value);
        QFETCH(QString, text);
        QCOMPARE(formatMoney(value), text);
    }

    // rows: how many 5 mm rows; header: index of a keep-with-next header among them (-1 none)
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
        QFETCH(int, headerPage);
        Engine engine = pagedEngine();
        for (int i = 0; i < rows; ++i)
            engine.add(row(QString::number(i), 5, i == header));
        const Document document = engine.finish();
        QCOMPARE(int(document.pages.size()), pages);
        if (header >= 0)
            QCOMPARE(pageOf(document, QString::number(header)), headerPage);
        for (int i = 0; i < rows; ++i)
            QVERIFY2(pageOf(document, QString::number(i)) >= 0, qPrintable(QString::number(i)));
        const QString last = QStringLiteral("Página %1 de %1").arg(pages);
        QCOMPARE(pageOf(document, last), pages - 1);
        QCOMPARE(pageOf(document, QStringLiteral("Página 1 de %1").arg(pages)), 0);
    }

    void positionsAndToc()
    {
        Engine engine = pagedEngine();
        engine.setFormat([](Band& band) {
            if (band.texts.front().text == QLatin1String("grande"))
                band.height = 10;
        });
        Band group = row(QStringLiteral("Grupo"), 5, true);
        group.tocText = QStringLiteral("Grupo");
        group.tocLevel = 2;
        engine.add(group);
        engine.add(row(QStringLiteral("grande")));
        engine.add(row(QStringLiteral("depois")));
        const Document document = engine.finish();
        const auto& texts = document.pages.front().texts;
        QCOMPARE(texts[1].rect, QRectF(10, 15, 100, 5)); // below the 5 mm page header
        QCOMPARE(texts[3].rect.top(), 30.0); // after the band the format made 10 mm
        QCOMPARE(texts.back().rect.top(), 282.0); // footer sits on the bottom margin
        QCOMPARE(int(document.toc.size()), 1);
        QCOMPARE(document.toc.front().level, 2);
        QCOMPARE(document.toc.front().y, 15.0);
        QCOMPARE(document.find(QStringLiteral("DEPOIS")), std::make_pair(0, 3));
        QVERIFY(document.pageText(0).startsWith(QStringLiteral("Relatório\nGrupo\ngrande\n")));
    }

    void pdfReadBack()
    {
        const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
        if (pdftotext.isEmpty())
            QSKIP("pdftotext is not installed");
        Engine engine = pagedEngine();
        for (int i = 0; i < 60; ++i)
            engine.add(row(formatMoney(1000.25 * i)));
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("r.pdf"));
        QVERIFY(writePdf(engine.finish(), file));
        QProcess process;
        process.start(pdftotext, {QStringLiteral("-layout"), file, QStringLiteral("-")});
        QVERIFY(process.waitForFinished(30000));
        const QString text = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY(text.contains(QStringLiteral("Página 2 de 2")));
        QVERIFY(text.contains(QStringLiteral("59.014,75")));
        QCOMPARE(text.count(QLatin1Char('\f')), 2);
    }
};

VAREMO_TEST(TestEngine);
#include "test_engine.moc"
