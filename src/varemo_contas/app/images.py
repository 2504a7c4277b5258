"""Images drawn at run time: the tree's three check states and the toolbar's icons."""

from __future__ import annotations

from functools import cache

from PySide6.QtCore import QPointF, QRectF, Qt
from PySide6.QtGui import QColor, QIcon, QPainter, QPainterPath, QPen, QPixmap

NENHUM = "Nenhum"
ALGUNS = "Alguns"
TODOS = "Todos"
CHECK_STATES = (NENHUM, ALGUNS, TODOS)


def _check_pixmap(state: str, size: int = 16) -> QPixmap:
    pixmap = QPixmap(size, size)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    box = QRectF(1.5, 1.5, size - 3, size - 3)
    fill = {NENHUM: "#ffffff", ALGUNS: "#dbe8f7", TODOS: "#2f6db5"}[state]
    painter.setPen(QPen(QColor("#4a5a6a"), 1.2))
    painter.setBrush(QColor(fill))
    painter.drawRoundedRect(box, 2.5, 2.5)
    if state == ALGUNS:
        painter.setPen(Qt.PenStyle.NoPen)
        painter.setBrush(QColor("#2f6db5"))
        painter.drawRoundedRect(QRectF(4.5, 4.5, size - 9, size - 9), 1.5, 1.5)
    elif state == TODOS:
        path = QPainterPath(QPointF(size * 0.25, size * 0.52))
        path.lineTo(QPointF(size * 0.43, size * 0.7))
        path.lineTo(QPointF(size * 0.76, size * 0.3))
        painter.setPen(QPen(QColor("#ffffff"), 2.0, Qt.PenStyle.SolidLine, Qt.PenCapStyle.RoundCap))
        painter.setBrush(Qt.BrushStyle.NoBrush)
        painter.drawPath(path)
    painter.end()
    return pixmap


@cache
def check_icon(state: str) -> QIcon:
    """The icon of a tree node's check state: "Nenhum", "Alguns" or "Todos" (Part 2.1)."""
    return QIcon(_check_pixmap(state if state in CHECK_STATES else NENHUM))


# Each command's picture: a white drawing on a coloured tile, drawn at run time with
# plain paths (Part 2.3 leaves the pictures to us; stock icons and symbol fonts differ
# between desktops, so nothing here depends on them).
_TOOL_TILES = {
    "incluir": "#2e8b57",
    "alterar": "#2f6db5",
    "excluir": "#b23b3b",
    "localizar": "#6b5b95",
    "gravar": "#2e8b57",
    "cancelar": "#8a6d3b",
    "relatorios": "#3b7a8a",
    "plano": "#4a5a6a",
    "ajuda": "#2f6db5",
    "sair": "#7a4040",
    "pdf": "#b23b3b",
    "setor": "#7a4f9e",
    "grupo": "#2f6db5",
    "conta": "#2e8b57",
    "item": "#c77c12",
}
_LETTERS = {"setor": "S", "grupo": "G", "conta": "C", "item": "I", "ajuda": "?"}


def _draw(name: str, painter: QPainter, u: float) -> None:
    """Draw the picture of `name` in a 10 x 10 grid of unit `u` (white on the tile)."""
    pen = QPen(QColor("#ffffff"), 1.1 * u, Qt.PenStyle.SolidLine, Qt.PenCapStyle.RoundCap)
    pen.setJoinStyle(Qt.PenJoinStyle.RoundJoin)
    painter.setPen(pen)
    painter.setBrush(Qt.BrushStyle.NoBrush)

    def line(x1: float, y1: float, x2: float, y2: float) -> None:
        painter.drawLine(QPointF(x1 * u, y1 * u), QPointF(x2 * u, y2 * u))

    if name == "incluir":
        line(5, 2.6, 5, 7.4)
        line(2.6, 5, 7.4, 5)
    elif name == "excluir":
        line(3, 3, 7, 7)
        line(7, 3, 3, 7)
    elif name == "alterar":
        line(3, 7, 7, 3)
        line(2.7, 7.3, 3.4, 7.6)
        line(6.2, 2.6, 7.4, 3.8)
    elif name == "localizar":
        painter.drawEllipse(QPointF(4.4 * u, 4.4 * u), 1.9 * u, 1.9 * u)
        line(5.8, 5.8, 7.6, 7.6)
    elif name == "gravar":
        path = QPainterPath(QPointF(2.8 * u, 5.2 * u))
        path.lineTo(QPointF(4.4 * u, 6.9 * u))
        path.lineTo(QPointF(7.3 * u, 3.2 * u))
        painter.drawPath(path)
    elif name == "cancelar":
        painter.drawArc(QRectF(3 * u, 3.2 * u, 4.4 * u, 4.2 * u), 90 * 16, -250 * 16)
        line(5.2, 3.2, 3.9, 2.4)
        line(5.2, 3.2, 4.1, 4.3)
    elif name == "relatorios":
        for y in (3.2, 5, 6.8):
            line(3, y, 7, y)
    elif name == "plano":
        line(2.8, 2.8, 5.2, 2.8)
        line(3.6, 2.8, 3.6, 7)
        line(3.6, 4.9, 7.2, 4.9)
        line(3.6, 7, 7.2, 7)
    elif name == "sair":
        painter.drawRect(QRectF(2.6 * u, 2.6 * u, 3.4 * u, 4.8 * u))
        line(4.6, 5, 7.6, 5)
        line(7.6, 5, 6.6, 4)
        line(7.6, 5, 6.6, 6)
    elif name == "pdf":
        line(5, 2.6, 5, 6.2)
        line(5, 6.2, 3.6, 4.8)
        line(5, 6.2, 6.4, 4.8)
        line(3, 7.4, 7, 7.4)


def _tool_pixmap(name: str, size: int) -> QPixmap:
    pixmap = QPixmap(size, size)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    painter.setRenderHint(QPainter.RenderHint.TextAntialiasing)
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(QColor(_TOOL_TILES[name]))
    margin = size * 0.06
    tile = QRectF(margin, margin, size - 2 * margin, size - 2 * margin)
    painter.drawRoundedRect(tile, size * 0.2, size * 0.2)
    letter = _LETTERS.get(name)
    if letter is not None:
        font = painter.font()
        font.setBold(True)
        font.setPixelSize(max(8, int(size * 0.62)))
        painter.setFont(font)
        painter.setPen(QColor("#ffffff"))
        painter.drawText(tile, Qt.AlignmentFlag.AlignCenter, letter)
    else:
        _draw(name, painter, size / 10)
    painter.end()
    return pixmap


@cache
def tool_icon(name: str) -> QIcon:
    """The toolbar icon of a command; an unknown name has none."""
    if name not in _TOOL_TILES:
        return QIcon()
    icon = QIcon()
    for size in (16, 24, 32, 48):
        icon.addPixmap(_tool_pixmap(name, size))
    return icon
