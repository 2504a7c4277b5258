"""The banded report engine behind Parts 4.4-4.6: feed, sections, pages, painting.

A small unbound report with two nested groups stands in for the Parts' reports: it is fed
from a list, sums a number column per group and for the report, and numbers its pages.
"""

from __future__ import annotations

import shutil
import subprocess
from collections.abc import Iterator

import pytest
from PySide6.QtCore import QLocale
from PySide6.QtGui import QColor

from varemo_contas.reports import painter
from varemo_contas.reports.engine import (
    Align,
    Font,
    Orientation,
    Report,
    Summary,
    format_money,
    long_date,
    text_width,
)
from varemo_contas.reports.layout import TextItem


@pytest.fixture
def pt_br() -> Iterator[None]:
    """Brazilian number and date formats for one test, then the previous default again."""
    previous = QLocale()
    QLocale.setDefault(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))
    yield
    QLocale.setDefault(previous)


class Listing(Report):
    """Rows (group, subgroup, name, value): headers per group, a detail, sums in footers."""

    caption = "Listagem de teste"

    def __init__(self, rows: list[tuple[str, str, str, float]], detail_height: float = 5.0):
        super().__init__()
        self.rows = rows
        self.position = -1
        self.calls: list[str] = []
        self.footer_fields: list[object] = []
        self.page_header.height = 10.0
        self.page_header.text("Titulo", text="Listagem", font=Font(12, bold=True))
        self.page_footer.height = 6.0
        self.page_footer.text("Pagina", top=1.0, align=Align.RIGHT)
        self.grupo, self.grupo_fim = self.add_group("GrupoSup", "GrupoInf", "Grupo", 8.0)
        self.grupo.text("Nome", data_field="Grupo", font=Font(11, bold=True))
        self.grupo_fim.height = 6.0
        self.grupo_fim.text("Rotulo", text="Soma do grupo")
        self.grupo_fim.text(
            "Soma", left=120, width=50, summary=Summary("Valor"), money=True, align=Align.RIGHT
        )
        self.sub, self.sub_fim = self.add_group("SubSup", "SubInf", "Sub", 7.0)
        self.sub.text("Nome", left=6, data_field="Sub")
        self.detail.height = detail_height
        self.detail.text("Nome", left=12, data_field="Nome")
        self.detail.text(
            "Valor", left=120, width=50, data_field="Valor", money=True, align=Align.RIGHT
        )
        self.report_footer.height = 8.0
        self.report_footer.text(
            "Total",
            left=120,
            width=50,
            summary=Summary("Valor", scope="report"),
            money=True,
            align=Align.RIGHT,
        )

    def ReportStart(self) -> None:
        self.calls.append("ReportStart")

    def DataInitialize(self) -> None:
        self.calls.append("DataInitialize")
        self.fields = {"Grupo": "", "Sub": "", "Nome": "", "Valor": 0.0}
        self.position = -1

    def FetchData(self) -> dict[str, object] | None:
        self.calls.append("FetchData")
        self.position += 1
        if self.position >= len(self.rows):
            return None
        grupo, sub, nome, valor = self.rows[self.position]
        return {"Grupo": grupo, "Sub": sub, "Nome": nome, "Valor": valor}

    def Detail_Format(self) -> None:
        # A format hook hides a control whose value is 0 (as Part 4.4 step 5 does).
        self.detail["Valor"].visible = self.fields["Valor"] != 0

    def GrupoInf_Format(self) -> None:
        self.footer_fields.append(self.fields["Grupo"])
        # The footer's sum line is hidden for a group of fewer than two lines (Part 4.4).
        self.grupo_fim["Soma"].visible = self.grupo_fim.group_rows >= 2

    def PageFooter_Format(self) -> None:
        self.page_footer["Pagina"].text = "Página " + str(self.page_number)

    def ReportEnd(self) -> None:
        self.calls.append("ReportEnd")


def body_texts(page) -> list[TextItem]:
    return [t for t in page.texts() if t.section not in ("PageHeader", "PageFooter")]


def many_rows(groups: int, subs: int, items: int) -> list[tuple[str, str, str, float]]:
    return [
        (f"Grupo {g:02d}", f"Sub {g:02d}.{s}", f"Item {g:02d}.{s}.{i}", float(i))
        for g in range(groups)
        for s in range(subs)
        for i in range(items)
    ]


# --- money and dates -----------------------------------------------------------------


def test_format_money_pt_br_groups_thousands_and_two_decimals(pt_br) -> None:
    """Part 4.4: "##,##0.00" in the user's locale."""
    assert format_money(1234.56) == "1.234,56"
    assert format_money(1234567.891) == "1.234.567,89"
    assert format_money(0) == "0,00"
    assert format_money(None) == "0,00"
    assert format_money(7) == "7,00"


def test_format_money_pt_br_minus_sign_leads(pt_br) -> None:
    """Part 4.4 edge case: a negative difference has a leading minus sign."""
    assert format_money(-1234.56) == "-1.234,56"
    assert format_money(-0.001) == "0,00"


def test_long_date_is_the_system_long_format(pt_br) -> None:
    """Parts 4.4/4.5: "Impresso: " + today in the long date format."""
    import datetime

    text = long_date(datetime.date(2026, 11, 5))
    assert "5 de novembro de 2026" in text


# --- feed, hooks, sections -------------------------------------------------------------


def test_hooks_run_in_activereports_order() -> None:
    report = Listing([("A", "a", "x", 1.0)])
    report.run()
    assert report.calls == ["ReportStart", "DataInitialize", "FetchData", "FetchData", "ReportEnd"]


def test_group_headers_details_and_footers_in_print_order() -> None:
    rows = [
        ("A", "a1", "x", 1.0),
        ("A", "a1", "y", 2.0),
        ("A", "a2", "z", 3.0),
        ("B", "b", "w", 4.0),
    ]
    document = Listing(rows).run()
    order = [(t.section, t.text) for t in body_texts(document.pages[0]) if t.control == "Nome"]
    assert order == [
        ("GrupoSup", "A"),
        ("SubSup", "a1"),
        ("Detail", "x"),
        ("Detail", "y"),
        ("SubSup", "a2"),
        ("Detail", "z"),
        ("GrupoSup", "B"),
        ("SubSup", "b"),
        ("Detail", "w"),
    ]


def test_group_footer_sums_its_group_and_report_footer_sums_all(pt_br) -> None:
    rows = [
        ("A", "a", "x", 1000.25),
        ("A", "a", "y", 234.31),
        ("B", "b", "w", 4.0),
        ("B", "b", "v", 1.5),
    ]
    document = Listing(rows).run()
    sums = [t.text for t in document.pages[0].texts() if t.control == "Soma"]
    total = [t.text for t in document.pages[0].texts() if t.control == "Total"]
    assert sums == ["1.234,56", "5,50"]
    assert total == ["1.240,06"]


def test_a_footer_hook_sees_the_next_row_as_in_activereports() -> None:
    """The next row is fetched before the footer: hence Part 4.4's "previous names"."""
    report = Listing([("A", "a", "x", 1.0), ("B", "b", "y", 2.0)])
    report.run()
    assert report.footer_fields == ["B", "B"]


def test_a_footer_sum_line_hidden_for_a_single_line_group(pt_br) -> None:
    document = Listing([("A", "a", "x", 5.0), ("B", "b", "y", 2.0), ("B", "b", "z", 3.0)]).run()
    sums = [t.text for t in document.pages[0].texts() if t.control == "Soma"]
    assert sums == ["5,00"]  # only group B, which has two lines
    labels = [t for t in document.pages[0].texts() if t.control == "Rotulo"]
    assert len(labels) == 2


def test_a_format_hook_hides_a_zero_value(pt_br) -> None:
    document = Listing([("A", "a", "x", 0.0), ("A", "a", "y", 2.0)]).run()
    values = [
        t.text for t in document.pages[0].texts() if t.section == "Detail" and t.control == "Valor"
    ]
    assert values == ["2,00"]


def test_no_rows_gives_one_page_with_headers_footers_and_zero_total(pt_br) -> None:
    document = Listing([]).run()
    assert len(document.pages) == 1
    texts = [t.text for t in document.pages[0].texts()]
    assert texts == ["Listagem", "0,00", "Página 1"]


def test_numbers_are_right_aligned_in_their_column(pt_br) -> None:
    document = Listing([("A", "a", "x", 1.0), ("A", "a", "y", 1234.5)]).run()
    values = [
        t for t in document.pages[0].texts() if t.section == "Detail" and t.control == "Valor"
    ]
    rights = {round(t.text_left() + text_width(t.text, t.font), 3) for t in values}
    assert len(rights) == 1
    assert rights == {round(values[0].x + values[0].width, 3)}
    assert values[1].text_left() < values[0].text_left()


def test_a4_portrait_and_landscape_page_sizes() -> None:
    report = Listing([("A", "a", "x", 1.0)])
    document = report.run()
    assert (document.page_width, document.page_height) == (210.0, 297.0)
    report.orientation = Orientation.LANDSCAPE
    document = report.run()
    assert (document.page_width, document.page_height) == (297.0, 210.0)
    assert document.orientation == Orientation.LANDSCAPE


def test_group_indentation_follows_the_controls() -> None:
    document = Listing([("A", "a", "x", 1.0)]).run()
    left = {t.section: t.x for t in body_texts(document.pages[0]) if t.control == "Nome"}
    assert left["GrupoSup"] < left["SubSup"] < left["Detail"]
    assert left["GrupoSup"] == pytest.approx(Listing([]).margins[0])


# --- pages -------------------------------------------------------------------------------


def test_a_long_listing_spans_pages_numbered_in_footers() -> None:
    document = Listing(many_rows(6, 4, 8)).run()
    assert len(document.pages) > 3
    for number, page in enumerate(document.pages, start=1):
        footer = [t.text for t in page.texts() if t.section == "PageFooter"]
        assert footer == ["Página " + str(number)]
        header = [t.text for t in page.texts() if t.section == "PageHeader"]
        assert header == ["Listagem"]


def test_bands_stay_between_page_header_and_page_footer() -> None:
    report = Listing(many_rows(6, 4, 8))
    document = report.run()
    top = report.margins[1] + report.page_header.height
    bottom = document.page_height - report.margins[3] - report.page_footer.height
    for page in document.pages:
        for item in body_texts(page):
            assert top - 1e-6 <= item.y and item.y + item.height <= bottom + 0.5


@pytest.mark.parametrize("detail_height", [4.0, 4.5, 5.0, 5.5, 6.3, 7.1])
def test_no_group_header_alone_at_a_page_foot(detail_height: float) -> None:
    """Keep-with-next: a group header is never the last band of a page."""
    document = Listing(many_rows(9, 3, 5), detail_height).run()
    assert len(document.pages) > 1
    for page in document.pages[:-1]:
        last = body_texts(page)[-1]
        assert last.section not in ("GrupoSup", "SubSup"), (page.number, last)


@pytest.mark.parametrize("detail_height", [4.0, 5.0, 6.0])
def test_nested_headers_move_with_their_first_detail(detail_height: float) -> None:
    document = Listing(many_rows(9, 3, 5), detail_height).run()
    for page in document.pages:
        body = body_texts(page)
        names = [t for t in body if t.control == "Nome"]
        for index, item in enumerate(names):
            if item.section == "GrupoSup":
                assert names[index + 1].section == "SubSup"
                assert names[index + 2].section == "Detail"


def test_a_header_that_would_end_a_page_starts_the_next() -> None:
    """Fill a page exactly so that a group header would land at its foot."""
    report = Listing([])
    body = (
        report.page_height
        - report.margins[1]
        - report.margins[3]
        - report.page_header.height
        - report.page_footer.height
    )
    # Group header 8 + sub header 7 + n details of 5 + footer 6, then a new group's header.
    first = 8 + 7 + 6
    n = int((body - first - 8 - 2) // 5)
    rows = [("A", "a", f"x{i}", 1.0) for i in range(n)] + [("B", "b", "y", 1.0)]
    document = Listing(rows).run()
    assert len(document.pages) == 2
    first_page = [t.text for t in body_texts(document.pages[0]) if t.control == "Nome"]
    assert "B" not in first_page
    second = [t.text for t in body_texts(document.pages[1]) if t.control == "Nome"]
    assert second[:3] == ["B", "b", "y"]


def test_toc_lists_group_headers_with_their_pages() -> None:
    document = Listing(many_rows(6, 2, 10)).run()
    top = [entry for entry in document.toc if entry.level == 0]
    assert [entry.text for entry in top] == [f"Grupo {g:02d}" for g in range(6)]
    for entry in document.toc:
        names = [t.text for t in document.pages[entry.page].texts() if t.control == "Nome"]
        assert entry.text in names
    assert {entry.level for entry in document.toc} == {0, 1}


def test_page_text_reads_rows_in_order(pt_br) -> None:
    document = Listing([("A", "a", "x", 2.0)]).run()
    assert document.pages[0].text().splitlines() == [
        "Listagem",
        "A",
        "a",
        "x\t2,00",
        "Soma do grupo",
        "2,00",
        "Página 1",
    ]


# --- painting --------------------------------------------------------------------------------


def test_a_page_paints_ink_on_an_image() -> None:
    document = Listing([("A", "a", "x", 2.0)]).run()
    image = painter.page_image(document, 0, dpi=60)
    assert image.width() == round(210 / 25.4 * 60)
    white = QColor("white").rgb()
    inked = sum(
        1
        for y in range(0, image.height(), 2)
        for x in range(0, image.width(), 2)
        if image.pixel(x, y) != white
    )
    assert inked > 50


@pytest.mark.skipif(shutil.which("pdftotext") is None, reason="poppler-utils missing")
def test_pdf_has_one_sheet_per_page_and_reads_back(tmp_path) -> None:
    document = Listing(many_rows(4, 3, 8)).run()
    content = painter.pdf_bytes(document)
    assert content.startswith(b"%PDF")
    path = tmp_path / "listagem.pdf"
    path.write_bytes(content)
    text = subprocess.run(
        ["pdftotext", "-layout", str(path), "-"], capture_output=True, text=True, check=True
    ).stdout
    sheets = text.rstrip("\f").split("\f")
    assert len(sheets) == len(document.pages)
    assert "Item 03.2.7" in sheets[-1]
    assert "Página " + str(len(document.pages)) in sheets[-1]


def test_write_pdf_to_an_unwritable_path_raises_oserror(tmp_path) -> None:
    document = Listing([]).run()
    with pytest.raises(OSError):
        painter.write_pdf(document, str(tmp_path / "falta" / "x.pdf"))
