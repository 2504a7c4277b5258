#include "app/state.h"
#include "reports/engine.h"
#include "reports/export.h"
#include "reports/format.h"
#include "reports/painter.h"
#include "reports/viewer.h"
#include "reports/visualiza.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QXmlStreamReader>

#include <unzip.h>

using namespace varemo;
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

// A month of a bakery: an account's items and sum, an expense, totals over adjacent and scattered
// rows with a subtraction, special characters, a loss, and names a spreadsheet would run.
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

// Page p holds "Página p+1" and the names below; the table of contents points at pages 0, 2, 3.
reports::Report sampleReport(int pageCount = 4)
{
    const QStringList names {QStringLiteral("Vendas à vista"), QStringLiteral("Aluguel"),
        QStringLiteral("Pão de queijo"), QStringLiteral("vendas a prazo")};
    reports::Report report;
    report.caption = QStringLiteral("Relatório : Mensal");
    for (int p = 0; p < pageCount; ++p) {
        reports::Page page;
        page.texts.push_back({QRectF(10, 10, 190, 5), QStringLiteral("Relatório : Mensal")});
        page.texts.push_back({QRectF(10, 40 + p, 100, 5), names[p % names.size()]});
        page.texts.push_back({QRectF(120, 40 + p, 80, 5), QStringLiteral("1.234,50"), Qt::AlignRight});
        page.texts.push_back({QRectF(10, 280, 190, 5), QStringLiteral("Página %1").arg(p + 1)});
        report.document.pages.push_back(page);
    }
    report.document.toc = {{QStringLiteral("Receitas"), 0, 0, 40}, {QStringLiteral("Vendas"), 1, 2, 42},
        {QStringLiteral("Despesas"), 0, 3, 43}};
    return report;
}

// Runs comma-separated steps and gives the page shown after each, 1-based, with what a find
// ("find:text" typed in its bar, "ret" Return there) or a copy showed.
QString walk(ReportViewer& viewer, const QString& steps)
{
    QStringList pages;
    for (const QString& step : steps.split(QLatin1Char(','))) {
        const QString arg = step.section(QLatin1Char(':'), 1);
        QString shown;
        if (step.startsWith(QLatin1String("box:"))) {
            viewer.NumeroPagina->setText(arg);
            viewer.NumeroPagina_Enter();
        } else if (step.startsWith(QLatin1String("toc:"))) {
            QTreeWidgetItemIterator it(viewer.Indice);
            for (int i = arg.toInt(); i > 0; --i)
                ++it;
            viewer.Indice_Click(*it);
        } else if (step == u"up" || step == u"down") {
            for (int notch = 0; notch < 2; ++notch) {
                QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), {}, QPoint(0, step == u"up" ? 120 : -120),
                    Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
                QCoreApplication::sendEvent(viewer.Paginas->viewport(), &wheel);
            }
        } else if (step.startsWith(QLatin1String("find:"))) {
            viewer.tool(QStringLiteral("Find"))->trigger();
            viewer.TextoLocalizar->setText(arg);
        } else if (step == u"ret") {
            QTest::keyClick(viewer.TextoLocalizar, Qt::Key_Return);
            shown = QLatin1Char(' ') + viewer.ResultadoLocalizar->text();
        } else {
            viewer.tool(step)->trigger(); // a disabled tool does nothing
            if (step == u"Copy")
                shown = QLatin1Char(' ') + QApplication::clipboard()->text().replace(QLatin1Char('\n'), u'/');
        }
        const QString page = QString::number(viewer.currentPage() + 1);
        // the box always shows the page in sight
        pages << (viewer.NumeroPagina->text() == page
                         ? page
                         : page + QStringLiteral("|box ") + viewer.NumeroPagina->text())
                + shown;
    }
    return pages.join(QLatin1Char(','));
}

} // namespace

// What a report becomes: amounts as text, pages, the viewer, and the PDF, workbook and CSV files.
class TestExport : public QObject {
    Q_OBJECT

    AppState m_state;
    test::FakeDesktop m_desktop;

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

    void init() { m_desktop = test::FakeDesktop(); }

    // The tools' captions and tooltips; the report opens at 100% under its caption, the viewer
    // fills the window, Esc closes the find bar first, and the report goes with the window.
    void runReport()
    {
        Visualiza window(m_state, m_desktop);
        QStringList tools;
        for (QAction* tool : window.Visual->tools())
            tools << tool->text() + u'|' + tool->toolTip();
        QCOMPARE(tools.join(u'\n'),
            QStringLiteral("Índice|Mostrar índice\nImprimir...|Imprimir relatório\n"
                           "Exportar PDF|Gravar o relatório num arquivo PDF\n"
                           "Exportar planilha|Gravar as linhas do relatório numa planilha\n"
                           "Copiar|Copiar relatório\nLocalizar|Localizar palavras no relatório\n"
                           "Vista Única|Visualizar uma página\nVárias Páginas|Visualizar várias páginas\n"
                           "Diminuir|Reduzindo a visão\nAumentar|Aumentando a visão\n"
                           "Exibição|Índice, largura da página ou página toda\n"
                           "Página Anterior|Mostra página anterior\n"
                           "Digite o número da página|Número da página mostrada\n"
                           "Próxima página|Mostra próxima página\n&Voltar|Voltar página já mostrada\n"
                           "&Avançar|Avançar página já mostrada"));
        QCOMPARE(window.Visual->displayChoices(),
            QStringList({QStringLiteral("Índice"), QStringLiteral("Larg.Pág."), QStringLiteral("Pág.Toda")}));
        window.Visual->zoomStep(1);
        window.RunReport(sampleReport());
        QCOMPARE(QStringLiteral("%1 %2 %3")
                     .arg(window.Visual->zoom())
                     .arg(window.windowTitle(), window.Visual->TotalPaginas->text()),
            QStringLiteral("100 Relatório : Mensal de 4"));
        window.show();
        window.resize(60, 40);
        QCoreApplication::processEvents();
        QCOMPARE(window.Visual->geometry(), QRect(QPoint(0, 0), window.size()));
        window.Visual->showFind();
        QTest::keyClick(window.Visual->TextoLocalizar, Qt::Key_Escape); // closes the bar, not the window
        QVERIFY(window.Visual->BarraLocalizar->isHidden() && window.isVisible());
        window.reject();
        QVERIFY(!window.Visual->reportSource() && window.Visual->pageCount() == 0);
    }

    void navigation_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("pages");
        const auto row = [](const char* name, const char* steps, const char* pages) {
            QTest::newRow(name) << QString::fromUtf8(steps) << QString::fromUtf8(pages);
        };
        row("next and previous", "NextPage,NextPage,PrevPage", "2,3,2");
        row("no page before the first", "PrevPage", "1");
        row("no page after the last", "box:4,NextPage", "4,4");
        row("box out of range or not a number", "NextPage,box:9,box:0,box:x", "2,2,2,2");
        row("back and forward", "NextPage,box:3,Back,Back,Forward,Forward", "2,3,2,1,2,3");
        row("a new page drops forward", "NextPage,NextPage,Back,box:4,Forward", "2,3,2,4,4");
        row("wheel past the top and end", "box:3,up,down,up", "3,2,3,2");
        row("wheel within a page scrolls it", "box:3,up,up", "3,2,2");
        row("contents jump", "toc:1,toc:2,Back", "3,4,3");
        row("find, case aside, wrapping", "find:VENDAS,ret,ret,ret",
            "1,1 1 de 2 ocorrências,4 2 de 2 ocorrências,1 1 de 2 ocorrências");
        row("find from the page in sight", "NextPage,find:vendas,ret,ret",
            "2,2,4 2 de 2 ocorrências,1 1 de 2 ocorrências");
        row("find, accents aside", "find:pao,ret,ret", "1,3 1 de 1 ocorrências,3 1 de 1 ocorrências");
        row("find nothing", "box:3,find:xyz,ret", "3,3,3 Nenhuma ocorrência de “xyz”");
        row("copy the page's text", "box:3,Copy", "3,3 Relatório : Mensal/Pão de queijo\t1.234,50/Página 3");
    }
    void navigation()
    {
        QFETCH(QString, steps);
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        QTEST(walk(viewer, steps), "pages");
    }

    // Printing into a PDF file and the export tools' files; "-" cancels the file box, and a
    // failure shows a box titled after the tool and leaves nothing behind.
    void files_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QString>("chosen"); // under the temporary folder
        QTest::addColumn<QString>("filter"); // the file box's filter, or the print range
        QTest::addColumn<QString>("written");
        // the written file's first bytes, or the box's title and prompt ("%F": the folder)
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<int>("pages"); // in a written PDF
        const auto row = [](const char* name, const char* tool, const char* chosen, const char* filter,
                             const char* written, const char* start, int pages = 4) {
            QTest::newRow(name) << tool << chosen << filter << written << QByteArray(start) << pages;
        };
        row("print all", "Print", "p.pdf", "all", "p.pdf", "%PDF");
        row("print pages two to three", "Print", "p.pdf", "range", "p.pdf", "%PDF", 2);
        row("print the current page", "Print", "p.pdf", "current", "p.pdf", "%PDF", 1);
        row("pdf gets its ending", "ExportPdf", "rel", "", "rel.pdf", "%PDF");
        row("pdf in a missing folder", "ExportPdf", "falta/rel.pdf", "", "",
            "Exportar PDF|Não foi possível gravar o arquivo PDF:\r%F/falta/rel.pdf\rVerifique se a pasta "
            "existe e se o arquivo não está aberto em outro programa.");
        row("pdf cancelled", "ExportPdf", "-", "", "", "");
        row("sheet as csv by filter", "ExportSheet", "rel", "Texto CSV (*.csv)", "rel.csv", "\xEF\xBB\xBF");
        row("sheet ending wins", "ExportSheet", "rel.xlsx", "Texto CSV (*.csv)", "rel.xlsx", "PK");
        row("sheet as xlsx by default", "ExportSheet", "rel", "", "rel.xlsx", "PK");
        row("sheet in a missing folder", "ExportSheet", "falta/rel.csv", "", "",
            "Exportar planilha|Não foi possível gravar a planilha:\r%F/falta/rel.csv\rNão foi possível "
            "gravar o arquivo \"%F/falta/rel.csv\": a pasta %F/falta não existe.");
    }
    void files()
    {
        QFETCH(QString, tool);
        QFETCH(QString, chosen);
        QFETCH(QString, filter);
        QFETCH(QString, written);
        QFETCH(QByteArray, start);
        QTemporaryDir folder;
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        viewer.goToPage(1);
        viewer.askPrinter = [&](QPrinter& printer) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(folder.filePath(chosen));
            printer.setPrintRange(filter == u"all" ? QPrinter::AllPages
                    : filter == u"range"           ? QPrinter::PageRange
                                                   : QPrinter::CurrentPage);
            printer.setFromTo(2, 3);
            return true;
        };
        viewer.askFileName = [&](const QString&, const QString&, const QString&, QString* picked) {
            if (picked && !filter.isEmpty())
                *picked = filter;
            return chosen == u"-" ? QString() : folder.filePath(chosen);
        };
        viewer.tool(tool)->trigger();
        QStringList boxes;
        for (const test::Box& box : m_desktop.boxes)
            boxes << box.title + u'|' + box.prompt;
        if (written.isEmpty()) {
            QCOMPARE(QDir(folder.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
            QCOMPARE(
                boxes.join(u'\n').replace(folder.path(), QStringLiteral("%F")), QString::fromUtf8(start));
            return;
        }
        QCOMPARE(boxes, QStringList());
        const QByteArray bytes = test::readFile(folder.filePath(written));
        QVERIFY(bytes.startsWith(start));
        if (start == "%PDF")
            QTEST(int(QString::fromLatin1(bytes).count(
                      QRegularExpression(QStringLiteral("/Type\\s*/Page[^s]")))),
                "pages");
    }
};

VAREMO_TEST(TestExport);
#include "test_export.moc"
