#include "editor/images.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <functional>

// Every picture is drawn here with plain paths: stock icon themes differ between desktops
// and symbol fonts may be missing, so nothing depends on them.

namespace varemo {

namespace {

const QColor Outline(0x4a, 0x5a, 0x6a);
const QColor Blue(0x2f, 0x6d, 0xb5);

QPixmap checkPixmap(const QString& image, int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(1.5, 1.5, size - 3.0, size - 3.0);
    QColor fill(Qt::white);
    if (image == ImageSome)
        fill = QColor(0xdb, 0xe8, 0xf7);
    else if (image == ImageAll)
        fill = Blue;
    painter.setPen(QPen(Outline, 1.2));
    painter.setBrush(fill);
    painter.drawRoundedRect(box, 2.5, 2.5);
    if (image == ImageSome) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Blue);
        painter.drawRoundedRect(QRectF(4.5, 4.5, size - 9.0, size - 9.0), 1.5, 1.5);
    } else if (image == ImageAll) {
        QPainterPath tick(QPointF(size * 0.25, size * 0.52));
        tick.lineTo(size * 0.43, size * 0.70);
        tick.lineTo(size * 0.76, size * 0.30);
        painter.setPen(QPen(Qt::white, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(tick);
    }
    return pixmap;
}

struct Tile {
    QColor colour;
    QChar letter; // drawn instead of a picture when set
};

const QHash<QString, Tile>& tiles()
{
    static const QHash<QString, Tile> table = {
        {QStringLiteral("incluir"), {QColor(0x2e, 0x8b, 0x57), {}}},
        {QStringLiteral("alterar"), {Blue, {}}},
        {QStringLiteral("excluir"), {QColor(0xb2, 0x3b, 0x3b), {}}},
        {QStringLiteral("localizar"), {QColor(0x6b, 0x5b, 0x95), {}}},
        {QStringLiteral("gravar"), {QColor(0x2e, 0x8b, 0x57), {}}},
        {QStringLiteral("cancelar"), {QColor(0x8a, 0x6d, 0x3b), {}}},
        {QStringLiteral("relatorios"), {QColor(0x3b, 0x7a, 0x8a), {}}},
        {QStringLiteral("plano"), {Outline, {}}},
        {QStringLiteral("ajuda"), {Blue, QLatin1Char('?')}},
        {QStringLiteral("oquee"), {QColor(0x5a, 0x7a, 0x9a), {}}},
        {QStringLiteral("sair"), {QColor(0x7a, 0x40, 0x40), {}}},
        {QStringLiteral("setor"), {QColor(0x7a, 0x4f, 0x9e), QLatin1Char('S')}},
        {QStringLiteral("grupo"), {Blue, QLatin1Char('G')}},
        {QStringLiteral("conta"), {QColor(0x2e, 0x8b, 0x57), QLatin1Char('C')}},
        {QStringLiteral("item"), {QColor(0xc7, 0x7c, 0x12), QLatin1Char('I')}},
        {QStringLiteral("programa"), {QColor(0x2e, 0x5e, 0x8e), {}}},
    };
    return table;
}

// Draws the picture of `name` in white on a 10 x 10 grid of unit `u`.
void drawPicture(QPainter& painter, const QString& name, qreal u)
{
    QPen pen(Qt::white, 1.1 * u, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const auto line = [&](qreal x1, qreal y1, qreal x2, qreal y2) {
        painter.drawLine(QPointF(x1 * u, y1 * u), QPointF(x2 * u, y2 * u));
    };
    if (name == QLatin1String("incluir")) {
        line(5, 2.6, 5, 7.4);
        line(2.6, 5, 7.4, 5);
    } else if (name == QLatin1String("excluir")) {
        line(3, 3, 7, 7);
        line(7, 3, 3, 7);
    } else if (name == QLatin1String("alterar")) {
        line(3, 7, 7, 3);
        line(2.7, 7.3, 3.4, 7.6);
        line(6.2, 2.6, 7.4, 3.8);
    } else if (name == QLatin1String("localizar")) {
        painter.drawEllipse(QPointF(4.4 * u, 4.4 * u), 1.9 * u, 1.9 * u);
        line(5.8, 5.8, 7.6, 7.6);
    } else if (name == QLatin1String("gravar")) {
        QPainterPath tick(QPointF(2.8 * u, 5.2 * u));
        tick.lineTo(4.4 * u, 6.9 * u);
        tick.lineTo(7.3 * u, 3.2 * u);
        painter.drawPath(tick);
    } else if (name == QLatin1String("cancelar")) {
        painter.drawArc(QRectF(3 * u, 3.2 * u, 4.4 * u, 4.2 * u), 90 * 16, -250 * 16);
        line(5.2, 3.2, 3.9, 2.4);
        line(5.2, 3.2, 4.1, 4.3);
    } else if (name == QLatin1String("relatorios")) {
        for (const qreal y : {3.2, 5.0, 6.8})
            line(3, y, 7, y);
    } else if (name == QLatin1String("plano") || name == QLatin1String("programa")) {
        line(2.8, 2.8, 5.2, 2.8);
        line(3.6, 2.8, 3.6, 7);
        line(3.6, 4.9, 7.2, 4.9);
        line(3.6, 7, 7.2, 7);
    } else if (name == QLatin1String("oquee")) {
        // an arrow pointing at a question mark
        line(2.6, 2.6, 2.6, 6.4);
        line(2.6, 2.6, 5.2, 5.0);
        painter.drawArc(QRectF(5.2 * u, 2.6 * u, 2.4 * u, 2.4 * u), 160 * 16, -250 * 16);
        line(6.4, 5.0, 6.4, 6.0);
        line(6.4, 7.3, 6.4, 7.4);
    } else if (name == QLatin1String("sair")) {
        painter.drawRect(QRectF(2.6 * u, 2.6 * u, 3.4 * u, 4.8 * u));
        line(4.6, 5, 7.6, 5);
        line(7.6, 5, 6.6, 4);
        line(7.6, 5, 6.6, 6);
    }
}

QPixmap toolPixmap(const QString& name, const Tile& tile, int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tile.colour);
    const qreal margin = size * 0.06;
    const QRectF box(margin, margin, size - 2 * margin, size - 2 * margin);
    painter.drawRoundedRect(box, size * 0.2, size * 0.2);
    if (!tile.letter.isNull()) {
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(qMax(8, static_cast<int>(size * 0.62)));
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(box, Qt::AlignCenter, QString(tile.letter));
    } else {
        drawPicture(painter, name, size / 10.0);
    }
    return pixmap;
}

// Icons are shared by every node and tool: the tree may hold tens of thousands of nodes.
// Pixmaps must go before the application object does, so the caches empty with it.
QHash<QString, QIcon>& iconCache()
{
    static QHash<QString, QIcon> cache;
    static const bool registered = [] {
        qAddPostRoutine([] { iconCache().clear(); });
        return true;
    }();
    Q_UNUSED(registered);
    return cache;
}

QIcon cached(const QString& key, const std::function<QIcon()>& make)
{
    QHash<QString, QIcon>& cache = iconCache();
    auto found = cache.constFind(key);
    if (found != cache.constEnd())
        return *found;
    return *cache.insert(key, make());
}

} // namespace

QIcon checkIcon(const QString& image)
{
    const QString state = (image == ImageSome || image == ImageAll) ? image : ImageNone;
    return cached(QStringLiteral("check:") + state, [&state] {
        QIcon icon;
        for (const int size : {16, 20, 32})
            icon.addPixmap(checkPixmap(state, size));
        return icon;
    });
}

QIcon toolIcon(const QString& name)
{
    return cached(QStringLiteral("tool:") + name, [&name] {
        QIcon icon;
        const auto tile = tiles().constFind(name);
        if (tile != tiles().constEnd()) {
            for (const int size : {16, 24, 32, 48})
                icon.addPixmap(toolPixmap(name, *tile, size));
        }
        return icon;
    });
}

QIcon programIcon()
{
    return toolIcon(QStringLiteral("programa"));
}

} // namespace varemo
