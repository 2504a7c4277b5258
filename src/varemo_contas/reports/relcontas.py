"""Part 4.5: `RelContas`, the chart listing, fed line by line from the ancestor join.

`ChartFeed` is the Part's feed without any report around it (previous names, fetch state,
the first differing level becomes the line and the same record is fetched again);
`RelContas` is the report: page header "Impresso: ", five indented text controls of which
one holds text per line, Categoria names in upper case, "Página " in the page footer.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from varemo_contas.app import errorlog
from varemo_contas.data import queries
from varemo_contas.data.dao import Recordset, RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.reports.engine import (
    Align,
    Font,
    Report,
    TextControl,
    long_date,
)

if TYPE_CHECKING:
    from varemo_contas.app.state import State

# Part 1.3 leaves the routine names of the reports to the implementer.
ROTINA_PLANO = "Relatório Plano de Contas"
CAPTION = "Plano de Contas"
LEVEL_TITLES = {1: "Setor", 2: "Grupo", 3: "Conta", 4: "Item"}
# The report footer's counts, singular and plural, per level.
COUNT_WORDS = (
    ("categoria", "categorias"),
    ("setor", "setores"),
    ("grupo", "grupos"),
    ("conta", "contas"),
    ("item", "itens"),
)
INDENT = 7.0  # mm per level
GREY = "#555555"
# Per level: font, band height and the text's top within the band (space above the line).
LINE_STYLES = (
    (Font(11.0, bold=True), 10.5, 4.2),
    (Font(10.0, bold=True), 7.2, 2.2),
    (Font(9.5, bold=True, italic=True), 6.0, 1.4),
    (Font(9.5), 5.2, 0.8),
    (Font(9.0), 4.7, 0.5),
)
# The lines of the listing level itself are the list's entries, not headings.
ENTRY_STYLE = (Font(9.5), 5.0, 0.6)


def line_style(level: int, listing_level: int) -> tuple[Font, float, float]:
    """Font, band height and text top of a line of `level` in a listing to `listing_level`."""
    if level >= listing_level and level > 0:
        return LINE_STYLES[4] if level == 4 else ENTRY_STYLE
    return LINE_STYLES[min(level, 4)]


class ChartFeed:
    """Part 4.5 "Feed": one (level, name) line per call over the ancestor-join recordset."""

    def __init__(self, recordset: Recordset, level: int) -> None:
        self.recordset = recordset
        self.level = level
        # Report start step 2: the five previous names empty, fetch state 0.
        self.previous = ["", "", "", "", ""]
        self.fetch_state = 0
        self.record_done = False  # the previous line finished its record

    def next_line(self) -> tuple[int, str] | None:
        """The next line, or None at the end of the recordset (end of data)."""
        recordset = self.recordset
        if recordset.record_count > 0:
            if self.fetch_state == 0:
                recordset.move_first()
                self.fetch_state = 1
            elif self.record_done:
                recordset.move_next()
        if recordset.eof:
            return None
        for level in range(self.level):
            name = recordset[f"NivelCategoria{level}.Nome"]
            # A Null name compares as Null in VB: never "different", so never a line.
            if name is not None and name != self.previous[level]:
                self.previous[level] = str(name)
                for deeper in range(level + 1, len(self.previous)):
                    self.previous[deeper] = ""
                self.record_done = False  # the same record is fetched again
                return level, str(name)
        own = recordset[f"NivelCategoria{self.level}.Nome"]
        name = "" if own is None else str(own)
        if self.level < len(self.previous):
            self.previous[self.level] = name
        self.record_done = True
        return self.level, name


def chart_lines(recordset: Recordset, level: int) -> list[tuple[int, str]]:
    """Every line of the listing, as the feed gives them (tests, export checks)."""
    feed = ChartFeed(recordset, level)
    lines: list[tuple[int, str]] = []
    while (line := feed.next_line()) is not None:
        lines.append(line)
    return lines


def counted(count: int, level: int) -> str:
    singular, plural = COUNT_WORDS[level]
    return f"{count} {singular if count == 1 else plural}"


class RelContas(Report):
    """The chart listing report of Part 4.5, down to `level` (1 Setor .. 4 Item)."""

    caption = CAPTION

    def __init__(self, state: State, level: int) -> None:
        super().__init__()
        self.state = state
        self.level = level
        self.recordset: Recordset | None = None
        self.feed: ChartFeed | None = None
        self.counts = [0, 0, 0, 0, 0]
        self.path = ["", "", "", "", ""]
        self._build()

    # -- sections --
    def _build(self) -> None:
        self.report_header.visible = False
        header = self.page_header
        header.height = 21.0
        header.text("Empresa", top=0.0, font=Font(9.0, bold=True), color=GREY)
        header.text("Impresso", top=0.0, font=Font(8.5), align=Align.RIGHT, color=GREY)
        header.text("Titulo", top=4.6, text=CAPTION, font=Font(15.0, bold=True))
        header.text("Niveis", top=7.2, font=Font(9.0), align=Align.RIGHT, color=GREY)
        header.line("Regua", top=12.8, thickness=0.4)
        header.text("Continua", top=14.4, font=Font(8.5, italic=True), color=GREY)

        self.Texto: list[TextControl] = []
        for level in range(5):
            font = line_style(level, self.level)[0]
            # A name longer than the line wraps under itself instead of being cut.
            control = self.detail.text(f"Texto{level}", left=INDENT * level, font=font)
            control.can_grow = True
            self.Texto.append(control)
        self.detail.line("Sublinha", top=0.0, thickness=0.3, color="#888888", visible=False)

        footer = self.page_footer
        footer.height = 9.0
        footer.line("Regua", top=2.0, thickness=0.3, color="#888888")
        footer.text("Sistema", top=3.4, font=Font(8.0), color=GREY, text="Varemo · " + CAPTION)
        footer.text("Pagina", top=3.4, font=Font(8.5), align=Align.RIGHT)

        ending = self.report_footer
        ending.height = 14.0
        ending.line("Regua", top=5.0, thickness=0.3, color="#888888")
        ending.text("Resumo", top=6.4, font=Font(8.5), color=GREY, can_grow=True)

    # -- hooks --
    def ReportStart(self) -> None:
        """Part 4.5 report start: the orientation question, the names, the ancestor join."""
        self.ask_portrait()
        self.counts = [0, 0, 0, 0, 0]
        self.path = ["", "", "", "", ""]
        self.feed = None
        try:
            # Step 3: levels 1..4 build the Part 4.1 text; any other opens the text as it is.
            if 1 <= self.level <= 4:
                self.state.sql = queries.joined_level(self.level)
            self.recordset = self.state.database.open_recordset(
                self.state.sql, RecordsetType.SNAPSHOT
            )
            self.feed = ChartFeed(self.recordset, self.level)
        except JetError as exc:
            errorlog.log_exception(self.state, ROTINA_PLANO, exc)

    def DataInitialize(self) -> None:
        self.fields = {"Nivel": None, "Nome": None}

    def FetchData(self) -> dict[str, object] | None:
        """Part 4.5 "Feed": the next line's level and name, or None at the end of data."""
        if self.feed is None:
            return None
        try:
            line = self.feed.next_line()
        except JetError as exc:
            errorlog.log_exception(self.state, ROTINA_PLANO, exc)
            return None
        for control in self.Texto:
            control.text = ""
        recordset = self.recordset
        if recordset is not None and recordset.absolute_position % 200 == 0:
            self.report_progress(recordset.absolute_position, recordset.record_count)
        if line is None:
            return None
        level, name = line
        return {"Nivel": level, "Nome": name}

    def Detail_Format(self) -> None:
        """The line's name into the control of its level; Categoria in upper case."""
        level = int(self.fields["Nivel"])  # type: ignore[arg-type]
        name = str(self.fields["Nome"])
        shown = name.upper() if level == 0 else name
        for index, control in enumerate(self.Texto):
            control.text = shown if index == level else ""
        _font, height, top = line_style(level, self.level)
        self.detail.height = height
        self.Texto[level].top = top
        rule = self.detail["Sublinha"]
        rule.visible = level == 0
        rule.top = height - 0.6
        self.counts[min(level, 4)] += 1
        self.path[level] = shown
        for deeper in range(level + 1, 5):
            self.path[deeper] = ""
        # A heading line never ends a page alone: it stays with the line after it.
        self.detail.keep_with_next = level < self.level
        self.detail.bookmark = (shown, level) if level < min(self.level, 3) else None
        self.detail.context = tuple(self.path[:level])

    def PageHeader_Format(self) -> None:
        header = self.page_header
        header["Empresa"].text = self.state.company_name.upper()
        header["Impresso"].text = "Impresso: " + long_date()
        title = LEVEL_TITLES.get(self.level)
        header["Niveis"].text = f"Níveis: Categoria a {title}" if title else ""
        path = [name for name in (self.page_context or ()) if name]
        header["Continua"].text = (" › ".join(path) + " (continuação)") if path else ""

    def PageFooter_Format(self) -> None:
        self.page_footer["Pagina"].text = "Página " + str(self.page_number)

    def ReportFooter_Format(self) -> None:
        shown = range(min(max(self.level, 0), 4) + 1)
        parts = [counted(self.counts[level], level) for level in shown]
        self.report_footer["Resumo"].text = "Total: " + ", ".join(parts) + "."

    def ReportEnd(self) -> None:
        self.close()

    def close(self) -> None:
        """Close and release the snapshot."""
        if self.recordset is not None:
            self.recordset.close()
            self.recordset = None
