"""Images drawn at run time: the tree's three check states and the toolbar's icons."""

from __future__ import annotations

from functools import cache

from PySide6.QtCore import QPointF, QRectF, Qt
from PySide6.QtGui import QColor, QIcon, QPainter, QPainterPath, QPen, QPixmap
from PySide6.QtWidgets import QApplication, QStyle

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


_STANDARD = {
    "incluir": QStyle.StandardPixmap.SP_FileDialogNewFolder,
    "alterar": QStyle.StandardPixmap.SP_FileDialogDetailedView,
    "excluir": QStyle.StandardPixmap.SP_TrashIcon,
    "localizar": QStyle.StandardPixmap.SP_FileDialogContentsView,
    "gravar": QStyle.StandardPixmap.SP_DialogSaveButton,
    "cancelar": QStyle.StandardPixmap.SP_DialogCancelButton,
    "relatorios": QStyle.StandardPixmap.SP_FileDialogListView,
    "plano": QStyle.StandardPixmap.SP_FileDialogInfoView,
    "ajuda": QStyle.StandardPixmap.SP_DialogHelpButton,
    "sair": QStyle.StandardPixmap.SP_DialogCloseButton,
}
_LEVEL_LETTERS = {"setor": "S", "grupo": "G", "conta": "C", "item": "I"}
_LEVEL_COLOURS = {"setor": "#7a4f9e", "grupo": "#2f6db5", "conta": "#2e8b57", "item": "#c77c12"}


def _letter_icon(letter: str, colour: str) -> QIcon:
    pixmap = QPixmap(32, 32)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(QColor(colour))
    painter.drawRoundedRect(QRectF(3, 3, 26, 26), 6, 6)
    font = painter.font()
    font.setBold(True)
    font.setPixelSize(18)
    painter.setFont(font)
    painter.setPen(QColor("#ffffff"))
    painter.drawText(QRectF(3, 3, 26, 26), Qt.AlignmentFlag.AlignCenter, letter)
    painter.end()
    return QIcon(pixmap)


def tool_icon(name: str) -> QIcon:
    """The toolbar icon of a command (Part 2.3 leaves the pictures to us)."""
    if name in _LEVEL_LETTERS:
        return _letter_icon(_LEVEL_LETTERS[name], _LEVEL_COLOURS[name])
    pixmap = _STANDARD.get(name)
    if pixmap is None:
        return QIcon()
    return QApplication.style().standardIcon(pixmap)
