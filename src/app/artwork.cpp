#include "app/artwork.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QRadialGradient>

#include <cmath>
#include <numbers>

namespace varemo::artwork {

namespace {

QFont face(const QStringList& families, QFont::StyleHint hint, qreal pointSize, QFont::Weight weight)
{
    QFont font;
    font.setFamilies(families);
    font.setStyleHint(hint);
    font.setPointSizeF(pointSize);
    font.setWeight(weight);
    return font;
}

// Letters upright to the outside, centred at the top of the circle.
void paintRingText(QPainter& painter, QPointF center, qreal radius, const QString& text, qreal size)
{
    QFont font = sansFont(size, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, size * 0.25);
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    qreal angle = -metrics.horizontalAdvance(text) / radius / 2; // radians from the top
    for (const QChar c : text) {
        const qreal advance = metrics.horizontalAdvance(c);
        const qreal middle = angle + advance / radius / 2;
        painter.save();
        painter.translate(center);
        painter.rotate(middle * 180.0 / std::numbers::pi);
        painter.drawText(QPointF(-advance / 2, -radius), QString(c));
        painter.restore();
        angle += advance / radius;
    }
}

// An open account book with ruled rows and a red ribbon: the chart of accounts.
void paintLedger(QPainter& painter, QPointF center, qreal size)
{
    const qreal w = size;
    const qreal h = size * 0.62;
    const qreal top = center.y() - h / 2;
    const qreal cx = center.x();
    painter.save();
    for (const int side : {-1, 1}) {
        QPainterPath page;
        page.moveTo(cx, top + h * 0.08);
        page.cubicTo(cx + side * w * 0.18, top - h * 0.04, cx + side * w * 0.36, top, cx + side * w / 2,
            top + h * 0.02);
        page.lineTo(cx + side * w / 2, top + h);
        page.cubicTo(
            cx + side * w * 0.36, top + h * 0.96, cx + side * w * 0.18, top + h * 0.98, cx, top + h * 1.06);
        page.closeSubpath();
        painter.setPen(QPen(GoldDark, std::max(1.0, size * 0.02)));
        painter.setBrush(Cream);
        painter.drawPath(page);
        painter.setPen(QPen(QColor(20, 92, 64, 150), std::max(0.8, size * 0.012)));
        for (int row = 1; row < 6; ++row) {
            const qreal y = top + h * (0.12 + row * 0.14);
            painter.drawLine(QPointF(cx + side * w * 0.07, y), QPointF(cx + side * w * 0.43, y));
        }
    }
    const QPolygonF ribbon {{
        QPointF(cx + w * 0.26, top + h * 0.02),
        QPointF(cx + w * 0.34, top + h * 0.02),
        QPointF(cx + w * 0.34, top + h * 0.62),
        QPointF(cx + w * 0.30, top + h * 0.52),
        QPointF(cx + w * 0.26, top + h * 0.62),
    }};
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xb3, 0x26, 0x1e));
    painter.drawPolygon(ribbon);
    painter.restore();
}

} // namespace

QFont serifFont(qreal pointSize, QFont::Weight weight)
{
    return face({QStringLiteral("Georgia"), QStringLiteral("Palatino Linotype"),
                    QStringLiteral("Times New Roman"), QStringLiteral("DejaVu Serif")},
        QFont::Serif, pointSize, weight);
}

QFont sansFont(qreal pointSize, QFont::Weight weight)
{
    return face({QStringLiteral("Segoe UI"), QStringLiteral("Helvetica Neue"), QStringLiteral("Arial"),
                    QStringLiteral("DejaVu Sans")},
        QFont::SansSerif, pointSize, weight);
}

void paintSeal(QPainter& painter, QPointF center, qreal radius, const QString& ringText)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);

    const QPointF shadowCenter = center + QPointF(radius * 0.06, radius * 0.1);
    QRadialGradient shadow(shadowCenter, radius * 1.12);
    shadow.setColorAt(0.8, QColor(0, 0, 0, 90));
    shadow.setColorAt(1.0, QColor(0, 0, 0, 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(shadow);
    painter.drawEllipse(shadowCenter, radius * 1.1, radius * 1.1);

    constexpr int teeth = 36;
    QPolygonF rimPoints;
    for (int i = 0; i < teeth * 2; ++i) {
        const qreal r = i % 2 == 0 ? radius : radius * 0.93;
        const qreal a = std::numbers::pi * i / teeth;
        rimPoints << QPointF(center.x() + r * std::cos(a), center.y() + r * std::sin(a));
    }
    QLinearGradient rim(center - QPointF(radius, radius), center + QPointF(radius, radius));
    rim.setColorAt(0.0, GoldLight);
    rim.setColorAt(0.5, Gold);
    rim.setColorAt(1.0, GoldDark);
    painter.setBrush(rim);
    painter.setPen(QPen(GoldDark, std::max(1.0, radius * 0.015)));
    painter.drawPolygon(rimPoints);

    painter.setPen(QPen(GoldDark, std::max(1.0, radius * 0.02)));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(center, radius * 0.86, radius * 0.86);
    painter.setPen(GreenDeep);
    paintRingText(painter, center, radius * 0.70, ringText, radius * 0.105);

    QRadialGradient field(center - QPointF(radius * 0.2, radius * 0.25), radius * 0.75);
    field.setColorAt(0.0, GreenLight);
    field.setColorAt(1.0, GreenDeep);
    painter.setBrush(field);
    painter.setPen(QPen(GoldLight, std::max(1.0, radius * 0.025)));
    painter.drawEllipse(center, radius * 0.58, radius * 0.58);
    paintLedger(painter, center + QPointF(0, radius * 0.02), radius * 0.74);

    painter.setPen(Qt::NoPen);
    painter.setBrush(GreenDeep);
    for (const int side : {-1, 1}) {
        const qreal a = (90.0 + side * 62.0) * std::numbers::pi / 180.0;
        const QPointF star(
            center.x() + radius * 0.72 * std::cos(a), center.y() + radius * 0.72 * std::sin(a));
        painter.drawEllipse(star, radius * 0.035, radius * 0.035);
    }
    painter.restore();
}

void paintBackdrop(QPainter& painter, const QRectF& rect)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient base(rect.topLeft(), rect.bottomRight());
    base.setColorAt(0.0, Green);
    base.setColorAt(0.55, GreenDeep);
    base.setColorAt(1.0, QColor(0x06, 0x21, 0x1a));
    painter.fillRect(rect, base);
    QRadialGradient glow(rect.topRight() + QPointF(-rect.width() * 0.15, 0), rect.width() * 0.7);
    glow.setColorAt(0.0, QColor(245, 221, 138, 80));
    glow.setColorAt(1.0, QColor(245, 221, 138, 0));
    painter.fillRect(rect, glow);
    // Faint rules, as on a ledger page.
    painter.setPen(QPen(QColor(245, 221, 138, 18), 1));
    for (qreal y = rect.top() + 14.0; y < rect.bottom(); y += 14.0)
        painter.drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(212, 175, 55, 160), 1.2));
    painter.drawRect(rect.adjusted(5.5, 5.5, -5.5, -5.5));
    painter.setPen(QPen(QColor(212, 175, 55, 70), 1));
    painter.drawRect(rect.adjusted(8.5, 8.5, -8.5, -8.5));
    painter.restore();
}

QPixmap sealPicture(int size, qreal ratio)
{
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    // The shadow reaches past the rim: leave it room inside the picture.
    paintSeal(painter, QPointF(size / 2.0, size / 2.0), size / 2.4, RingText);
    return pixmap;
}

QPixmap aboutPicture(QSize size, qreal ratio)
{
    QPixmap pixmap(size * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(GreenDeep);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    paintBackdrop(painter, QRectF(QPointF(0, 0), QSizeF(size)));
    paintSeal(painter, QPointF(100, 122), 70, RingText);

    const QString brand = QStringLiteral("Varemo");
    painter.setFont(serifFont(30, QFont::Bold));
    painter.setPen(QColor(0, 0, 0, 110));
    painter.drawText(QPointF(197, 64), brand);
    painter.setPen(GoldLight);
    painter.drawText(QPointF(195, 62), brand);
    QLinearGradient rule(QPointF(195, 0), QPointF(460, 0));
    rule.setColorAt(0.0, Gold);
    rule.setColorAt(1.0, QColor(212, 175, 55, 0));
    painter.setPen(QPen(QBrush(rule), 1.4));
    painter.drawLine(QPointF(195, 74), QPointF(455, 74));

    QFont caption = sansFont(7.5, QFont::DemiBold);
    caption.setLetterSpacing(QFont::AbsoluteSpacing, 1.6);
    painter.setFont(caption);
    painter.setPen(Gold);
    painter.drawText(QPointF(197, 130), QStringLiteral("VERSÃO"));
    return pixmap;
}

} // namespace varemo::artwork
