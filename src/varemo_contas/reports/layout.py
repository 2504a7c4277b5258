"""Laying a report out: the feed with its format hooks, then bands placed on A4 pages.

The result, a `Document`, is pages of text and line items positioned in millimetres from the
paper's corner, plus the table of contents; painting is `painter.py`'s. A band marked keep-
with-next (every group header, and any band a format hook marks) never ends a page alone.
"""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field, replace

from varemo_contas.reports.engine import (
    Align,
    Font,
    LineControl,
    Orientation,
    Report,
    Section,
    SectionKind,
    Summary,
    TextControl,
    elide,
    format_money,
    line_height,
    text_width,
    wrap,
)

# --- the laid-out document ---------------------------------------------------------------


@dataclass
class TextItem:
    """A text placed on a page: rectangle in mm from the paper's top-left corner."""

    x: float
    y: float
    width: float
    height: float
    text: str
    font: Font
    align: Align = Align.LEFT
    section: str = ""
    control: str = ""
    color: str = "#000000"

    def text_left(self) -> float:
        """Where the text's first character starts (for highlights and selection)."""
        if self.align == Align.LEFT:
            return self.x
        used = text_width(self.text, self.font)
        if self.align == Align.RIGHT:
            return self.x + self.width - used
        return self.x + (self.width - used) / 2


@dataclass
class LineItem:
    x1: float
    y1: float
    x2: float
    y2: float
    thickness: float = 0.25
    color: str = "#000000"
    section: str = ""


Item = TextItem | LineItem


@dataclass
class TocEntry:
    """A table-of-contents entry: its text, nesting level, page index (0-based) and top."""

    text: str
    level: int
    page: int
    y: float


@dataclass
class Page:
    number: int
    items: list[Item] = field(default_factory=list)

    def texts(self) -> list[TextItem]:
        return [item for item in self.items if isinstance(item, TextItem)]

    def text(self) -> str:
        """The page's text in reading order: one line per row of items, tab separated."""
        rows: list[list[TextItem]] = []
        for item in sorted(self.texts(), key=lambda t: (round(t.y, 1), t.x)):
            if rows and abs(rows[-1][0].y - item.y) < 0.6:
                rows[-1].append(item)
            else:
                rows.append([item])
        return "\n".join("\t".join(t.text for t in sorted(row, key=lambda t: t.x)) for row in rows)


@dataclass
class Document:
    caption: str
    page_width: float
    page_height: float
    orientation: Orientation
    pages: list[Page] = field(default_factory=list)
    toc: list[TocEntry] = field(default_factory=list)

    def text(self) -> str:
        return "\n\f".join(page.text() for page in self.pages)


# --- running and laying out ---------------------------------------------------------------


@dataclass
class Band:
    """One printed instance of a section, laid out relative to its own top."""

    section: str
    height: float
    items: list[Item]
    keep_with_next: bool = False
    new_page_before: bool = False
    bookmark: tuple[str, int] | None = None
    context: object = None


def _display(control: TextControl, value: object) -> str:
    if value is None:
        return control.text
    if control.money and isinstance(value, int | float):
        return format_money(value)
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


class _Accumulator:
    """Running sums and counts of fields over a scope."""

    def __init__(self) -> None:
        self.sums: dict[str, float] = {}
        self.count = 0

    def add(self, row: dict[str, object]) -> None:
        self.count += 1
        for name, value in row.items():
            if isinstance(value, int | float) and not isinstance(value, bool):
                self.sums[name] = self.sums.get(name, 0.0) + float(value)

    def value(self, summary: Summary) -> float:
        if summary.function == "count":
            return float(self.count)
        return self.sums.get(summary.field, 0.0)


class _Runner:
    def __init__(self, report: Report) -> None:
        self.report = report
        self.body_left = report.margins[0]
        self.width = report.printable_width

    def hook(self, section: Section) -> None:
        method: Callable[[], object] | None = getattr(self.report, f"{section.name}_Format", None)
        if callable(method):
            method()

    def format(
        self,
        section: Section,
        row: dict[str, object],
        totals: dict[str, _Accumulator] | None = None,
    ) -> Band | None:
        """Run a section's hook and lay its visible controls out as a band."""
        section.bookmark = None
        section.context = None
        for control in section.controls.values():
            if isinstance(control, TextControl):
                if control.summary is not None and totals is not None:
                    control.value = totals[control.summary.scope].value(control.summary)
                elif control.data_field is not None:
                    control.value = row.get(control.data_field)
        if section.data_field and section.kind == SectionKind.GROUP_HEADER:
            value = row.get(section.data_field)
            section.bookmark = (str(value), self.report.groups.index(self._pair(section)))
        self.hook(section)
        if not section.visible:
            return None
        return Band(
            section.name,
            *self._items(section),
            keep_with_next=section.keep_with_next,
            new_page_before=section.new_page_before,
            bookmark=section.bookmark,
            context=section.context,
        )

    def _pair(self, header: Section) -> tuple[Section, Section]:
        return next(pair for pair in self.report.groups if pair[0] is header)

    def _items(self, section: Section) -> tuple[float, list[Item]]:
        items: list[Item] = []
        height = section.height
        for control in section.controls.values():
            if not control.visible:
                continue
            width = control.width or (self.width - control.left)
            x = self.body_left + control.left
            if isinstance(control, LineControl):
                items.append(
                    LineItem(
                        x,
                        control.top,
                        x + width,
                        control.top,
                        control.thickness,
                        control.color,
                        section.name,
                    )
                )
                continue
            text = _display(control, control.value)
            if not text:
                continue
            step = line_height(control.font)
            if control.can_grow:
                lines = wrap(text, control.font, width)
            else:
                lines = [elide(text, control.font, width)]
            for index, line in enumerate(lines):
                top = control.top + index * step
                items.append(
                    TextItem(
                        x,
                        top,
                        width,
                        step,
                        line,
                        control.font,
                        control.align,
                        section.name,
                        control.name,
                        control.color,
                    )
                )
            height = max(height, control.top + len(lines) * step)
        return height, items

    def bands(self) -> list[Band]:
        """Feed the report and format every section instance in print order."""
        report = self.report
        bands: list[Band] = []

        def emit(band: Band | None) -> None:
            if band is not None:
                bands.append(band)

        scopes = {"report": _Accumulator()}
        group_totals = [_Accumulator() for _ in report.groups]
        emit(self.format(report.report_header, report.fields, scopes))
        previous: dict[str, object] | None = None
        row = report.FetchData()
        while row is not None:
            report.fields.update(row)
            current = dict(report.fields)
            changed = 0
            if previous is not None:
                changed = len(report.groups)
                for level, (header, _footer) in enumerate(report.groups):
                    if previous.get(header.data_field or "") != current.get(
                        header.data_field or ""
                    ):
                        changed = level
                        break
                for level in range(len(report.groups) - 1, changed - 1, -1):
                    emit(self._footer(level, previous, group_totals, scopes))
            for level in range(changed, len(report.groups)):
                group_totals[level] = _Accumulator()
                emit(self.format(report.groups[level][0], current, scopes))
            emit(self.format(report.detail, current, scopes))
            for accumulator in (*group_totals, scopes["report"]):
                accumulator.add(current)
            previous = current
            row = report.FetchData()
        if previous is not None:
            for level in range(len(report.groups) - 1, -1, -1):
                emit(self._footer(level, previous, group_totals, scopes))
        emit(self.format(report.report_footer, previous or report.fields, scopes))
        return bands

    def _footer(
        self,
        level: int,
        row: dict[str, object],
        group_totals: list[_Accumulator],
        scopes: dict[str, _Accumulator],
    ) -> Band | None:
        footer = self.report.groups[level][1]
        footer.group_rows = group_totals[level].count
        return self.format(footer, row, {**scopes, "group": group_totals[level]})


def _chain_height(bands: list[Band], start: int) -> float:
    """Height of the keep-with-next run starting at `start` plus the band it keeps with."""
    total = 0.0
    index = start
    while index < len(bands):
        total += bands[index].height
        if not bands[index].keep_with_next:
            break
        index += 1
    return total


def paginate(report: Report, bands: list[Band]) -> Document:
    """Place bands on pages; a keep-with-next run never ends a page alone."""
    _left, top, _right, bottom = report.margins
    document = Document(report.caption, report.page_width, report.page_height, report.orientation)
    header_height = report.page_header.height
    footer_height = report.page_footer.height
    body_top = top + header_height
    body_bottom = report.page_height - bottom - footer_height
    body_height = body_bottom - body_top
    pages: list[list[tuple[float, Band]]] = [[]]
    y = body_top
    for index, band in enumerate(bands):
        needed = _chain_height(bands, index) if band.keep_with_next else band.height
        if needed > body_height:
            needed = band.height  # a run longer than a page breaks where it must
        starts_page = not pages[-1]
        if not starts_page and (band.new_page_before or y + needed > body_bottom + 1e-6):
            pages.append([])
            y = body_top
        pages[-1].append((y, band))
        y += band.height
    report.page_count = len(pages)
    runner = _Runner(report)
    for number, placed in enumerate(pages, start=1):
        page = Page(number)
        report.page_number = number
        report.page_context = placed[0][1].context if placed else None
        header = runner.format(report.page_header, report.fields)
        if header is not None:
            page.items += _shifted(header.items, top)
        for band_top, band in placed:
            page.items += _shifted(band.items, band_top)
            if band.bookmark is not None:
                text, level = band.bookmark
                document.toc.append(TocEntry(text, level, number - 1, band_top))
        footer = runner.format(report.page_footer, report.fields)
        if footer is not None:
            page.items += _shifted(footer.items, report.page_height - bottom - footer_height)
        document.pages.append(page)
    return document


def _shifted(items: list[Item], dy: float) -> list[Item]:
    """The items moved down by `dy` mm (a band placed on its page)."""
    return [
        replace(item, y=item.y + dy)
        if isinstance(item, TextItem)
        else replace(item, y1=item.y1 + dy, y2=item.y2 + dy)
        for item in items
    ]


def run_report_layout(report: Report) -> Document:
    """ReportStart, DataInitialize, the feed with its format hooks, pages; then ReportEnd."""
    report.ReportStart()
    report.DataInitialize()
    try:
        bands = _Runner(report).bands()
    finally:
        report.ReportEnd()
    return paginate(report, bands)
