"""Small line icons for the viewer's tools, drawn with QPainter (no icon theme needed)."""

from __future__ import annotations

from collections.abc import Callable

from PySide6.QtCore import QPointF, QRectF, Qt
from PySide6.QtGui import QColor, QFont, QIcon, QPainter, QPainterPath, QPen, QPixmap, QPolygonF

INK = QColor("#37474f")
ACCENT = QColor("#1e88e5")
SIZE = 32


def _page(p: QPainter, x: float, y: float, w: float, h: float) -> None:
    p.setBrush(QColor("white"))
    p.drawRect(QRectF(x, y, w, h))
    p.setBrush(Qt.BrushStyle.NoBrush)


def _lines(p: QPainter, x: float, y: float, w: float, count: int, step: float = 4) -> None:
    for i in range(count):
        p.drawLine(QPointF(x, y + i * step), QPointF(x + w, y + i * step))


def _toc(p: QPainter) -> None:
    _page(p, 5, 3, 22, 26)
    for i, indent in enumerate((0, 4, 4, 0, 4)):
        p.drawLine(QPointF(9 + indent, 9 + i * 4), QPointF(23, 9 + i * 4))


def _print(p: QPainter) -> None:
    _page(p, 9, 3, 14, 9)
    p.setBrush(QColor("#cfd8dc"))
    p.drawRoundedRect(QRectF(3, 11, 26, 11), 2, 2)
    p.setBrush(Qt.BrushStyle.NoBrush)
    _page(p, 9, 18, 14, 11)
    _lines(p, 12, 22, 8, 2, 3)


def _pdf(p: QPainter) -> None:
    _page(p, 6, 3, 20, 26)
    p.setPen(Qt.PenStyle.NoPen)
    p.setBrush(QColor("#c62828"))
    p.drawRect(QRectF(3, 15, 26, 10))
    p.setPen(QColor("white"))
    font = QFont()
    font.setPixelSize(9)
    font.setBold(True)
    p.setFont(font)
    p.drawText(QRectF(3, 15, 26, 10), int(Qt.AlignmentFlag.AlignCenter), "PDF")


def _copy(p: QPainter) -> None:
    _page(p, 4, 3, 16, 20)
    _page(p, 12, 9, 16, 20)
    _lines(p, 15, 15, 10, 3)


def _magnifier(p: QPainter, sign: str = "") -> None:
    p.drawEllipse(QRectF(4, 4, 17, 17))
    pen = p.pen()
    pen.setWidthF(4)
    p.setPen(pen)
    p.drawLine(QPointF(19, 19), QPointF(28, 28))
    pen.setWidthF(2.2)
    p.setPen(pen)
    if sign:
        p.drawLine(QPointF(8.5, 12.5), QPointF(16.5, 12.5))
    if sign == "+":
        p.drawLine(QPointF(12.5, 8.5), QPointF(12.5, 16.5))


def _single(p: QPainter) -> None:
    _page(p, 8, 3, 16, 26)
    _lines(p, 11, 8, 10, 5)


def _multi(p: QPainter) -> None:
    for x in (3, 17):
        for y in (3, 17):
            _page(p, x, y, 12, 12)


def _triangle(points: tuple[tuple[float, float], ...]) -> Callable[[QPainter], None]:
    def draw(p: QPainter) -> None:
        p.setBrush(INK)
        p.drawPolygon(QPolygonF([QPointF(x, y) for x, y in points]))

    return draw


def _arrow(left: bool) -> Callable[[QPainter], None]:
    def draw(p: QPainter) -> None:
        path = QPainterPath()
        if left:
            path.moveTo(26, 24)
            path.cubicTo(26, 12, 18, 10, 8, 12)
            head = ((4, 12), (11, 6), (11, 18))
        else:
            path.moveTo(6, 24)
            path.cubicTo(6, 12, 14, 10, 24, 12)
            head = ((28, 12), (21, 6), (21, 18))
        pen = p.pen()
        pen.setWidthF(3)
        p.setPen(pen)
        p.drawPath(path)
        p.setBrush(INK)
        pen.setWidthF(1)
        p.setPen(pen)
        p.drawPolygon(QPolygonF([QPointF(x, y) for x, y in head]))

    return draw


DRAWINGS: dict[str, Callable[[QPainter], None]] = {
    "toc": _toc,
    "print": _print,
    "pdf": _pdf,
    "copy": _copy,
    "find": _magnifier,
    "single": _single,
    "multi": _multi,
    "zoom_out": lambda p: _magnifier(p, "-"),
    "zoom_in": lambda p: _magnifier(p, "+"),
    "prev": _triangle(((22, 5), (22, 27), (8, 16))),
    "next": _triangle(((10, 5), (10, 27), (24, 16))),
    "back": _arrow(True),
    "forward": _arrow(False),
}


def icon(name: str) -> QIcon:
    """The icon `name` at two sizes (sharp on normal and high-density screens)."""
    result = QIcon()
    for size in (SIZE, SIZE * 2):
        pixmap = QPixmap(size, size)
        pixmap.fill(Qt.GlobalColor.transparent)
        p = QPainter(pixmap)
        p.setRenderHint(QPainter.RenderHint.Antialiasing)
        p.scale(size / SIZE, size / SIZE)
        pen = QPen(INK)
        pen.setWidthF(1.6)
        pen.setCapStyle(Qt.PenCapStyle.RoundCap)
        pen.setJoinStyle(Qt.PenJoinStyle.RoundJoin)
        p.setPen(pen)
        DRAWINGS[name](p)
        p.end()
        result.addPixmap(pixmap)
    return result
