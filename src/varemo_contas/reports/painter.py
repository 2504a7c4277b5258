"""Painting a laid-out `Document` with QPainter: preview, printer, PDF, image (Part 4.6).

One renderer for every device (DESIGN.md): page items are in millimetres from the paper's
corner; a device is painted at `scale` device pixels per millimetre, and fonts are sized so
that a 10-point text is 10 points on paper whatever the device's resolution.
"""

from __future__ import annotations

from collections.abc import Iterable

from PySide6.QtCore import QBuffer, QByteArray, QIODevice, QMarginsF, QPointF, QRectF, Qt
from PySide6.QtGui import (
    QColor,
    QImage,
    QPagedPaintDevice,
    QPageLayout,
    QPageSize,
    QPainter,
    QPdfWriter,
    QPen,
)
from PySide6.QtPrintSupport import QPrinter

from varemo_contas.reports.engine import MM_PER_INCH, Align, Orientation, text_width
from varemo_contas.reports.layout import Document, LineItem, Page, TextItem

PDF_CREATOR = "Varemo - Plano de Contas"
HIGHLIGHT = QColor("#fff176")
HIGHLIGHT_CURRENT = QColor("#ff9800")

# (item index, first character, length, current hit?)
Highlight = tuple[int, int, int, bool]

_ALIGN = {
    Align.LEFT: Qt.AlignmentFlag.AlignLeft,
    Align.CENTER: Qt.AlignmentFlag.AlignHCenter,
    Align.RIGHT: Qt.AlignmentFlag.AlignRight,
}


def page_layout(document: Document) -> QPageLayout:
    """A4 in the document's orientation, no margins: painter (0, 0) is the paper's corner."""
    orientation = (
        QPageLayout.Orientation.Landscape
        if document.orientation == Orientation.LANDSCAPE
        else QPageLayout.Orientation.Portrait
    )
    return QPageLayout(
        QPageSize(QPageSize.PageSizeId.A4),
        orientation,
        QMarginsF(0, 0, 0, 0),
        QPageLayout.Unit.Millimeter,
    )


def paint_page(
    painter: QPainter,
    page: Page,
    scale: float,
    origin: QPointF | None = None,
    highlights: Iterable[Highlight] = (),
) -> None:
    """Paint one page's items at `scale` device pixels per mm, the corner at `origin`."""
    origin = origin or QPointF(0, 0)
    dpi = painter.device().logicalDpiY() or 96
    ox, oy = origin.x(), origin.y()
    painter.save()
    painter.setRenderHint(QPainter.RenderHint.Antialiasing, True)
    painter.setRenderHint(QPainter.RenderHint.TextAntialiasing, True)
    for item_index, start, length, current in highlights:
        item = page.items[item_index]
        if not isinstance(item, TextItem):
            continue
        left = item.text_left() + text_width(item.text[:start], item.font)
        width = text_width(item.text[start : start + length], item.font)
        painter.fillRect(
            QRectF(ox + left * scale, oy + item.y * scale, width * scale, item.height * scale),
            HIGHLIGHT_CURRENT if current else HIGHLIGHT,
        )
    for item in page.items:
        if isinstance(item, LineItem):
            pen = QPen(QColor(item.color))
            pen.setWidthF(max(item.thickness * scale, 0.5))
            painter.setPen(pen)
            painter.drawLine(
                QPointF(ox + item.x1 * scale, oy + item.y1 * scale),
                QPointF(ox + item.x2 * scale, oy + item.y2 * scale),
            )
            continue
        font = item.font.qfont()
        font.setPointSizeF(max(item.font.size * scale * MM_PER_INCH / dpi, 0.5))
        painter.setFont(font)
        painter.setPen(QColor(item.color))
        rect = QRectF(
            ox + item.x * scale, oy + item.y * scale, item.width * scale, item.height * scale
        )
        flags = _ALIGN[item.align] | Qt.AlignmentFlag.AlignTop | Qt.TextFlag.TextDontClip
        painter.drawText(rect, int(flags), item.text)
    painter.restore()


def device_scale(device: QPagedPaintDevice | QImage) -> float:
    """Device pixels per millimetre."""
    return device.logicalDpiX() / MM_PER_INCH


def render(
    document: Document, device: QPagedPaintDevice, first: int = 1, last: int | None = None
) -> None:
    """Paint pages `first`..`last` (1-based) on a printer or PDF writer, one sheet each."""
    if isinstance(device, QPrinter):
        # The painter's origin is the paper's corner, whatever margins the printer keeps.
        device.setFullPage(True)
    device.setPageLayout(page_layout(document))
    last = len(document.pages) if last is None else min(last, len(document.pages))
    first = max(first, 1)
    painter = QPainter()
    if not painter.begin(device):
        raise OSError("não foi possível iniciar a impressão")
    try:
        scale = device_scale(device)
        for number in range(first, last + 1):
            if number > first:
                device.newPage()
            paint_page(painter, document.pages[number - 1], scale)
    finally:
        painter.end()


def pdf_bytes(document: Document, resolution: int = 1200) -> bytes:
    """The document as a PDF file's bytes, painted by `render`."""
    data = QByteArray()
    buffer = QBuffer(data)
    buffer.open(QIODevice.OpenModeFlag.WriteOnly)
    writer = QPdfWriter(buffer)
    writer.setResolution(resolution)
    writer.setTitle(document.caption)
    writer.setCreator(PDF_CREATOR)
    render(document, writer)
    del writer  # finishes the file in the buffer
    buffer.close()
    return bytes(data.data())


def write_pdf(document: Document, path: str) -> None:
    """Write the document as PDF to `path`; an unwritable path raises OSError."""
    content = pdf_bytes(document)
    with open(path, "wb") as handle:
        handle.write(content)


def page_image(document: Document, index: int, dpi: float = 150) -> QImage:
    """One page painted on a white image at `dpi` (copy to the clipboard, thumbnails)."""
    scale = dpi / MM_PER_INCH
    image = QImage(
        round(document.page_width * scale),
        round(document.page_height * scale),
        QImage.Format.Format_ARGB32_Premultiplied,
    )
    dots_per_metre = round(dpi / MM_PER_INCH * 1000)
    image.setDotsPerMeterX(dots_per_metre)
    image.setDotsPerMeterY(dots_per_metre)
    image.fill(QColor("white"))
    painter = QPainter(image)
    try:
        paint_page(painter, document.pages[index], scale)
    finally:
        painter.end()
    return image
