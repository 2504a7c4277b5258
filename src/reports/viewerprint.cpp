// The report leaving the preview: printed, copied, written as PDF or as a spreadsheet.

#include "app/desktop.h"
#include "reports/export.h"
#include "reports/painter.h"
#include "reports/viewer.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QRegularExpression>
#include <QStandardPaths>

namespace varemo::reports {

namespace {

const QString PrintTitle = QStringLiteral("Imprimir relatório");
const QString PdfTitle = QStringLiteral("Exportar PDF");
const QString SheetTitle = QStringLiteral("Exportar planilha");
const QString XlsxFilter = QStringLiteral("Planilha Excel (*.xlsx)");
const QString CsvFilter = QStringLiteral("Texto CSV (*.csv)");
constexpr int ClipboardDpi = 120;

} // namespace

QString ReportViewer::suggestedPath(const QString& extension) const
{
    QString name = m_report && !m_report->caption.trimmed().isEmpty() ? m_report->caption.trimmed()
                                                                      : QStringLiteral("Relatório");
    // a caption may hold characters no file name can
    name.replace(QRegularExpression(QStringLiteral(R"([\\/:*?"<>|]+)")), QStringLiteral("-"));
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::homePath();
    return QDir(folder).filePath(name + QLatin1Char('.') + extension);
}

QString ReportViewer::chooseFile(
    const QString& title, const QString& suggested, const QString& filters, QString* chosenFilter)
{
    if (askFileName)
        return askFileName(title, suggested, filters, chosenFilter);
    return QFileDialog::getSaveFileName(this, title, suggested, filters, chosenFilter);
}

bool ReportViewer::printReport()
{
    const int count = pageCount();
    if (count == 0)
        return false;
    const Document& document = m_report->document;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(m_report->caption);
    // the pages' positions count from the paper's corner
    printer.setFullPage(true);
    printer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4),
        document.landscape() ? QPageLayout::Landscape : QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)));
    const auto ask = askPrinter ? askPrinter : [this, count](QPrinter& chosen) {
        QPrintDialog dialog(&chosen, this);
        dialog.setWindowTitle(PrintTitle);
        dialog.setMinMax(1, count);
        dialog.setOption(QAbstractPrintDialog::PrintPageRange, true);
        dialog.setOption(QAbstractPrintDialog::PrintCurrentPage, true);
        return dialog.exec() == QDialog::Accepted;
    };
    if (!ask(printer))
        return false;
    int first = 1;
    int last = count;
    if (printer.printRange() == QPrinter::PageRange) {
        first = std::clamp(printer.fromPage() > 0 ? printer.fromPage() : 1, 1, count);
        last = std::clamp(printer.toPage() > 0 ? printer.toPage() : count, first, count);
    } else if (printer.printRange() == QPrinter::CurrentPage) {
        first = last = m_current + 1;
    }
    QPainter painter;
    if (!painter.begin(&printer)) {
        m_desktop.msgbox(QStringLiteral("Não foi possível imprimir o relatório.") + QLatin1Char('\r')
                + QStringLiteral("Verifique se a impressora está ligada e disponível."),
            vb::Exclamation, PrintTitle);
        return false;
    }
    const qreal dotsPerMm = printer.resolution() / 25.4;
    for (int page = first - 1; page < last; ++page) {
        if (page > first - 1)
            printer.newPage();
        paintPage(document, page, painter, dotsPerMm);
    }
    painter.end();
    say(QStringLiteral("Relatório enviado para a impressora."));
    return true;
}

bool ReportViewer::exportPdf()
{
    if (pageCount() == 0)
        return false;
    QString path = chooseFile(
        PdfTitle, suggestedPath(QStringLiteral("pdf")), QStringLiteral("Arquivos PDF (*.pdf)"), nullptr);
    if (path.isEmpty())
        return false;
    if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        path += QLatin1String(".pdf");
    if (!writePdf(m_report->document, path)) {
        m_desktop.msgbox(QStringLiteral("Não foi possível gravar o arquivo PDF:") + QLatin1Char('\r') + path
                + QLatin1Char('\r')
                + QStringLiteral(
                    "Verifique se a pasta existe e se o arquivo não está aberto em outro programa."),
            vb::Exclamation, PdfTitle);
        return false;
    }
    say(QStringLiteral("Relatório gravado em ") + QDir::toNativeSeparators(path));
    return true;
}

bool ReportViewer::exportSheet()
{
    if (!m_report)
        return false;
    QString filter = XlsxFilter;
    QString path = chooseFile(SheetTitle, suggestedPath(QStringLiteral("xlsx")),
        XlsxFilter + QStringLiteral(";;") + CsvFilter, &filter);
    if (path.isEmpty())
        return false;
    // the name's ending decides; without a known one, the filter picked does
    bool csv = path.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive);
    if (!csv && !path.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive)) {
        csv = filter == CsvFilter;
        path += csv ? QLatin1String(".csv") : QLatin1String(".xlsx");
    }
    QString error;
    const bool written
        = csv ? writeCsv(m_report->table, path, &error) : writeXlsx(m_report->table, path, &error);
    if (!written) {
        m_desktop.msgbox(QStringLiteral("Não foi possível gravar a planilha:") + QLatin1Char('\r') + path
                + (error.isEmpty() ? QString() : QLatin1Char('\r') + error),
            vb::Exclamation, SheetTitle);
        return false;
    }
    say(QStringLiteral("Planilha gravada em ") + QDir::toNativeSeparators(path));
    return true;
}

void ReportViewer::copyPage()
{
    if (pageCount() == 0)
        return;
    const Document& document = m_report->document;
    const qreal dotsPerMm = ClipboardDpi / 25.4;
    QImage image((document.pageSize * dotsPerMm).toSize(), QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        paintPage(document, m_current, painter, dotsPerMm);
    }
    auto* mime = new QMimeData;
    mime->setText(document.pageText(m_current));
    mime->setImageData(image);
    QApplication::clipboard()->setMimeData(mime);
    say(QStringLiteral("Página %1 copiada para a área de transferência.").arg(m_current + 1));
}

} // namespace varemo::reports
