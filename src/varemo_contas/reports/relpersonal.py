"""Part 4.4: `RelPersonal`, the personalised income and expense report.

Fed by `personal.PersonalFeed` from the path entries of a saved definition's marks; grouped
by Categoria, Setor, Grupo and Conta; one detail line per chosen item with its quantity and
money total in the period; "Soma da Conta " only under accounts with two or more items; the
income, expense and balance totals at the end, each formatted "##,##0.00".
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING

from varemo_contas.app import errorlog
from varemo_contas.data.errors import JetError
from varemo_contas.reports.engine import (
    Align,
    Font,
    Report,
    Summary,
    format_money,
    long_date,
)
from varemo_contas.reports.personal import FIELDS, PersonalFeed, item_paths
from varemo_contas.reports.totals import period_totals

if TYPE_CHECKING:
    from varemo_contas.app.state import State
    from varemo_contas.data.dao import Recordset

CAPTION = "Relatório Personalizado"
ROTINA_PERSONALIZADO = "Relatório Personalizado"
GREY = "#555555"
INDENT = 5.0  # mm per group level
QTY_LEFT, QTY_WIDTH = 110.0, 25.0
MONEY_LEFT, MONEY_WIDTH = 140.0, 35.0
GROUPS = (
    ("CategSup", "CategInf", "Categoria", Font(11.0, bold=True), "Total da Categoria "),
    ("SetorSup", "SetorInf", "Setor", Font(10.0, bold=True), "Total do Setor "),
    ("GrupoSup", "GrupoInf", "Grupo", Font(9.5, bold=True, italic=True), "Total do Grupo "),
    ("ContaSup", "ContaInf", "Conta", Font(9.5, bold=True), "Soma da Conta "),
)


def quantity_text(value: object) -> str:
    number = float(value or 0)
    return format_money(number) if number != int(number) else f"{int(number):,}".replace(",", ".")


class RelPersonal(Report):
    """The report of one saved definition (`name`) for the confirmed period in `state`."""

    caption = CAPTION

    def __init__(
        self,
        state: State,
        entries: Sequence[str] = (),
        name: str = "",
        lines: Recordset | None = None,
    ) -> None:
        super().__init__()
        self.state = state
        self.entries = list(entries)
        self.name = name
        self.lines = lines
        self.feed = PersonalFeed(self.entries)
        self.lines_in_conta = 0
        self._total = 0
        self._fed = 0
        self.caption = f"{CAPTION} - {name}" if name else CAPTION
        self._build()

    # -- sections --
    def _build(self) -> None:
        head = self.report_header
        head.height = 11.0
        head.text("Titulo", top=1.0, font=Font(14.0, bold=True), can_grow=True)

        page = self.page_header
        page.height = 17.0
        page.text("Empresa", top=0.0, font=Font(9.0, bold=True), color=GREY)
        page.text("Impresso", top=0.0, font=Font(8.5), align=Align.RIGHT, color=GREY)
        page.text("Periodo", top=4.6, font=Font(10.0, bold=True))
        page.text(
            "RotuloQde",
            left=QTY_LEFT,
            width=QTY_WIDTH,
            top=10.2,
            text="Quantidade",
            font=Font(8.5, bold=True),
            align=Align.RIGHT,
            color=GREY,
        )
        page.text(
            "RotuloValor",
            left=MONEY_LEFT,
            width=MONEY_WIDTH,
            top=10.2,
            text="Valor (R$)",
            font=Font(8.5, bold=True),
            align=Align.RIGHT,
            color=GREY,
        )
        page.line("Regua", top=15.0, thickness=0.4)

        for level, (head_name, foot_name, field, font, label) in enumerate(GROUPS):
            header, footer = self.add_group(head_name, foot_name, field, height=6.2 - level * 0.3)
            header.text("Nome", left=INDENT * level, top=1.0, data_field=field, font=font)
            footer.height = 6.0
            footer.text(
                "Rotulo",
                left=INDENT * level + 2,
                top=0.8,
                width=MONEY_LEFT - INDENT * level - 4,
                text=label,
                font=Font(9.0, italic=True),
                color=GREY,
            )
            footer.text(
                "Soma",
                left=MONEY_LEFT,
                width=MONEY_WIDTH,
                top=0.8,
                summary=Summary("Preco"),
                money=True,
                align=Align.RIGHT,
                font=Font(9.0, bold=True),
            )
            footer.line(
                "Linha",
                left=MONEY_LEFT + 5,
                width=MONEY_WIDTH - 5,
                top=0.3,
                thickness=0.2,
                color="#888888",
            )

        detail = self.detail
        detail.height = 5.0
        detail.text(
            "Item",
            left=INDENT * 4 + 2,
            top=0.5,
            width=QTY_LEFT - INDENT * 4 - 4,
            data_field="Item",
            font=Font(9.0),
        )
        detail.text(
            "Qde", left=QTY_LEFT, width=QTY_WIDTH, top=0.5, font=Font(9.0), align=Align.RIGHT
        )
        detail.text(
            "Preco",
            left=MONEY_LEFT,
            width=MONEY_WIDTH,
            top=0.5,
            data_field="Preco",
            money=True,
            font=Font(9.0),
            align=Align.RIGHT,
        )

        foot = self.page_footer
        foot.height = 9.0
        foot.line("Regua", top=2.0, thickness=0.3, color="#888888")
        foot.text("Sistema", top=3.4, font=Font(8.0), color=GREY, text="Varemo · " + CAPTION)
        foot.text("Pagina", top=3.4, font=Font(8.5), align=Align.RIGHT)

        end = self.report_footer
        end.height = 26.0
        end.line("Regua", top=3.0, thickness=0.5)
        rows = (
            ("Receitas", "Total de Receitas"),
            ("Despesas", "Total de Despesas"),
            ("Saldo", "Receitas menos Despesas"),
        )
        for index, (key, label) in enumerate(rows):
            top = 5.0 + index * 6.5
            bold = key == "Saldo"
            end.text(
                "Rotulo" + key,
                left=60.0,
                width=MONEY_LEFT - 62.0,
                top=top,
                text=label,
                font=Font(10.0, bold=bold),
                align=Align.RIGHT,
            )
            end.text(
                key,
                left=MONEY_LEFT,
                width=MONEY_WIDTH,
                top=top,
                font=Font(10.0, bold=True),
                align=Align.RIGHT,
            )

    # -- hooks --
    def ReportStart(self) -> None:
        """Part 4.4 report start: the orientation question and the title."""
        self.ask_portrait()
        self.report_header["Titulo"].text = "Relatório : " + self.name
        totals = {}
        try:
            # Every item's totals at once; they equal Part 4.1's two queries per item.
            totals = period_totals(
                self.state.database,
                item_paths(self.entries),
                self.state.period_start,
                self.state.period_end,
                self.lines,
            )
        except JetError as exc:
            errorlog.log_exception(self.state, ROTINA_PERSONALIZADO, exc)
        self.feed.totals = totals
        self._total = len(totals)
        self._fed = 0

    def DataInitialize(self) -> None:
        """Feed start: the seven fields, the feed before its first key, totals 0."""
        self.fields = dict.fromkeys(FIELDS)
        self.feed.DataInitialize()

    def FetchData(self) -> dict[str, object] | None:
        row = self.feed.FetchData()
        self._fed += 1
        if self._fed % 100 == 0:
            self.report_progress(self._fed, self._total)
        if row is None:
            return None
        self.current = row
        return {name: getattr(row, name) for name in FIELDS}

    def ContaSup_Format(self) -> None:
        self.lines_in_conta = 0

    def Detail_Format(self) -> None:
        self.lines_in_conta += 1
        qde = self.fields.get("Qde") or 0
        preco = self.fields.get("Preco") or 0
        # Part 4.4 step 5: a zero total hides its control.
        self.detail["Qde"].visible = qde != 0
        self.detail["Qde"].text = quantity_text(qde)
        self.detail["Preco"].visible = preco != 0

    def ContaInf_Format(self) -> None:
        footer = self.section("ContaInf")
        footer["Rotulo"].text = "Soma da Conta " + self.feed.previous[3]
        # An account with a single item gets no separate sum line.
        footer.visible = self.lines_in_conta >= 2

    def GrupoInf_Format(self) -> None:
        self.section("GrupoInf")["Rotulo"].text = "Total do Grupo " + self.feed.previous[2]

    def SetorInf_Format(self) -> None:
        self.section("SetorInf")["Rotulo"].text = "Total do Setor " + self.feed.previous[1]

    def CategInf_Format(self) -> None:
        self.section("CategInf")["Rotulo"].text = "Total da Categoria " + self.feed.previous[0]

    def PageHeader_Format(self) -> None:
        header = self.page_header
        header["Empresa"].text = self.state.company_name.upper()
        header["Impresso"].text = "Impresso: " + long_date()
        header["Periodo"].text = (
            "Período: De " + self.state.period_start + " a " + self.state.period_end
        )

    def PageFooter_Format(self) -> None:
        self.page_footer["Pagina"].text = "Página " + str(self.page_number)

    def ReportFooter_Format(self) -> None:
        end = self.report_footer
        end["Receitas"].text = format_money(self.feed.income_total)
        end["Despesas"].text = format_money(self.feed.expense_total)
        end["Saldo"].text = format_money(self.feed.balance)
