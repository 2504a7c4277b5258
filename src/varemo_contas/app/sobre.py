"""Part 1.5: the About box `Sobre`, and the version text it shows.

The window has no title bar: it is moved by dragging its picture `Imagem` or one of its
three labels. The picture is painted at run time (Part 1.5 leaves it to the implementer);
`paint_seal` is shared with the splash window (Part 1.2).
"""

from __future__ import annotations

import math
from functools import partial
from typing import TYPE_CHECKING

from PySide6.QtCore import QEvent, QObject, QPoint, QPointF, QRectF, QSize, Qt
from PySide6.QtGui import (
    QBrush,
    QColor,
    QFont,
    QFontMetricsF,
    QLinearGradient,
    QMouseEvent,
    QPainter,
    QPainterPath,
    QPen,
    QPixmap,
    QPolygonF,
    QRadialGradient,
)
from PySide6.QtWidgets import QDialog, QFrame, QHBoxLayout, QLabel, QPushButton, QWidget

from varemo_contas.app import desktop
from varemo_contas.app.state import APP_DESCRIPTION

if TYPE_CHECKING:
    from varemo_contas.app.state import State

CAPTION_PREFIX = "Sobre o Módulo de "
BUTTON_TEXTS = ("Ajuda", "Fechar")
HELP_CONTEXT = 30020  # Part 1.5: a topic of the suite's shared help file (Part 1.4)
CLICK_SOUND = 7
PICTURE_SIZE = QSize(480, 300)
FOOTER_HEIGHT = 50

# The suite's palette: ledger greens and seal golds.
GREEN_DEEP = QColor("#0b3326")
GREEN = QColor("#145c40")
GREEN_LIGHT = QColor("#2e8b5e")
GOLD = QColor("#d4af37")
GOLD_LIGHT = QColor("#f5dd8a")
GOLD_DARK = QColor("#9c7a16")
CREAM = QColor("#fbf6e6")


def version_text(major: int, minor: int, revision: int) -> str:
    """Part 1.5 step 3: major, minor as its last two digits, revision as its last four."""
    return (
        str(major).strip()
        + "."
        + ("00" + str(minor).strip())[-2:]
        + "."
        + ("00" + str(revision).strip())[-4:]
    )


# --- artwork -------------------------------------------------------------------------


def serif_font(point_size: float, weight: QFont.Weight = QFont.Weight.Normal) -> QFont:
    """A serif face for the brand texts, whichever the platform has."""
    font = QFont()
    font.setFamilies(["Georgia", "Palatino Linotype", "Times New Roman", "DejaVu Serif"])
    font.setStyleHint(QFont.StyleHint.Serif)
    font.setPointSizeF(point_size)
    font.setWeight(weight)
    return font


def sans_font(point_size: float, weight: QFont.Weight = QFont.Weight.Normal) -> QFont:
    """The interface face for the labels."""
    font = QFont()
    font.setFamilies(["Segoe UI", "Helvetica Neue", "Arial", "DejaVu Sans"])
    font.setStyleHint(QFont.StyleHint.SansSerif)
    font.setPointSizeF(point_size)
    font.setWeight(weight)
    return font


def _ring_text(painter: QPainter, center: QPointF, radius: float, text: str, size: float) -> None:
    """Write `text` around a circle, centred at the top, letters upright to the outside."""
    font = sans_font(size, QFont.Weight.Bold)
    font.setLetterSpacing(QFont.SpacingType.AbsoluteSpacing, size * 0.25)
    metrics = QFontMetricsF(font)
    painter.setFont(font)
    total = metrics.horizontalAdvance(text)
    angle = -total / radius / 2  # radians from the top, clockwise
    for char in text:
        advance = metrics.horizontalAdvance(char)
        middle = angle + advance / radius / 2
        painter.save()
        painter.translate(center)
        painter.rotate(math.degrees(middle))
        painter.drawText(QPointF(-advance / 2, -radius), char)
        painter.restore()
        angle += advance / radius


def _paint_ledger(painter: QPainter, center: QPointF, size: float) -> None:
    """An open account book with ruled lines and a ribbon: the chart of accounts."""
    w, h = size, size * 0.62
    top = center.y() - h / 2
    painter.save()
    painter.setPen(QPen(GOLD_DARK, max(1.0, size * 0.02)))
    for side in (-1, 1):
        page = QPainterPath()
        page.moveTo(center.x(), top + h * 0.08)
        page.cubicTo(
            center.x() + side * w * 0.18,
            top - h * 0.04,
            center.x() + side * w * 0.36,
            top,
            center.x() + side * w / 2,
            top + h * 0.02,
        )
        page.lineTo(center.x() + side * w / 2, top + h)
        page.cubicTo(
            center.x() + side * w * 0.36,
            top + h * 0.96,
            center.x() + side * w * 0.18,
            top + h * 0.98,
            center.x(),
            top + h * 1.06,
        )
        page.closeSubpath()
        painter.setBrush(CREAM)
        painter.drawPath(page)
        # Ruled lines: the ledger's rows.
        painter.setPen(QPen(QColor(20, 92, 64, 150), max(0.8, size * 0.012)))
        for row in range(1, 6):
            y = top + h * (0.12 + row * 0.14)
            x0 = center.x() + side * w * 0.07
            x1 = center.x() + side * w * 0.43
            painter.drawLine(QPointF(x0, y), QPointF(x1, y))
        painter.setPen(QPen(GOLD_DARK, max(1.0, size * 0.02)))
    # The ribbon marks the current account.
    ribbon = QPolygonF(
        [
            QPointF(center.x() + w * 0.26, top + h * 0.02),
            QPointF(center.x() + w * 0.34, top + h * 0.02),
            QPointF(center.x() + w * 0.34, top + h * 0.62),
            QPointF(center.x() + w * 0.30, top + h * 0.52),
            QPointF(center.x() + w * 0.26, top + h * 0.62),
        ]
    )
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(QColor("#b3261e"))
    painter.drawPolygon(ribbon)
    painter.restore()


def paint_seal(painter: QPainter, center: QPointF, radius: float, ring_text: str) -> None:
    """The Varemo seal: a scalloped gold medal with a green field and an account book."""
    painter.save()
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    # Soft shadow under the medal.
    shadow = QRadialGradient(center + QPointF(radius * 0.06, radius * 0.1), radius * 1.12)
    shadow.setColorAt(0.8, QColor(0, 0, 0, 90))
    shadow.setColorAt(1.0, QColor(0, 0, 0, 0))
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(shadow)
    painter.drawEllipse(center + QPointF(radius * 0.06, radius * 0.1), radius * 1.1, radius * 1.1)
    # Scalloped rim.
    points = []
    teeth = 36
    for i in range(teeth * 2):
        r = radius if i % 2 == 0 else radius * 0.93
        a = math.pi * i / teeth
        points.append(QPointF(center.x() + r * math.cos(a), center.y() + r * math.sin(a)))
    rim = QLinearGradient(center - QPointF(radius, radius), center + QPointF(radius, radius))
    rim.setColorAt(0.0, GOLD_LIGHT)
    rim.setColorAt(0.5, GOLD)
    rim.setColorAt(1.0, GOLD_DARK)
    painter.setBrush(rim)
    painter.setPen(QPen(GOLD_DARK, max(1.0, radius * 0.015)))
    painter.drawPolygon(QPolygonF(points))
    # Inner band that carries the ring text.
    painter.setPen(QPen(GOLD_DARK, max(1.0, radius * 0.02)))
    painter.setBrush(Qt.BrushStyle.NoBrush)
    painter.drawEllipse(center, radius * 0.86, radius * 0.86)
    painter.setPen(GREEN_DEEP)
    _ring_text(painter, center, radius * 0.70, ring_text, radius * 0.105)
    # Green field.
    field = QRadialGradient(center - QPointF(radius * 0.2, radius * 0.25), radius * 0.75)
    field.setColorAt(0.0, GREEN_LIGHT)
    field.setColorAt(1.0, GREEN_DEEP)
    painter.setBrush(field)
    painter.setPen(QPen(GOLD_LIGHT, max(1.0, radius * 0.025)))
    painter.drawEllipse(center, radius * 0.58, radius * 0.58)
    _paint_ledger(painter, center + QPointF(0, radius * 0.02), radius * 0.74)
    # Two small stars at the foot of the band.
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(GREEN_DEEP)
    for side in (-1, 1):
        a = math.radians(90 + side * 62)
        star_center = QPointF(
            center.x() + radius * 0.72 * math.cos(a), center.y() + radius * 0.72 * math.sin(a)
        )
        painter.drawEllipse(star_center, radius * 0.035, radius * 0.035)
    painter.restore()


def paint_backdrop(painter: QPainter, rect: QRectF) -> None:
    """The green ledger-paper background with a golden glow and a fine gold frame."""
    painter.save()
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    base = QLinearGradient(rect.topLeft(), rect.bottomRight())
    base.setColorAt(0.0, GREEN)
    base.setColorAt(0.55, GREEN_DEEP)
    base.setColorAt(1.0, QColor("#06211a"))
    painter.fillRect(rect, base)
    glow = QRadialGradient(rect.topRight() + QPointF(-rect.width() * 0.15, 0), rect.width() * 0.7)
    glow.setColorAt(0.0, QColor(245, 221, 138, 80))
    glow.setColorAt(1.0, QColor(245, 221, 138, 0))
    painter.fillRect(rect, glow)
    # Faint ruled lines, as on a ledger page.
    painter.setPen(QPen(QColor(245, 221, 138, 18), 1))
    y = rect.top() + 14.0
    while y < rect.bottom():
        painter.drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y))
        y += 14.0
    painter.setPen(QPen(QColor(212, 175, 55, 160), 1.2))
    painter.setBrush(Qt.BrushStyle.NoBrush)
    painter.drawRect(rect.adjusted(5.5, 5.5, -5.5, -5.5))
    painter.setPen(QPen(QColor(212, 175, 55, 70), 1))
    painter.drawRect(rect.adjusted(8.5, 8.5, -8.5, -8.5))
    painter.restore()


def build_picture(size: QSize = PICTURE_SIZE, ratio: float = 1.0) -> QPixmap:
    """The About box's picture: backdrop, seal, the brand name and the version caption."""
    pixmap = QPixmap(size * ratio)
    pixmap.setDevicePixelRatio(ratio)
    pixmap.fill(GREEN_DEEP)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    painter.setRenderHint(QPainter.RenderHint.TextAntialiasing)
    rect = QRectF(0, 0, size.width(), size.height())
    paint_backdrop(painter, rect)
    paint_seal(painter, QPointF(100, 122), 70, "VAREMO  ·  GESTÃO  ·  ")
    # The brand name, with a thin gold rule under it.
    painter.setFont(serif_font(30, QFont.Weight.Bold))
    painter.setPen(QColor(0, 0, 0, 110))
    painter.drawText(QPointF(197, 64), "Varemo")
    painter.setPen(GOLD_LIGHT)
    painter.drawText(QPointF(195, 62), "Varemo")
    rule = QLinearGradient(QPointF(195, 0), QPointF(460, 0))
    rule.setColorAt(0.0, GOLD)
    rule.setColorAt(1.0, QColor(212, 175, 55, 0))
    painter.setPen(QPen(QBrush(rule), 1.4))
    painter.drawLine(QPointF(195, 74), QPointF(455, 74))
    caption = sans_font(7.5, QFont.Weight.DemiBold)
    caption.setLetterSpacing(QFont.SpacingType.AbsoluteSpacing, 1.6)
    painter.setFont(caption)
    painter.setPen(GOLD)
    painter.drawText(QPointF(197, 130), "VERSÃO")
    painter.end()
    return pixmap


# --- the window ----------------------------------------------------------------------

_LABEL_STYLE = "background: transparent; color: %s;"
_FOOTER_STYLE = """
QFrame#Rodape { background: rgba(3, 24, 18, 170); border-top: 1px solid rgba(212, 175, 55, 150); }
QLabel { color: rgba(245, 221, 138, 190); background: transparent; }
QPushButton {
    min-width: 78px; min-height: 24px; padding: 2px 12px; border-radius: 4px;
    font-weight: 600; color: #f5dd8a; background: rgba(20, 92, 64, 200);
    border: 1px solid #d4af37;
}
QPushButton:hover { background: rgba(46, 139, 94, 230); }
QPushButton:pressed { background: rgba(11, 51, 38, 255); }
QPushButton:default { color: #0b3326; background: #d4af37; border-color: #f5dd8a; }
QPushButton:default:hover { background: #e6c45a; }
QPushButton:focus { outline: none; }
"""


class Sobre(QDialog):
    """Part 1.5: name, version and description over a picture; moved by its picture."""

    def __init__(self, state: State, parent: QWidget | None = None) -> None:
        # Part 1.5: no title bar of its own.
        super().__init__(parent, Qt.WindowType.Dialog | Qt.WindowType.FramelessWindowHint)
        self.state = state
        self.setWindowTitle(CAPTION_PREFIX + state.title)
        self._drag_offset: QPoint | None = None

        # Step 1: the window takes the picture's size, the picture sits at 0,0.
        self.Imagem = QLabel(self)
        self.Imagem.setObjectName("Imagem")
        picture = build_picture(PICTURE_SIZE, max(1.0, self.devicePixelRatioF()))
        self.Imagem.setPixmap(picture)
        size = picture.deviceIndependentSize().toSize()
        self.Imagem.setGeometry(0, 0, size.width(), size.height())
        self.setFixedSize(size)

        # Steps 2-4: the labels lie over the picture, children of the window.
        self.VerNomeProduto = self._label("VerNomeProduto", state.title, CREAM)
        self.VerNomeProduto.setFont(sans_font(16, QFont.Weight.Bold))
        self.VerNomeProduto.setGeometry(195, 82, 265, 30)
        self.VerVersao = self._label(
            "VerVersao", version_text(state.major, state.minor, state.revision), GOLD_LIGHT
        )
        self.VerVersao.setFont(sans_font(11, QFont.Weight.DemiBold))
        self.VerVersao.setGeometry(195, 134, 200, 22)
        self.VerDescricao = self._label("VerDescricao", APP_DESCRIPTION, QColor("#d9e8df"))
        self.VerDescricao.setFont(sans_font(8.5))
        self.VerDescricao.setWordWrap(True)
        self.VerDescricao.setAlignment(Qt.AlignmentFlag.AlignLeft | Qt.AlignmentFlag.AlignTop)
        self.VerDescricao.setGeometry(195, 166, 262, 72)

        # The button strip: over the picture but not part of it, so it does not drag.
        self.Rodape = QFrame(self)
        self.Rodape.setObjectName("Rodape")
        self.Rodape.setStyleSheet(_FOOTER_STYLE)
        self.Rodape.setGeometry(0, size.height() - FOOTER_HEIGHT, size.width(), FOOTER_HEIGHT)
        strip = QHBoxLayout(self.Rodape)
        strip.setContentsMargins(18, 0, 16, 4)
        strip.setSpacing(10)
        notice = QLabel("© Varemo Sistemas de Gestão", self.Rodape)
        notice.setFont(sans_font(7.5))
        strip.addWidget(notice)
        strip.addStretch(1)
        self.Botao: list[QPushButton] = []
        for index, text in enumerate(BUTTON_TEXTS):
            button = QPushButton(text, self.Rodape)
            button.setObjectName(f"Botao{index}")
            button.setCursor(Qt.CursorShape.PointingHandCursor)
            button.clicked.connect(partial(self._botao_clicked, index))
            strip.addWidget(button)
            self.Botao.append(button)
        self.Botao[1].setDefault(True)
        self.Botao[1].setFocus()

        for handle in self.drag_handles():
            handle.installEventFilter(self)

    def _label(self, name: str, text: str, color: QColor) -> QLabel:
        label = QLabel(text, self)
        label.setObjectName(name)
        label.setStyleSheet(_LABEL_STYLE % color.name())
        label.setTextFormat(Qt.TextFormat.PlainText)
        return label

    # --- buttons -------------------------------------------------------------------

    def _botao_clicked(self, index: int, _checked: bool = False) -> None:
        self.Botao_Click(index)

    def Botao_Click(self, index: int) -> None:
        """Part 1.5: sound 7, then 0 opens help topic 30020 and 1 closes the window."""
        desktop.play_sound(CLICK_SOUND)
        if index == 0:
            desktop.show_help(HELP_CONTEXT)
        elif index == 1:
            self.close()

    # --- dragging ------------------------------------------------------------------

    def drag_handles(self) -> list[QWidget]:
        """Part 1.5: the picture and the three labels move the window; nothing else does."""
        return [self.Imagem, self.VerNomeProduto, self.VerVersao, self.VerDescricao]

    def is_drag_handle(self, widget: QObject | None) -> bool:
        """Whether pressing on `widget` starts moving the window."""
        return any(widget is handle for handle in self.drag_handles())

    def begin_drag(self, global_pos: QPoint) -> bool:
        """Hand the move to the platform, as a press on the caption would; True if it took it."""
        self._drag_offset = None
        handle = self.windowHandle()
        if handle is not None and handle.startSystemMove():
            return True
        # Platforms without system moves (offscreen, some X11 setups): follow the mouse here.
        self._drag_offset = global_pos - self.pos()
        return False

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        if not self.is_drag_handle(watched) or not isinstance(event, QMouseEvent):
            return super().eventFilter(watched, event)
        kind = event.type()
        global_pos = event.globalPosition().toPoint()
        if kind == QEvent.Type.MouseButtonPress and event.button() == Qt.MouseButton.LeftButton:
            self.begin_drag(global_pos)
            return True
        if kind == QEvent.Type.MouseMove and self._drag_offset is not None:
            if event.buttons() & Qt.MouseButton.LeftButton:
                self.move(global_pos - self._drag_offset)
            else:
                self._drag_offset = None
            return True
        if kind == QEvent.Type.MouseButtonRelease and self._drag_offset is not None:
            self._drag_offset = None
            return True
        return super().eventFilter(watched, event)
