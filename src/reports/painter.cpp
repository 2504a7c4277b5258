#include "reports/painter.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPdfWriter>
#include <QPen>

namespace varemo::reports {

void paintPage(const Document& document, int page, QPainter& painter, qreal dotsPerMm)
{
    if (page < 0 || page >= int(document.pages.size()))
        return;
    const Page& content = document.pages[size_t(page)];
    painter.save();
    for (const LineRun& line : content.lines) {
        painter.setPen(QPen(Qt::black, std::max(1.0, line.thickness * dotsPerMm)));
        painter.drawLine(QLineF(line.line.p1() * dotsPerMm, line.line.p2() * dotsPerMm));
    }
    painter.setPen(Qt::black);
    for (const TextRun& run : content.texts) {
        QFont font(QStringLiteral("Arial"));
        // points to device dots, whatever resolution the device reports
        font.setPixelSize(std::max(1, qRound(run.pointSize * 25.4 / 72 * dotsPerMm)));
        font.setBold(run.bold);
        painter.setFont(font);
        const QRectF rect(run.rect.topLeft() * dotsPerMm, run.rect.size() * dotsPerMm);
        // a name longer than its column ends in "..." rather than running over the next one
        const QString text = rect.width() > 0
            ? QFontMetricsF(font, painter.device()).elidedText(run.text, Qt::ElideRight, rect.width())
            : run.text;
        painter.drawText(rect, int(run.align) | Qt::TextSingleLine, text);
    }
    painter.restore();
}

bool writePdf(const Document& document, const QString& fileName)
{
    QPdfWriter writer(fileName);
    writer.setResolution(300);
    // positions already count from the paper's corner
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4),
        document.landscape() ? QPageLayout::Landscape : QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    const qreal dotsPerMm = 300 / 25.4;
    for (int p = 0; p < int(document.pages.size()); ++p) {
        if (p > 0)
            writer.newPage();
        paintPage(document, p, painter, dotsPerMm);
    }
    return painter.end();
}

} // namespace varemo::reports
