// The viewer tools' pictures: simple line drawings, the same on every system.

#include "reports/viewer.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QPolygonF>
#include <QStyle>

namespace varemo::reports {

namespace {

const QColor Ink(0x37, 0x47, 0x4f);
const QColor Accent(0x1e, 0x88, 0xe5);

void sheet(QPainter& p, QRectF rect)
{
    p.setBrush(Qt::white);
    p.drawRect(rect);
    p.setBrush(Qt::NoBrush);
}

void ruled(QPainter& p, qreal x, qreal y, qreal width, int count)
{
    for (int i = 0; i < count; ++i)
        p.drawLine(QPointF(x, y + i * 4), QPointF(x + width, y + i * 4));
}

void magnifier(QPainter& p, bool plus)
{
    p.drawEllipse(QRectF(4, 4, 17, 17));
    p.setPen(QPen(Ink, 4, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(19, 19), QPointF(28, 28));
    p.setPen(QPen(Accent, 2.5));
    p.drawLine(QPointF(8, 12.5), QPointF(17, 12.5));
    if (plus)
        p.drawLine(QPointF(12.5, 8), QPointF(12.5, 17));
}

void draw(QPainter& p, const QString& key)
{
    if (key == u"TOC") {
        sheet(p, {5, 3, 22, 26});
        for (int i = 0; i < 5; ++i)
            p.drawLine(QPointF(i % 3 ? 13 : 9, 9 + i * 4), QPointF(23, 9 + i * 4));
    } else if (key == u"Print") {
        sheet(p, {9, 3, 14, 9});
        p.setBrush(QColor(0xcf, 0xd8, 0xdc));
        p.drawRoundedRect(QRectF(3, 11, 26, 11), 2, 2);
        sheet(p, {9, 18, 14, 11});
        ruled(p, 12, 22, 8, 2);
    } else if (key == u"ExportPdf" || key == u"ExportSheet") {
        sheet(p, {6, 3, 20, 26});
        p.setPen(QPen(key == u"ExportPdf" ? QColor(0xc6, 0x28, 0x28) : QColor(0x2e, 0x7d, 0x32), 2));
        if (key == u"ExportPdf") {
            ruled(p, 10, 9, 12, 3);
            p.drawText(QRectF(6, 18, 20, 10), Qt::AlignCenter, QStringLiteral("PDF"));
        } else {
            ruled(p, 10, 9, 12, 5);
            p.drawLine(QPointF(16, 7), QPointF(16, 27));
        }
    } else if (key == u"Copy") {
        sheet(p, {4, 3, 16, 20});
        sheet(p, {12, 9, 16, 20});
        ruled(p, 15, 14, 10, 3);
    } else if (key == u"Find") {
        sheet(p, {4, 3, 18, 24});
        ruled(p, 7, 8, 12, 3);
        p.setBrush(QColor(255, 255, 255, 200));
        p.drawEllipse(QRectF(12, 12, 12, 12));
        p.setPen(QPen(Ink, 3.5, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(22, 22), QPointF(28, 28));
    } else if (key == u"SingleView") {
        sheet(p, {8, 3, 16, 26});
        ruled(p, 11, 8, 10, 4);
    } else if (key == u"MultiView") {
        sheet(p, {2, 6, 13, 20});
        sheet(p, {17, 6, 13, 20});
        ruled(p, 4, 10, 9, 3);
        ruled(p, 19, 10, 9, 3);
    } else if (key == u"ZoomIn" || key == u"ZoomOut") {
        magnifier(p, key == u"ZoomIn");
    } else if (key == u"Back" || key == u"Forward") {
        // a turning arrow: back to a page seen before, or forward again
        if (key == u"Forward")
            p.setTransform(QTransform(-1, 0, 0, 1, 32, 0));
        p.setPen(QPen(Accent, 3, Qt::SolidLine, Qt::RoundCap));
        QPainterPath path(QPointF(26, 26));
        path.cubicTo(QPointF(26, 10), QPointF(18, 9), QPointF(9, 11));
        p.drawPath(path);
        p.setPen(Qt::NoPen);
        p.setBrush(Accent);
        p.drawPolygon(QPolygonF({QPointF(3, 11), QPointF(11, 4), QPointF(11, 18)}));
    }
}

} // namespace

QIcon toolIcon(const QString& key)
{
    // the arrows of the page tools are the style's own
    QStyle* style = QApplication::style();
    if (key == u"PrevPage")
        return style->standardIcon(QStyle::SP_ArrowLeft);
    if (key == u"NextPage")
        return style->standardIcon(QStyle::SP_ArrowRight);
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Ink, 1.5));
    QFont font = painter.font();
    font.setPixelSize(8);
    font.setBold(true);
    painter.setFont(font);
    draw(painter, key);
    painter.end();
    return QIcon(pixmap);
}

} // namespace varemo::reports
