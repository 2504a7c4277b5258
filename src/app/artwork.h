#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QString>

class QPainter;

// The suite's pictures, painted at run time so they stay sharp at any screen scale: the
// seal of the splash and the About box, and the ledger-green ground behind them.
namespace varemo::artwork {

// Ledger greens and seal golds.
inline const QColor GreenDeep {0x0b, 0x33, 0x26};
inline const QColor Green {0x14, 0x5c, 0x40};
inline const QColor GreenLight {0x2e, 0x8b, 0x5e};
inline const QColor Gold {0xd4, 0xaf, 0x37};
inline const QColor GoldLight {0xf5, 0xdd, 0x8a};
inline const QColor GoldDark {0x9c, 0x7a, 0x16};
inline const QColor Cream {0xfb, 0xf6, 0xe6};

QFont serifFont(qreal pointSize, QFont::Weight weight = QFont::Normal);
QFont sansFont(qreal pointSize, QFont::Weight weight = QFont::Normal);

// A scalloped gold medal with a green field and an open account book; ringText runs
// around its band.
void paintSeal(QPainter& painter, QPointF center, qreal radius, const QString& ringText);
// The green ruled ground with a golden glow and a fine gold frame.
void paintBackdrop(QPainter& painter, const QRectF& rect);

// The seal alone on a transparent ground, size x size logical pixels.
QPixmap sealPicture(int size, qreal ratio);
// The About box's picture: ground, seal, the brand name and the version caption.
QPixmap aboutPicture(QSize size, qreal ratio);

inline const QString RingText = QStringLiteral("VAREMO  ·  GESTÃO  ·  ");

} // namespace varemo::artwork
