"""The banded report engine of Parts 4.4-4.6, after ActiveReports' unbound model.

A `Report` has a report header, a page header, nested group header/footer pairs, a detail,
a page footer and a report footer. It is fed row by row: `DataInitialize` once, then
`FetchData` returns the next row's fields (a dict) or None at the end of data. Before a
section is laid out its format hook runs, a report method named `<Section>_Format`
(e.g. `Detail_Format`), which may hide controls, change texts or hide the section.
`ReportStart` runs before the first page (Parts 4.4/4.5 ask about the orientation there).

`Report.run()` (`layout.run_report_layout`) produces a `Document`: pages of positioned text
and line items in millimetres, read by find, copy, the table of contents and the tests
without painting; `painter.py` paints them on a printer, a PDF writer, an image or the preview.

As in ActiveReports, the next row is fetched before the group footers of the previous one are
formatted, so a footer's hook sees the new row in `fields` (Part 4.4 keeps "previous names"
for that reason); bound controls and sums of a footer show its own group's values.
"""

from __future__ import annotations

import datetime
from collections.abc import Callable, Iterator
from dataclasses import dataclass, field
from enum import Enum, IntEnum
from typing import TYPE_CHECKING

from PySide6.QtCore import QDate, QLocale, QSizeF
from PySide6.QtGui import QFont, QFontMetricsF, QGuiApplication, QImage

if TYPE_CHECKING:
    from varemo_contas.reports.layout import Document

# Parts 4.4 and 4.5, report start step 1: the same question for both reports.
ORIENTATION_PROMPT = (
    "A orientação do papel está na horizontal."
    + "\r"
    + "O correto é a orientação na vertical."
    + "\r"
    + "Quer imprimir com orientação vertical?"
)
ORIENTATION_TITLE = "Orientação do Papel"
MM_PER_INCH = 25.4
A4_MM = QSizeF(210.0, 297.0)
# Measuring resolution: text widths are taken at printer precision, then kept in mm.
MEASURE_DPI = 1200
FALLBACK_FAMILIES = ("DejaVu Sans", "Arial", "Helvetica")


class Orientation(IntEnum):
    """Page orientation, numbered as ActiveReports' `ddOPortrait`/`ddOLandscape`."""

    PORTRAIT = 1
    LANDSCAPE = 2


class Align(Enum):
    LEFT = "left"
    CENTER = "center"
    RIGHT = "right"


# --- number and date texts -------------------------------------------------------------


def format_money(value: float | int | None) -> str:
    """ "##,##0.00" in the user's locale: pt_BR "1.234,56" and "-1.234,56" (Part 4.4)."""
    number = round(float(value or 0.0), 2)
    if number == 0:
        number = 0.0  # never "-0,00"
    return QLocale().toString(number, "f", 2)


def long_date(day: datetime.date | None = None) -> str:
    """A date in the system's long date format ("Impresso: ", Parts 4.4/4.5)."""
    day = day or datetime.date.today()
    return QLocale().toString(QDate(day.year, day.month, day.day), QLocale.FormatType.LongFormat)


# --- fonts and measuring ---------------------------------------------------------------


@dataclass(frozen=True)
class Font:
    """A report font: size in points; the family is the application's with fallbacks."""

    size: float = 9.5
    bold: bool = False
    italic: bool = False
    family: str | None = None

    def qfont(self) -> QFont:
        font = QFont()
        families = [self.family] if self.family else []
        app_family = QGuiApplication.font().family() if QGuiApplication.instance() else ""
        families += [name for name in (app_family, *FALLBACK_FAMILIES) if name]
        font.setFamilies(families)
        font.setPointSizeF(self.size)
        font.setBold(self.bold)
        font.setItalic(self.italic)
        # Metrics independent of the screen: the layout is the same on paper and preview.
        font.setHintingPreference(QFont.HintingPreference.PreferNoHinting)
        font.setKerning(True)
        # No "fi"/"fl" ligatures: text copied or extracted from a PDF reads as typed.
        for tag in ("liga", "clig", "dlig"):
            font.setFeature(QFont.Tag(tag), 0)
        return font


_measure_device: QImage | None = None
_metrics_cache: dict[Font, QFontMetricsF] = {}


def _metrics(font: Font) -> QFontMetricsF:
    global _measure_device
    metrics = _metrics_cache.get(font)
    if metrics is None:
        if _measure_device is None:
            _measure_device = QImage(4, 4, QImage.Format.Format_ARGB32)
            dots_per_metre = round(MEASURE_DPI / MM_PER_INCH * 1000)
            _measure_device.setDotsPerMeterX(dots_per_metre)
            _measure_device.setDotsPerMeterY(dots_per_metre)
        metrics = QFontMetricsF(font.qfont(), _measure_device)
        _metrics_cache[font] = metrics
    return metrics


def text_width(text: str, font: Font) -> float:
    """Width of a text in millimetres."""
    return _metrics(font).horizontalAdvance(text) * MM_PER_INCH / MEASURE_DPI


def line_height(font: Font) -> float:
    """Height of one line of a font in millimetres."""
    return _metrics(font).height() * MM_PER_INCH / MEASURE_DPI


def elide(text: str, font: Font, width: float) -> str:
    """The text cut with "…" to fit `width` mm (only when it does not fit)."""
    if text_width(text, font) <= width:
        return text
    while text and text_width(text + "…", font) > width:
        text = text[:-1]
    return text.rstrip() + "…"


def wrap(text: str, font: Font, width: float) -> list[str]:
    """Word-wrap a text to `width` mm; a word longer than the width is elided."""
    lines: list[str] = []
    for paragraph in text.replace("\r\n", "\n").replace("\r", "\n").split("\n"):
        current = ""
        for word in paragraph.split(" "):
            candidate = word if not current else current + " " + word
            if text_width(candidate, font) <= width or not current:
                current = candidate
            else:
                lines.append(elide(current, font, width))
                current = word
        lines.append(elide(current, font, width))
    return lines


# --- the report model ------------------------------------------------------------------


@dataclass
class Summary:
    """A sum or count of a field over a scope: "group" (the footer's group) or "report"."""

    field: str
    function: str = "sum"  # "sum" or "count"
    scope: str = "group"


@dataclass
class TextControl:
    """A label or a field box: static `text`, a bound `data_field`, or a `summary`.

    Positions are millimetres from the section's left edge (the page's left margin) and top.
    `width` 0 runs to the right margin. `money` formats numbers with "##,##0.00".
    """

    name: str
    left: float = 0.0
    top: float = 0.0
    width: float = 0.0
    text: str = ""
    data_field: str | None = None
    summary: Summary | None = None
    money: bool = False
    align: Align = Align.LEFT
    font: Font = field(default_factory=Font)
    visible: bool = True
    can_grow: bool = False
    color: str = "#000000"
    value: object = None  # the value shown, set by the engine before the format hook


@dataclass
class LineControl:
    """A horizontal rule: from `left` over `width` mm (0 = to the right margin)."""

    name: str
    left: float = 0.0
    top: float = 0.0
    width: float = 0.0
    thickness: float = 0.25  # mm
    visible: bool = True
    color: str = "#000000"


Control = TextControl | LineControl


class SectionKind(Enum):
    REPORT_HEADER = "ReportHeader"
    PAGE_HEADER = "PageHeader"
    GROUP_HEADER = "GroupHeader"
    DETAIL = "Detail"
    GROUP_FOOTER = "GroupFooter"
    PAGE_FOOTER = "PageFooter"
    REPORT_FOOTER = "ReportFooter"


class Section:
    """A band of the report: a height in mm and its controls, addressed by name."""

    def __init__(self, name: str, kind: SectionKind, height: float = 6.0) -> None:
        self.name = name
        self.kind = kind
        self.height = height
        self.controls: dict[str, Control] = {}
        self.visible = True
        # Keep this band on the same page as the next one (group headers by default).
        self.keep_with_next = kind == SectionKind.GROUP_HEADER
        self.new_page_before = False
        # Per printed band, set by a format hook: a table-of-contents entry (text, level)
        # and a context (e.g. the path of names) that page headers may read.
        self.bookmark: tuple[str, int] | None = None
        self.context: object = None
        # Group headers: the field whose change starts a new group.
        self.data_field: str | None = None
        self.group_rows = 0  # group footers: detail rows of the group just ended

    def add(self, control: Control) -> Control:
        self.controls[control.name] = control
        return control

    def __getitem__(self, name: str) -> Control:
        return self.controls[name]

    def text(self, name: str, **options: object) -> TextControl:
        """Add a text control (see `TextControl`)."""
        control = TextControl(name, **options)  # type: ignore[arg-type]
        self.add(control)
        return control

    def line(self, name: str, **options: object) -> LineControl:
        control = LineControl(name, **options)  # type: ignore[arg-type]
        self.add(control)
        return control


class Report:
    """An unbound banded report; subclasses build sections and implement the feed.

    Hooks (all optional): `ReportStart()`, `DataInitialize()`, `FetchData() -> dict | None`,
    `<SectionName>_Format()`, `ReportEnd()`. `page_number` holds the page being formatted
    in page header/footer hooks, `page_count` the number of pages.
    """

    caption = ""

    def __init__(self) -> None:
        self.orientation = Orientation.PORTRAIT
        self.page_size = QSizeF(A4_MM)
        # Margins in mm: left, top, right, bottom.
        self.margins = (20.0, 12.0, 15.0, 12.0)
        self.report_header = Section("ReportHeader", SectionKind.REPORT_HEADER, 0.0)
        self.page_header = Section("PageHeader", SectionKind.PAGE_HEADER, 0.0)
        self.groups: list[tuple[Section, Section]] = []
        self.detail = Section("Detail", SectionKind.DETAIL, 5.0)
        self.page_footer = Section("PageFooter", SectionKind.PAGE_FOOTER, 0.0)
        self.report_footer = Section("ReportFooter", SectionKind.REPORT_FOOTER, 0.0)
        self.fields: dict[str, object] = {}
        self.page_number = 0
        self.page_count = 0
        # The context of a page's first band, for page header hooks (e.g. "continuação").
        self.page_context: object = None
        self.document: Document | None = None
        # Called as progress(done, total) while rows are fed (the preview's progress bar).
        self.progress: Callable[[int, int], None] | None = None

    def ask_portrait(self) -> None:
        """In landscape, ask whether to print in portrait; Yes switches (Parts 4.4, 4.5)."""
        from varemo_contas.app import desktop

        if self.orientation == Orientation.LANDSCAPE:
            answer = desktop.msgbox(
                ORIENTATION_PROMPT, desktop.vbYesNo + desktop.vbQuestion, ORIENTATION_TITLE
            )
            if answer == desktop.vbYes:
                self.orientation = Orientation.PORTRAIT

    def report_progress(self, done: int, total: int) -> None:
        if self.progress is not None:
            self.progress(done, total)

    # -- building --
    def add_group(
        self, header_name: str, footer_name: str, data_field: str, height: float = 6.0
    ) -> tuple[Section, Section]:
        """Add a group header/footer pair inside the groups added before it."""
        header = Section(header_name, SectionKind.GROUP_HEADER, height)
        header.data_field = data_field
        footer = Section(footer_name, SectionKind.GROUP_FOOTER, 0.0)
        self.groups.append((header, footer))
        return header, footer

    def sections(self) -> Iterator[Section]:
        yield self.report_header
        yield self.page_header
        for header, _footer in self.groups:
            yield header
        yield self.detail
        for _header, footer in reversed(self.groups):
            yield footer
        yield self.page_footer
        yield self.report_footer

    def section(self, name: str) -> Section:
        for section in self.sections():
            if section.name == name:
                return section
        raise KeyError(name)

    @property
    def page_width(self) -> float:
        width, height = self.page_size.width(), self.page_size.height()
        return (
            max(width, height) if self.orientation == Orientation.LANDSCAPE else min(width, height)
        )

    @property
    def page_height(self) -> float:
        width, height = self.page_size.width(), self.page_size.height()
        return (
            min(width, height) if self.orientation == Orientation.LANDSCAPE else max(width, height)
        )

    @property
    def printable_width(self) -> float:
        return self.page_width - self.margins[0] - self.margins[2]

    # -- hooks --
    def ReportStart(self) -> None:
        """Before the first page."""

    def DataInitialize(self) -> None:
        """Declare the fields (Part 4.4: "Feed start")."""

    def FetchData(self) -> dict[str, object] | None:
        """The next row's fields, or None at the end of data."""
        return None

    def ReportEnd(self) -> None:
        """After the last page; release the data source here."""

    def close(self) -> None:
        """Release what the report holds (the viewer calls it when it lets go)."""

    def run(self) -> Document:
        """Run the report: feed, format, paginate. The result is kept in `document`."""
        from varemo_contas.reports.layout import run_report_layout

        self.document = run_report_layout(self)
        return self.document
