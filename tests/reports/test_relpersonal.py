"""Part 4.4: `RelPersonal` laid out on pages, and the "Ver" button of Part 2.1.

Seeded company (tests/conftest.py): report 1 "Resultado Mensal" marks, under Despesas >
Despesas Administrativas, the whole Grupo "Ocupação": the Conta "Aluguel e condomínio"
(two items, 6 and 7) and the Conta "Energia" (one item, 8).
"""

from __future__ import annotations

import pytest

from varemo_contas.app import desktop
from varemo_contas.app.state import State
from varemo_contas.reports.dataperiodo import DataPeriodo
from varemo_contas.reports.engine import ORIENTATION_PROMPT, ORIENTATION_TITLE, Orientation
from varemo_contas.reports.entries import report_entries
from varemo_contas.reports.relpersonal import RelPersonal
from varemo_contas.reports.visualiza import Visualiza


@pytest.fixture
def state(db) -> State:
    state = State()
    state.database = db
    state.company_name = "Padaria Teste Ltda"
    state.period_start = "01-03-2026"
    state.period_end = "31-03-2026"
    return state


def page_texts(report: RelPersonal) -> list[str]:
    document = report.document or report.run()
    return [item.text for page in document.pages for item in page.items if hasattr(item, "text")]


def test_entries_of_a_saved_definition_follow_its_marks(db):
    assert report_entries(db, 1) == [
        "Despesas0N",
        "Despesas Administrativas1S",
        "Ocupação2S",
        "Aluguel e condomínio3S",
        "Aluguel da loja4S",
        "Condomínio4S",
        "Energia3S",
        "Conta de luz4S",
    ]


def test_title_period_and_page_footer_texts(state, db):
    texts = page_texts(RelPersonal(state, report_entries(db, 1), "Resultado Mensal"))
    assert "Relatório : Resultado Mensal" in texts
    assert "Período: De 01-03-2026 a 31-03-2026" in texts
    assert "Página 1" in texts
    assert any(text.startswith("Impresso: ") for text in texts)


def test_a_conta_with_two_items_has_its_sum_line_and_one_with_one_item_has_none(state, db):
    texts = page_texts(RelPersonal(state, report_entries(db, 1), "Resultado Mensal"))
    assert "Soma da Conta Aluguel e condomínio" in texts
    assert "Soma da Conta Energia" not in texts


def test_the_three_final_values_are_formatted_in_the_users_locale(state, db):
    report = RelPersonal(state, report_entries(db, 1), "Resultado Mensal")
    texts = page_texts(report)
    # Purchases in March: rent 2.500,00 (item 6) and light 420,50 (item 8); no income chosen.
    assert report.report_footer["Receitas"].text == "0,00"
    assert report.report_footer["Despesas"].text == "2.920,50"
    assert report.report_footer["Saldo"].text == "-2.920,50"
    assert "-2.920,50" in texts


def test_an_item_without_movement_prints_without_numbers(state, db):
    report = RelPersonal(state, report_entries(db, 1), "Resultado Mensal")
    report.run()
    lines = [
        item
        for page in report.document.pages
        for item in page.items
        if getattr(item, "section", "") == "Detail"
    ]
    condominio = [item for item in lines if getattr(item, "text", "") == "Condomínio"]
    assert condominio
    row_y = condominio[0].y
    assert [item.text for item in lines if getattr(item, "y", None) == row_y] == ["Condomínio"]


def test_a_definition_with_no_items_gives_no_detail_lines_and_zero_totals(state):
    report = RelPersonal(state, [], "Vazio")
    texts = page_texts(report)
    assert report.report_footer["Receitas"].text == "0,00"
    assert report.report_footer["Despesas"].text == "0,00"
    assert report.report_footer["Saldo"].text == "0,00"
    assert "Relatório : Vazio" in texts


def test_landscape_asks_for_portrait_and_yes_switches(state, db, fake_desktop):
    report = RelPersonal(state, report_entries(db, 1), "Resultado Mensal")
    report.orientation = Orientation.LANDSCAPE
    fake_desktop.answers = [desktop.vbYes]
    report.run()
    [box] = fake_desktop.boxes
    assert (box.prompt, box.title) == (ORIENTATION_PROMPT, ORIENTATION_TITLE)
    assert box.buttons == desktop.vbYesNo + desktop.vbQuestion
    assert report.orientation == Orientation.PORTRAIT


def test_ver_asks_the_period_then_previews_the_chosen_report(contas, fake_desktop):
    """Part 2.1 "Ver": DataPeriodo, then report number 2 in Visualiza, both modal."""
    shown = []

    def modal(window) -> None:
        shown.append(window)
        if isinstance(window, DataPeriodo):
            window.Datas[0].setValue(__import__("datetime").date(2026, 3, 1))
            window.Datas[1].setValue(__import__("datetime").date(2026, 3, 31))
            window.Botao_Click(1)

    fake_desktop.modal_hook = modal
    contas.tool_click("ID_Relatorios")
    contas.Relatos.item(0).setSelected(True)
    contas.BotaoVer_Click()
    assert [type(window) for window in shown] == [DataPeriodo, Visualiza]
    report = shown[1].Visual.ReportSource
    assert isinstance(report, RelPersonal)
    assert report.report_footer["Despesas"].text == "2.920,50"


def test_ver_without_a_chosen_report_asks_to_choose_one(contas, fake_desktop):
    contas.tool_click("ID_Relatorios")
    contas.BotaoVer_Click()
    assert [box.prompt for box in fake_desktop.boxes] == ["Primeiro selecione o relatório na lista"]
    assert fake_desktop.named("show_modal") == []


def test_ver_cancelled_period_shows_no_report(contas, fake_desktop):
    fake_desktop.modal_hook = lambda window: window.Botao_Click(0)
    contas.tool_click("ID_Relatorios")
    contas.Relatos.item(0).setSelected(True)
    contas.BotaoVer_Click()
    assert [type(call.args[0]) for call in fake_desktop.named("show_modal")] == [DataPeriodo]


def test_the_preview_is_prepared_under_a_progress_bar(contas, fake_desktop):
    """Issue 5: a report that takes more than a second shows a progress bar (the real
    bar appears only after a second); it is closed before the preview shows."""
    fake_desktop.modal_hook = lambda window: (
        window.Botao_Click(1) if isinstance(window, DataPeriodo) else None
    )
    contas.tool_click("ID_Relatorios")
    contas.Relatos.item(0).setSelected(True)
    contas.BotaoVer_Click()
    [call] = fake_desktop.named("progress")
    assert call.args == ("Preparando o relatório...", 100)
    [bar] = fake_desktop.bars
    assert bar.closed
