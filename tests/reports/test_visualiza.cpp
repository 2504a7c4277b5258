#include "app/state.h"
#include "reports/viewer.h"
#include "reports/visualiza.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPrinter>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>

using namespace varemo;
using varemo::reports::ReportViewer;

namespace {

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

class TestVisualiza : public QObject {
    Q_OBJECT

    AppState m_state;
    test::FakeDesktop m_desktop;

private slots:
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

VAREMO_TEST(TestVisualiza);
#include "test_visualiza.moc"
