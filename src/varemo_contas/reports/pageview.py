"""The viewer's page area: one page or a grid of pages painted by the report renderer.

Also the text search over a laid-out document (Part 4.6 "finding"): accents and case are
ignored, as a person typing "pao" expects to find "Pão".
"""

from __future__ import annotations

import unicodedata
from dataclasses import dataclass

from PySide6.QtCore import QPointF, QRectF, QSize, Qt, Signal
from PySide6.QtGui import QColor, QMouseEvent, QPainter, QPaintEvent, QPen, QWheelEvent
from PySide6.QtWidgets import QWidget

from varemo_contas.reports.engine import MM_PER_INCH
from varemo_contas.reports.layout import Document, TextItem
from varemo_contas.reports.painter import Highlight, paint_page

MARGIN = 16  # px around the pages
GAP = 16  # px between pages in the multiple view
BACKGROUND = QColor("#7f8790")
SHADOW = QColor(0, 0, 0, 70)
CURRENT_FRAME = QColor("#1e88e5")


def fold(text: str) -> str:
    """Lower case without accents, one character for one (positions are kept)."""
    folded = []
    for char in text:
        base = unicodedata.normalize("NFD", char)[0].lower()
        folded.append(base[0] if base else char)
    return "".join(folded)


@dataclass(frozen=True)
class Hit:
    """One occurrence of the searched text: page index, item index, start, length."""

    page: int
    item: int
    start: int
    length: int


# Page headers and footers repeat on every page: a search looks at the report's body.
NOT_SEARCHED = ("PageHeader", "PageFooter")


def find_all(document: Document, text: str) -> list[Hit]:
    """Every occurrence of `text` in the body's text items, page by page in reading order."""
    needle = fold(text.strip())
    hits: list[Hit] = []
    if not needle:
        return hits
    for page_index, page in enumerate(document.pages):
        order = sorted(
            (
                i
                for i, item in enumerate(page.items)
                if isinstance(item, TextItem) and item.section not in NOT_SEARCHED
            ),
            key=lambda i: (round(page.items[i].y, 1), page.items[i].x),
        )
        for item_index in order:
            haystack = fold(page.items[item_index].text)  # type: ignore[union-attr]
            start = haystack.find(needle)
            while start >= 0:
                hits.append(Hit(page_index, item_index, start, len(needle)))
                start = haystack.find(needle, start + len(needle))
    return hits


class PageCanvas(QWidget):
    """Paints the current page (single view) or every page in a grid (multiple view)."""

    pageClicked = Signal(int)
    pageActivated = Signal(int)
    zoomStep = Signal(int)

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setObjectName("Paginas")
        self.document: Document | None = None
        self.zoom = 100
        self.current = 0
        self.multiple = False
        self.columns = 1
        self.hits: list[Hit] = []
        self.current_hit: Hit | None = None
        self.setAttribute(Qt.WidgetAttribute.WA_OpaquePaintEvent)
        self.setMouseTracking(False)

    # -- geometry --
    def scale(self) -> float:
        """Screen pixels per millimetre at the zoom (100 % = the paper's size)."""
        return self.zoom / 100 * self.logicalDpiX() / MM_PER_INCH

    def page_pixels(self) -> QSize:
        if self.document is None:
            return QSize(0, 0)
        scale = self.scale()
        return QSize(
            round(self.document.page_width * scale), round(self.document.page_height * scale)
        )

    def layout_for(self, available_width: int) -> None:
        """Choose the columns of the multiple view and size the canvas for its pages."""
        page = self.page_pixels()
        if self.document is None or not self.document.pages:
            self.setFixedSize(max(available_width, 1), 1)
            return
        if self.multiple:
            fit = (available_width - 2 * MARGIN + GAP) // max(page.width() + GAP, 1)
            self.columns = max(1, min(int(fit), len(self.document.pages)))
            rows = -(-len(self.document.pages) // self.columns)
            width = 2 * MARGIN + self.columns * page.width() + (self.columns - 1) * GAP
            height = 2 * MARGIN + rows * page.height() + (rows - 1) * GAP
        else:
            self.columns = 1
            width = 2 * MARGIN + page.width()
            height = 2 * MARGIN + page.height()
        self.setFixedSize(max(width, available_width), height)

    def page_rect(self, index: int) -> QRectF:
        """Where page `index` is painted on the canvas (single view: the current page)."""
        page = self.page_pixels()
        total_width = (
            self.columns * page.width() + (self.columns - 1) * GAP
            if self.multiple
            else page.width()
        )
        left = max(MARGIN, (self.width() - total_width) // 2)
        if not self.multiple:
            return QRectF(left, MARGIN, page.width(), page.height())
        row, column = divmod(index, self.columns)
        return QRectF(
            left + column * (page.width() + GAP),
            MARGIN + row * (page.height() + GAP),
            page.width(),
            page.height(),
        )

    def shown_pages(self) -> list[int]:
        if self.document is None:
            return []
        if self.multiple:
            return list(range(len(self.document.pages)))
        return [self.current] if 0 <= self.current < len(self.document.pages) else []

    def page_at(self, x: float, y: float) -> int | None:
        for index in self.shown_pages():
            if self.page_rect(index).contains(QPointF(x, y)):
                return index
        return None

    def y_of(self, index: int, millimetres: float) -> int:
        """Canvas y of a point `millimetres` down page `index` (to scroll a hit into view)."""
        return round(self.page_rect(index).top() + millimetres * self.scale())

    # -- painting --
    def paintEvent(self, event: QPaintEvent) -> None:
        painter = QPainter(self)
        painter.fillRect(event.rect(), BACKGROUND)
        if self.document is None:
            painter.end()
            return
        scale = self.scale()
        exposed = QRectF(event.rect())
        for index in self.shown_pages():
            rect = self.page_rect(index)
            if not rect.intersects(exposed):
                continue
            painter.fillRect(rect.translated(3, 3), SHADOW)
            painter.fillRect(rect, QColor("white"))
            marks: list[Highlight] = [
                (hit.item, hit.start, hit.length, hit == self.current_hit)
                for hit in self.hits
                if hit.page == index
            ]
            painter.save()
            painter.setClipRect(rect)
            paint_page(painter, self.document.pages[index], scale, rect.topLeft(), marks)
            painter.restore()
            if self.multiple and index == self.current:
                pen = QPen(CURRENT_FRAME)
                pen.setWidth(3)
                painter.setPen(pen)
                painter.drawRect(rect.adjusted(-2, -2, 2, 2))
        painter.end()

    # -- mouse --
    def mousePressEvent(self, event: QMouseEvent) -> None:
        index = self.page_at(event.position().x(), event.position().y())
        if index is not None and self.multiple:
            self.pageClicked.emit(index)
        super().mousePressEvent(event)

    def mouseDoubleClickEvent(self, event: QMouseEvent) -> None:
        index = self.page_at(event.position().x(), event.position().y())
        if index is not None and self.multiple:
            self.pageActivated.emit(index)
        super().mouseDoubleClickEvent(event)

    def wheelEvent(self, event: QWheelEvent) -> None:
        if event.modifiers() & Qt.KeyboardModifier.ControlModifier:
            self.zoomStep.emit(1 if event.angleDelta().y() > 0 else -1)
            event.accept()
            return
        event.ignore()
