"""Part 1.2: the splash window `Entrada`, on screen while the main window loads.

Start-up (``app.startup``) does the splash load's steps; this window only shows the seal
`Selo`, the module's name, version and company, and owns the timer `Timer1` that hands
over to the main window once it reports its load complete.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from PySide6.QtCore import QPointF, QRectF, QSize, Qt, QTimer
from PySide6.QtGui import QColor, QFont, QGuiApplication, QPainter, QPaintEvent, QPixmap
from PySide6.QtWidgets import QLabel, QWidget

from varemo_contas.app.sobre import (
    CREAM,
    GOLD,
    GOLD_LIGHT,
    paint_backdrop,
    paint_seal,
    sans_font,
    serif_font,
)

if TYPE_CHECKING:
    from varemo_contas.app.state import State

SPLASH_SIZE = QSize(500, 270)
SEAL_SIZE = 180
TIMER_INTERVAL_MS = 100  # Part 1.2 leaves the interval to the form's design
LOADING_TEXT = "Carregando o plano de contas..."
VERSION_PREFIX = "Versão "


def build_seal(size: int = SEAL_SIZE, ratio: float = 1.0) -> QPixmap:
    """The splash's seal picture on a transparent ground."""
    pixmap = QPixmap(QSize(size, size) * ratio)
    pixmap.setDevicePixelRatio(ratio)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    # The shadow reaches 1.2 radii below the centre: keep it inside the picture.
    paint_seal(painter, QPointF(size / 2, size / 2), size / 2.4, "VAREMO  ·  GESTÃO  ·  ")
    painter.end()
    return pixmap


class Entrada(QWidget):
    """Part 1.2's splash: seal, names and the timer that shows the main window."""

    def __init__(self, state: State, parent: QWidget | None = None) -> None:
        super().__init__(parent, Qt.WindowType.SplashScreen | Qt.WindowType.FramelessWindowHint)
        self.state = state
        self.main_window: QWidget | None = None
        self.setWindowTitle(state.title)
        self.setFixedSize(SPLASH_SIZE)

        self.Selo = QLabel(self)
        self.Selo.setObjectName("Selo")
        self.Selo.setPixmap(build_seal(SEAL_SIZE, max(1.0, self.devicePixelRatioF())))
        self.Selo.setGeometry(26, (SPLASH_SIZE.height() - SEAL_SIZE) // 2 - 4, SEAL_SIZE, SEAL_SIZE)

        left, width = 214, SPLASH_SIZE.width() - 214 - 24
        self.Titulo = self._label("Titulo", state.title, CREAM, sans_font(18, QFont.Weight.Bold))
        self.Titulo.setGeometry(left, 92, width, 34)
        self.Versao = self._label(
            "Versao",
            VERSION_PREFIX + state.version_text,
            GOLD_LIGHT,
            sans_font(10, QFont.Weight.DemiBold),
        )
        self.Versao.setGeometry(left, 128, width, 20)
        self.Empresa = self._label(
            "Empresa", state.company_name, QColor("#d9e8df"), sans_font(10.5)
        )
        self.Empresa.setGeometry(left, 152, width, 40)
        self.Empresa.setWordWrap(True)  # a long company name wraps instead of being cut
        loading = sans_font(8.5)
        loading.setItalic(True)
        self.Carregando = self._label("Carregando", LOADING_TEXT, QColor("#b9d3c4"), loading)
        self.Carregando.setGeometry(left, 214, width, 20)

        # Part 1.2: start-up enables the timer after loading the main window (step 9).
        self.Timer1 = QTimer(self)
        self.Timer1.setInterval(TIMER_INTERVAL_MS)
        self.Timer1.timeout.connect(self.Timer1_Timer)

        self.center_on_screen()

    def _label(self, name: str, text: str, color: QColor, font: QFont) -> QLabel:
        label = QLabel(text, self)
        label.setObjectName(name)
        label.setFont(font)
        label.setTextFormat(Qt.TextFormat.PlainText)
        label.setStyleSheet(f"background: transparent; color: {color.name()};")
        return label

    def show_company(self, name: str) -> None:
        """Show the company name read at start-up (Part 1.2 step 7)."""
        self.Empresa.setText(name)

    def center_on_screen(self) -> None:
        """Place the splash in the middle of the screen's work area."""
        screen = self.screen() or QGuiApplication.primaryScreen()
        if screen is None:
            return
        area = screen.availableGeometry()
        self.move(area.center() - self.rect().center())

    def Timer1_Timer(self) -> None:
        """Part 1.2 timer tick: once the main window is ready, hand over to it."""
        if not self.state.main_window_ready:
            return  # keep ticking until the main window's load has finished
        self.Timer1.stop()
        # The main window is shown before the splash closes, so that closing the splash
        # never leaves the application without a visible window (which would end it).
        if self.main_window is not None:
            self.main_window.show()
        self.close()

    def paintEvent(self, event: QPaintEvent) -> None:
        painter = QPainter(self)
        painter.setRenderHint(QPainter.RenderHint.Antialiasing)
        painter.setRenderHint(QPainter.RenderHint.TextAntialiasing)
        paint_backdrop(painter, QRectF(self.rect()))
        painter.setFont(serif_font(28, QFont.Weight.Bold))
        painter.setPen(QColor(0, 0, 0, 110))
        painter.drawText(QPointF(216, 76), "Varemo")
        painter.setPen(GOLD_LIGHT)
        painter.drawText(QPointF(214, 74), "Varemo")
        painter.setPen(GOLD)
        painter.drawLine(QPointF(214, 86), QPointF(self.width() - 26, 86))
        painter.setPen(QColor(212, 175, 55, 90))
        painter.drawLine(QPointF(214, 202), QPointF(self.width() - 26, 202))
        painter.end()
