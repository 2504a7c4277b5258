#include "app/state.h"
#include "reports/viewer.h"
#include "reports/visualiza.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
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

// Runs comma-separated steps and gives the page shown after each, 1-based as the box shows it.
QString walk(ReportViewer& viewer, const QString& steps)
{
    QStringList pages;
    for (const QString& step : steps.split(QLatin1Char(','))) {
        const QString arg = step.section(QLatin1Char(':'), 1);
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
        } else {
            viewer.tool(step)->trigger(); // a disabled tool does nothing
        }
        const QString page = QString::number(viewer.currentPage() + 1);
        // the box always shows the page in sight
        pages << (viewer.NumeroPagina->text() == page
                ? page
                : page + QStringLiteral("|box ") + viewer.NumeroPagina->text());
    }
    return pages.join(QLatin1Char(','));
}

int pdfPages(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    return int(
        QString::fromLatin1(file.readAll()).count(QRegularExpression(QStringLiteral("/Type\\s*/Page[^s]"))));
}

} // namespace

class TestVisualiza : public QObject {
    Q_OBJECT

    AppState m_state;
    test::FakeDesktop m_desktop;

private slots:
    void init() { m_desktop = test::FakeDesktop(); }

    void toolbar_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("tooltip");
        const auto row = [](const char* key, const char* caption, const char* tooltip) {
            QTest::newRow(key) << QString::fromUtf8(key) << QString::fromUtf8(caption)
                               << QString::fromUtf8(tooltip);
        };
        row("TOC", "Índice", "Mostrar índice");
        row("Print", "Imprimir...", "Imprimir relatório");
        row("Copy", "Copiar", "Copiar relatório");
        row("Find", "Localizar", "Localizar palavras no relatório");
        row("SingleView", "Vista Única", "Visualizar uma página");
        row("MultiView", "Várias Páginas", "Visualizar várias páginas");
        row("ZoomOut", "Diminuir", "Reduzindo a visão");
        row("ZoomIn", "Aumentar", "Aumentando a visão");
        row("PrevPage", "Página Anterior", "Mostra página anterior");
        row("NextPage", "Próxima página", "Mostra próxima página");
        row("PageNumber", "Digite o número da página", "Número da página mostrada");
        row("Back", "&Voltar", "Voltar página já mostrada");
        row("Forward", "&Avançar", "Avançar página já mostrada");
        row("ExportPdf", "Exportar PDF", "Gravar o relatório num arquivo PDF");
    }
    void toolbar()
    {
        QFETCH(QString, key);
        QFETCH(QString, caption);
        QFETCH(QString, tooltip);
        Visualiza window(m_state, m_desktop);
        QAction* tool = window.Visual->tool(key);
        QVERIFY(tool);
        QCOMPARE(tool->text(), caption);
        QCOMPARE(tool->toolTip(), tooltip);
        QCOMPARE(window.Visual->displayChoices(),
            QStringList({QStringLiteral("Índice"), QStringLiteral("Larg.Pág."), QStringLiteral("Pág.Toda")}));
    }

    void shortToolbarStillTranslated()
    {
        const QStringList keys {
            QStringLiteral("Copy"), QStringLiteral("NextPage"), QStringLiteral("Display")};
        Visualiza window(m_state, m_desktop, new ReportViewer(m_desktop, nullptr, keys));
        QStringList captions;
        for (QAction* tool : window.Visual->tools())
            captions << tool->text();
        QCOMPARE(captions,
            QStringList(
                {QStringLiteral("Copiar"), QStringLiteral("Exibição"), QStringLiteral("Próxima página")}));
        QCOMPARE(window.Visual->displayChoices().size(), 3);
    }

    void runReportAtZoom100UnderItsCaption()
    {
        Visualiza window(m_state, m_desktop);
        window.Visual->zoomStep(1);
        window.RunReport(sampleReport());
        QCOMPARE(window.Visual->zoom(), 100);
        QCOMPARE(window.windowTitle(), QStringLiteral("Relatório : Mensal"));
        QCOMPARE(window.Visual->TotalPaginas->text(), QStringLiteral("de 4"));
        window.reject();
        QVERIFY(!window.Visual->reportSource());
        QCOMPARE(window.Visual->pageCount(), 0);
    }

    void displayChoicesFollowTheWindow_data()
    {
        QTest::addColumn<QString>("choice");
        QTest::addColumn<bool>("wholePage");
        QTest::newRow("page width") << "Larg.Pág." << false;
        QTest::newRow("whole page") << "Pág.Toda" << true;
    }
    void displayChoicesFollowTheWindow()
    {
        QFETCH(QString, choice);
        QFETCH(bool, wholePage);
        ReportViewer viewer(m_desktop);
        viewer.addDisplayChoice(choice, 0);
        viewer.setReportSource(sampleReport());
        viewer.resize(900, 700);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        viewer.Exibicao_Click(0);
        for (const QSize size : {QSize(900, 700), QSize(600, 1000)}) {
            viewer.resize(size);
            QCoreApplication::processEvents();
            const QSize room = viewer.Paginas->viewport()->size() - QSize(2, 2) * reports::PageView::Margin;
            const QSize page = viewer.Paginas->pageRect(0).size();
            const bool fitsAcross = page.width() <= room.width() && page.width() > room.width() - 12;
            const bool fitsDown = page.height() <= room.height() && page.height() > room.height() - 12;
            if (wholePage)
                QVERIFY(page.width() <= room.width() && page.height() <= room.height()
                    && (fitsAcross || fitsDown));
            else
                QVERIFY(fitsAcross);
        }
        viewer.zoomStep(1);
        QCOMPARE(viewer.Exibicao->currentIndex(), -1);
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
    }
    void navigation()
    {
        QFETCH(QString, steps);
        QFETCH(QString, pages);
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        QCOMPARE(walk(viewer, steps), pages);
    }

    void find_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pages"); // the page shown after each "next"
        QTest::addColumn<QString>("result");
        const auto row
            = [](const char* name, int from, const char* text, const char* pages, const char* result) {
                  QTest::newRow(name) << from << QString::fromUtf8(text) << QString::fromUtf8(pages)
                                      << QString::fromUtf8(result);
              };
        row("case aside, wrapping", 0, "VENDAS", "1,4,1", "1 de 2 ocorrências");
        row("from the page in sight", 1, "vendas", "4,1", "1 de 2 ocorrências");
        row("accents aside", 0, "pao", "3,3", "1 de 1 ocorrências");
        row("nothing", 2, "xyz", "3", "Nenhuma ocorrência de “xyz”");
    }
    void find()
    {
        QFETCH(int, from);
        QFETCH(QString, text);
        QFETCH(QString, pages);
        QFETCH(QString, result);
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        viewer.goToPage(from);
        viewer.tool(QStringLiteral("Find"))->trigger();
        QVERIFY(!viewer.BarraLocalizar->isHidden());
        viewer.TextoLocalizar->setText(text);
        QStringList shown;
        for (int i = 0; i < pages.count(QLatin1Char(',')) + 1; ++i) {
            viewer.findNext();
            shown << QString::number(viewer.currentPage() + 1);
        }
        QCOMPARE(shown.join(QLatin1Char(',')), pages);
        QCOMPARE(viewer.ResultadoLocalizar->text(), result);
    }

    void keysInTheFindBarStayInIt()
    {
        Visualiza window(m_state, m_desktop);
        window.RunReport(sampleReport());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.Visual->showFind();
        window.Visual->TextoLocalizar->setText(QStringLiteral("vendas"));
        QTest::keyClick(window.Visual->TextoLocalizar, Qt::Key_Return);
        QTest::keyClick(window.Visual->TextoLocalizar, Qt::Key_Return);
        QCOMPARE(window.Visual->ResultadoLocalizar->text(), QStringLiteral("2 de 2 ocorrências"));
        QTest::keyClick(window.Visual->TextoLocalizar, Qt::Key_Escape);
        QVERIFY(window.Visual->BarraLocalizar->isHidden());
        QVERIFY(window.isVisible());
    }

    void copyGivesThePageText()
    {
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        viewer.goToPage(2);
        viewer.tool(QStringLiteral("Copy"))->trigger();
        QCOMPARE(QApplication::clipboard()->text(),
            QStringLiteral("Relatório : Mensal\nPão de queijo\t1.234,50\nPágina 3"));
    }

    void resizeKeepsTheViewerFilling_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("tiny") << QSize(1, 1);
        QTest::newRow("small") << QSize(60, 40);
        QTest::newRow("large") << QSize(900, 700);
    }
    void resizeKeepsTheViewerFilling()
    {
        QFETCH(QSize, size);
        Visualiza window(m_state, m_desktop);
        window.RunReport(sampleReport());
        window.show();
        window.resize(size);
        QCoreApplication::processEvents();
        QCOMPARE(window.Visual->geometry(), QRect(QPoint(0, 0), window.size()));
    }

    void multiplePagesPaintOnlyThoseInSight()
    {
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport(300));
        viewer.resize(900, 700);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        viewer.setMultiple(true);
        viewer.goToPage(150);
        viewer.Paginas->viewport()->repaint();
        QVERIFY(viewer.Paginas->lastPaintedPages() > 0);
        QVERIFY(viewer.Paginas->lastPaintedPages() <= 3 * viewer.Paginas->columns());
        QVERIFY(viewer.Paginas->columns() >= 2);
    }

    void print_data()
    {
        QTest::addColumn<int>("range");
        QTest::addColumn<int>("pages");
        QTest::newRow("all") << int(QPrinter::AllPages) << 4;
        QTest::newRow("two to three") << int(QPrinter::PageRange) << 2;
        QTest::newRow("current") << int(QPrinter::CurrentPage) << 1;
    }
    void print()
    {
        QFETCH(int, range);
        QFETCH(int, pages);
        QTemporaryDir folder;
        const QString output = folder.filePath(QStringLiteral("impresso.pdf"));
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        viewer.goToPage(1);
        viewer.askPrinter = [&](QPrinter& printer) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(output);
            printer.setPrintRange(QPrinter::PrintRange(range));
            printer.setFromTo(2, 3);
            return true;
        };
        QVERIFY(viewer.printReport());
        QCOMPARE(pdfPages(output), pages);
    }

    void exportFiles_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QString>("chosen"); // under the temporary folder; "-" cancels
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QByteArray>("start"); // the written file's first bytes, or the box's title
        const auto row = [](const char* name, const char* tool, const char* chosen, const char* filter,
                             const char* written, const char* start) {
            QTest::newRow(name) << tool << chosen << filter << written << QByteArray(start);
        };
        row("pdf gets its ending", "ExportPdf", "rel", "", "rel.pdf", "%PDF");
        row("pdf in a missing folder", "ExportPdf", "falta/rel.pdf", "", "", "Exportar PDF");
        row("pdf cancelled", "ExportPdf", "-", "", "", "");
        row("sheet as csv by filter", "ExportSheet", "rel", "Texto CSV (*.csv)", "rel.csv", "\xEF\xBB\xBF");
        row("sheet ending wins", "ExportSheet", "rel.xlsx", "Texto CSV (*.csv)", "rel.xlsx", "PK");
        row("sheet as xlsx by default", "ExportSheet", "rel", "", "rel.xlsx", "PK");
        row("sheet in a missing folder", "ExportSheet", "falta/rel.csv", "", "", "Exportar planilha");
    }
    void exportFiles()
    {
        QFETCH(QString, tool);
        QFETCH(QString, chosen);
        QFETCH(QString, filter);
        QFETCH(QString, written);
        QFETCH(QByteArray, start);
        QTemporaryDir folder;
        ReportViewer viewer(m_desktop);
        viewer.setReportSource(sampleReport());
        viewer.askFileName = [&](const QString&, const QString&, const QString&, QString* picked) {
            if (picked && !filter.isEmpty())
                *picked = filter;
            return chosen == u"-" ? QString() : folder.filePath(chosen);
        };
        viewer.tool(tool)->trigger();
        QStringList titles;
        for (const test::Box& box : m_desktop.boxes)
            titles << box.title;
        if (written.isEmpty()) {
            QCOMPARE(titles.join(QLatin1Char('|')), QString::fromUtf8(start));
            return;
        }
        QCOMPARE(titles, QStringList());
        QFile file(folder.filePath(written));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().startsWith(start));
    }
};

VAREMO_TEST(TestVisualiza);
#include "test_visualiza.moc"
