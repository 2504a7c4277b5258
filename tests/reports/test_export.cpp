#include "reports/engine.h"
#include "reports/export.h"
#include "reports/format.h"
#include "reports/painter.h"
#include "support/testregistry.h"

#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <unzip.h>

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
    for (size_t p = 0; p < document.pages.size(); ++p)
        for (const auto& run : document.pages[p].texts)
            if (run.text == text)
                return int(p);
    return -1;
}

// A month of a bakery: an account with three items and its sum, an expense, and two totals,
// one over adjacent rows and one over scattered rows with a subtraction; special characters
// in names; a loss; last, names a spreadsheet would run as formulas.
Table sampleTable()
{
    using Kind = Line::Kind;
    Table table;
    table.title = QStringLiteral("Relatório : Mensal");
    table.subtitle = QStringList {QStringLiteral("Impresso: 31 de março de 2026"),
        QStringLiteral("Período: De 01-03-2026 a 31-03-2026")};
    table.columns = QStringList {QStringLiteral("Quantidade"), QStringLiteral("Valor")};
    table.lines = {
        {Kind::Heading, 0, QStringLiteral("RECEITAS"), {}, {}, {}},
        {Kind::Heading, 3, QStringLiteral("Padaria"), {}, {}, {}},
        {Kind::Detail, 4, QStringLiteral("Pão; francês"), 10.0, 1234.5, {}},
        {Kind::Detail, 4, QStringLiteral("Bolo \"caseiro\""), 2.0, 100.0, {}},
        {Kind::Detail, 4, QStringLiteral("Torta"), {}, 50.25, {}},
        {Kind::Sum, 3, QStringLiteral("Soma da Conta Padaria"), 12.0, 1384.75, {{2, 1}, {3, 1}, {4, 1}}},
        {Kind::Detail, 4, QStringLiteral("Farinha"), {}, 1500.0, {}},
        {Kind::Total, 0, QStringLiteral("Diferença"), {}, -115.25, {{5, 1}, {6, -1}}},
        {Kind::Total, 0, QStringLiteral("Avulsos"), {}, -215.25, {{2, 1}, {4, 1}, {6, -1}}},
    };
    for (const char* name :
        {"=HYPERLINK(\"x\")", "+55 11", "-12,50", "@SUM(A1)", "\tcmd", "\rcmd", "Pão = 2"})
        table.lines.push_back({Kind::Detail, 4, QString::fromUtf8(name), {}, -3.5, {}});
    return table;
}

QByteArray zipEntry(const QString& zipPath, const char* name)
{
    QByteArray out;
    unzFile zip = unzOpen(QFile::encodeName(zipPath).constData());
    if (zip && unzLocateFile(zip, name, 1) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
        char buffer[4096];
        int read = 0;
        while ((read = unzReadCurrentFile(zip, buffer, sizeof buffer)) > 0)
            out.append(buffer, read);
        unzCloseCurrentFile(zip);
    }
    if (zip)
        unzClose(zip);
    return out;
}

struct Cell {
    QString value; // the text, or the number as stored
    QString formula;
    int indent = 0;
    QString numberFormat;
};

// The first sheet's cells by reference, their styles resolved, and the frozen rows.
struct Workbook {
    QMap<QString, Cell> cells;
    int frozenRows = 0;

    explicit Workbook(const QString& path)
    {
        QStringList strings;
        for (QXmlStreamReader xml(zipEntry(path, "xl/sharedStrings.xml")); !xml.atEnd();) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"t")
                strings << xml.readElementText();
        }
        QList<Cell> styles;
        QMap<int, QString> formats {{4, QStringLiteral("#,##0.00")}}; // Excel's own number 4
        bool inCellStyles = false;
        for (QXmlStreamReader xml(zipEntry(path, "xl/styles.xml")); !xml.atEnd();) {
            xml.readNext();
            inCellStyles = xml.name() == u"cellXfs" ? xml.isStartElement() : inCellStyles;
            const QXmlStreamAttributes attributes = xml.attributes();
            if (xml.isStartElement() && xml.name() == u"numFmt")
                formats[attributes.value(QLatin1String("numFmtId")).toInt()]
                    = attributes.value(QLatin1String("formatCode")).toString();
            else if (inCellStyles && xml.isStartElement() && xml.name() == u"xf")
                styles << Cell {
                    {}, {}, 0, formats.value(attributes.value(QLatin1String("numFmtId")).toInt())};
            else if (inCellStyles && xml.isStartElement() && xml.name() == u"alignment")
                styles.last().indent = attributes.value(QLatin1String("indent")).toInt();
        }
        QString at;
        for (QXmlStreamReader xml(zipEntry(path, "xl/worksheets/sheet1.xml")); !xml.atEnd();) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            if (xml.name() == u"pane") {
                frozenRows = xml.attributes().value(QLatin1String("ySplit")).toInt();
            } else if (xml.name() == u"c") {
                at = xml.attributes().value(QLatin1String("r")).toString();
                cells[at] = styles.value(xml.attributes().value(QLatin1String("s")).toInt());
                cells[at].value
                    = xml.attributes().value(QLatin1String("t")).toString(); // "s": a shared string
            } else if (xml.name() == u"f") {
                cells[at].formula = xml.readElementText();
            } else if (xml.name() == u"v") {
                const QString value = xml.readElementText();
                cells[at].value = cells[at].value == u"s" ? strings.value(value.toInt()) : value;
            }
        }
    }
};

} // namespace

// What a report becomes: amounts as text, pages, and the PDF, workbook and CSV files.
class TestExport : public QObject {
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

    // A cell as "reference value|indent|number format|formula"; the reference alone: no cell.
    void xlsxCells_data()
    {
        QTest::addColumn<QString>("cell");
        QTest::newRow("title") << "A1 Relatório : Mensal|0||";
        QTest::newRow("period") << "A3 Período: De 01-03-2026 a 31-03-2026|0||";
        QTest::newRow("text column's title") << "A5 Descrição|0||";
        QTest::newRow("amount column's title") << "C5 Valor|0||";
        QTest::newRow("account heading") << "A7 Padaria|3||";
        QTest::newRow("item") << "A8 Pão; francês|4||";
        QTest::newRow("quantity") << "B8 10|0|#,##0.00|";
        QTest::newRow("amount") << "C8 1234.5|0|#,##0.00|";
        QTest::newRow("no quantity, no cell") << "B10";
        QTest::newRow("sum over adjacent rows") << "C11 1384.75|0|#,##0.00|SUM(C8:C10)";
        QTest::newRow("sum's quantity as a number") << "B11 12|0|#,##0.00|";
        QTest::newRow("sum minus a row") << "C13 -115.25|0|#,##0.00|C11-C12";
        QTest::newRow("scattered rows") << "C14 -215.25|0|#,##0.00|C8+C10-C12";
    }
    void xlsxCells()
    {
        QFETCH(QString, cell);
        const QString at = cell.section(u' ', 0, 0);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.xlsx"));
        QString error;
        QVERIFY2(writeXlsx(sampleTable(), path, &error), qPrintable(error));
        const Workbook book(path);
        QCOMPARE(book.frozenRows, 5); // the column titles stay in view
        const Cell found = book.cells.value(at);
        QCOMPARE(book.cells.contains(at) ? QStringLiteral("%1 %2|%3|%4|%5")
                                               .arg(at, found.value)
                                               .arg(found.indent)
                                               .arg(found.numberFormat, found.formula)
                                         : at,
            cell);
    }

    void csvFile()
    {
        const QByteArray expected = "\xEF\xBB\xBFRelatório : Mensal\r\n"
                                    "Impresso: 31 de março de 2026\r\n"
                                    "Período: De 01-03-2026 a 31-03-2026\r\n"
                                    "\r\n"
                                    "Nível;Descrição;Quantidade;Valor\r\n"
                                    "0;RECEITAS;;\r\n"
                                    "3;Padaria;;\r\n"
                                    "4;\"Pão; francês\";10,00;1234,50\r\n"
                                    "4;\"Bolo \"\"caseiro\"\"\";2,00;100,00\r\n"
                                    "4;Torta;;50,25\r\n"
                                    "3;Soma da Conta Padaria;12,00;1384,75\r\n"
                                    "4;Farinha;;1500,00\r\n"
                                    "0;Diferença;;-115,25\r\n"
                                    "0;Avulsos;;-215,25\r\n"
                                    // a text a spreadsheet would run stays text, the amount a number
                                    "4;\"'=HYPERLINK(\"\"x\"\")\";;-3,50\r\n"
                                    "4;\"'+55 11\";;-3,50\r\n"
                                    "4;\"'-12,50\";;-3,50\r\n"
                                    "4;\"'@SUM(A1)\";;-3,50\r\n"
                                    "4;\"'\tcmd\";;-3,50\r\n"
                                    "4;\"'\rcmd\";;-3,50\r\n"
                                    "4;Pão = 2;;-3,50\r\n";
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.csv"));
        QVERIFY(writeCsv(sampleTable(), path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), expected);
    }

    // A cell's formula holds 8,192 characters: a longer total keeps only its value. Here a total
    // over every other row from row 1004 on, each term four digits and a sign.
    void xlsxLongSum()
    {
        for (const int terms : {1360, 1370}) {
            Table table;
            table.title = QStringLiteral("Longo");
            table.columns = QStringList {QStringLiteral("Valor")};
            table.lines.assign(
                std::size_t(1000 + 2 * terms), {Line::Kind::Detail, 4, QStringLiteral("Item"), {}, 1.0, {}});
            table.lines.push_back({Line::Kind::Total, 0, QStringLiteral("Total"), {}, double(terms), {}});
            for (int i = 0; i < terms; ++i)
                table.lines.back().terms.emplace_back(1000 + 2 * i, 1);
            QTemporaryDir dir;
            QVERIFY(writeXlsx(table, dir.filePath(QStringLiteral("r.xlsx"))));
            const Workbook book(dir.filePath(QStringLiteral("r.xlsx")));
            QString at;
            for (auto it = book.cells.cbegin(); it != book.cells.cend(); ++it)
                at = it.value().value == u"Total" ? QLatin1Char('B') + it.key().mid(1) : at;
            QCOMPARE(book.cells.value(at).value, QString::number(terms));
            QCOMPARE(book.cells.value(at).formula.isEmpty(), terms > 1360);
        }
    }
};

VAREMO_TEST(TestExport);
#include "test_export.moc"
