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


# Each command's picture: a glyph on a coloured tile, drawn at run time (Part 2.3 leaves
# the pictures to us; the platform's stock icons differ between desktops).
_TOOL_GLYPHS = {
    "incluir": ("+", "#2e8b57"),
    "alterar": ("✎", "#2f6db5"),
    "excluir": ("✖", "#b23b3b"),
    "localizar": ("⌕", "#6b5b95"),
    "gravar": ("✔", "#2e8b57"),
    "cancelar": ("↶", "#8a6d3b"),
    "relatorios": ("☰", "#3b7a8a"),
    "plano": ("▤", "#4a5a6a"),
    "ajuda": ("?", "#2f6db5"),
    "sair": ("⏻", "#7a4040"),
    "setor": ("S", "#7a4f9e"),
    "grupo": ("G", "#2f6db5"),
    "conta": ("C", "#2e8b57"),
    "item": ("I", "#c77c12"),
    "pdf": ("⤓", "#b23b3b"),
}


def _glyph_icon(glyph: str, colour: str) -> QIcon:
    icon = QIcon()
    for size in (16, 24, 32, 48):
        pixmap = QPixmap(size, size)
        pixmap.fill(Qt.GlobalColor.transparent)
        painter = QPainter(pixmap)
        painter.setRenderHint(QPainter.RenderHint.Antialiasing)
        painter.setRenderHint(QPainter.RenderHint.TextAntialiasing)
        painter.setPen(Qt.PenStyle.NoPen)
        painter.setBrush(QColor(colour))
        margin = size * 0.08
        tile = QRectF(margin, margin, size - 2 * margin, size - 2 * margin)
        painter.drawRoundedRect(tile, size * 0.2, size * 0.2)
        font = painter.font()
        font.setFamily("DejaVu Sans")
        font.setBold(True)
        font.setPixelSize(max(8, int(size * 0.6)))
        painter.setFont(font)
        painter.setPen(QColor("#ffffff"))
        painter.drawText(tile, Qt.AlignmentFlag.AlignCenter, glyph)
        painter.end()
        icon.addPixmap(pixmap)
    return icon


@cache
def tool_icon(name: str) -> QIcon:
    """The toolbar icon of a command; an unknown name has none."""
    entry = _TOOL_GLYPHS.get(name)
    if entry is None:
        return QIcon()
    return _glyph_icon(*entry)
