#include "reports/export.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <unzip.h>

using namespace varemo::reports;

namespace {

// A month of a bakery: an account with three items and its sum, an expense, and two totals,
// one over adjacent rows and one over scattered rows with a subtraction; special characters
// in names; a loss.
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

class TestExport : public QObject {
    Q_OBJECT

private slots:
    void xlsxCells_data()
    {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<int>("indent");
        QTest::addColumn<QString>("value"); // empty: no cell
        QTest::addColumn<QString>("numberFormat");
        QTest::addColumn<QString>("formula");
        const QString none;
        const QString money = QStringLiteral("#,##0.00");
        QTest::newRow("title") << "A1" << 0 << "Relatório : Mensal" << none << none;
        QTest::newRow("period") << "A3" << 0 << "Período: De 01-03-2026 a 31-03-2026" << none << none;
        QTest::newRow("text column's title") << "A5" << 0 << "Descrição" << none << none;
        QTest::newRow("amount column's title") << "C5" << 0 << "Valor" << none << none;
        QTest::newRow("account heading") << "A7" << 3 << "Padaria" << none << none;
        QTest::newRow("item") << "A8" << 4 << "Pão; francês" << none << none;
        QTest::newRow("quantity") << "B8" << 0 << "10" << money << none;
        QTest::newRow("amount") << "C8" << 0 << "1234.5" << money << none;
        QTest::newRow("no quantity, no cell") << "B10" << 0 << none << none << none;
        QTest::newRow("sum over adjacent rows") << "C11" << 0 << "1384.75" << money << "SUM(C8:C10)";
        QTest::newRow("sum's quantity as a number") << "B11" << 0 << "12" << money << none;
        QTest::newRow("sum minus a row") << "C13" << 0 << "-115.25" << money << "C11-C12";
        QTest::newRow("scattered rows") << "C14" << 0 << "-215.25" << money << "C8+C10-C12";
    }

    void xlsxCells()
    {
        QFETCH(QString, cell);
        QFETCH(QString, value);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.xlsx"));
        QString error;
        QVERIFY2(writeXlsx(sampleTable(), path, &error), qPrintable(error));
        const Workbook book(path);
        QCOMPARE(book.frozenRows, 5); // the column titles stay in view
        QCOMPARE(book.cells.contains(cell), !value.isEmpty());
        const Cell found = book.cells.value(cell);
        QCOMPARE(found.value, value);
        QTEST(found.formula, "formula");
        QTEST(found.indent, "indent");
        QTEST(found.numberFormat, "numberFormat");
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
                                    "0;Avulsos;;-215,25\r\n";
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.csv"));
        QVERIFY(writeCsv(sampleTable(), path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), expected);
    }

    // A text a spreadsheet would run as a formula stays text; the amount stays a number.
    void csvFormulaText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("field");
        QTest::newRow("=") << "=HYPERLINK(\"x\")" << QByteArray("\"'=HYPERLINK(\"\"x\"\")\"");
        QTest::newRow("+") << "+55 11" << QByteArray("\"'+55 11\"");
        QTest::newRow("-") << "-12,50" << QByteArray("\"'-12,50\"");
        QTest::newRow("@") << "@SUM(A1)" << QByteArray("\"'@SUM(A1)\"");
        QTest::newRow("tab") << "\tcmd" << QByteArray("\"'\tcmd\"");
        QTest::newRow("carriage return") << "\rcmd" << QByteArray("\"'\rcmd\"");
        QTest::newRow("sign inside the name") << "Pão = 2" << QByteArray("Pão = 2");
    }

    void csvFormulaText()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, field);
        Table table;
        table.title = text;
        table.columns = QStringList {QStringLiteral("Valor")};
        table.lines = {{Line::Kind::Detail, 4, text, {}, -3.5, {}}};
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.csv"));
        QVERIFY(writeCsv(table, path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
            "\xEF\xBB\xBF" + field + "\r\n\r\nNível;Descrição;Valor\r\n4;" + field + ";-3,50\r\n");
    }

    // A total over every other row from row 1004 on: each term is four digits and a sign.
    void xlsxLongSum_data()
    {
        QTest::addColumn<int>("terms");
        QTest::addColumn<bool>("formula");
        QTest::newRow("8,159 characters: a formula") << 1360 << true;
        QTest::newRow("8,219 characters: its value") << 1370 << false;
    }

    void xlsxLongSum()
    {
        QFETCH(int, terms);
        Table table;
        table.title = QStringLiteral("Longo");
        table.columns = QStringList {QStringLiteral("Valor")};
        table.lines.assign(
            std::size_t(1000 + 2 * terms), {Line::Kind::Detail, 4, QStringLiteral("Item"), {}, 1.0, {}});
        Line total {Line::Kind::Total, 0, QStringLiteral("Total"), {}, double(terms), {}};
        for (int i = 0; i < terms; ++i)
            total.terms.emplace_back(1000 + 2 * i, 1);
        table.lines.push_back(total);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("r.xlsx"));
        QVERIFY(writeXlsx(table, path));
        const Workbook book(path);
        QString row;
        for (auto it = book.cells.cbegin(); it != book.cells.cend(); ++it) {
            if (it.value().value == u"Total")
                row = it.key().mid(1);
        }
        const Cell cell = book.cells.value(QLatin1Char('B') + row);
        QCOMPARE(cell.value, QString::number(terms));
        QTEST(!cell.formula.isEmpty(), "formula");
        QVERIFY(cell.formula.size() <= 8192);
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("target"); // under an empty folder
        QTest::addColumn<bool>("xlsx");
        QTest::addColumn<QString>("reason");
        QTest::newRow("text onto a folder") << "" << false << "é uma pasta.";
        QTest::newRow("workbook in a missing folder") << "falta/r.xlsx" << true << "não existe.";
    }

    void refusals()
    {
        QFETCH(bool, xlsx);
        QFETCH(QString, target);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        const QString path = dir.filePath(target);
        QString error;
        QVERIFY(!(xlsx ? writeXlsx : writeCsv)(sampleTable(), path, &error));
        QVERIFY2(error.contains(reason), qPrintable(error));
        QCOMPARE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
    }
};

VAREMO_TEST(TestExport);
#include "test_export.moc"
