"""Part 4.6: the preview window `Visualiza`, its viewer `Visual`, Run report and the level dialog.

The viewer is driven as a person would: tools, the page box, the table of contents, find,
back and forward; the print and file dialogs are replaced through `visualiza.ask_printer`
and `visualiza.ask_pdf_path`, and the PDF written is read back with pdftotext.
"""

from __future__ import annotations

import shutil
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest
from PySide6.QtCore import QLocale, Qt
from PySide6.QtGui import QAction
from PySide6.QtPrintSupport import QPrinter
from PySide6.QtWidgets import QApplication

from varemo_contas.app import desktop
from varemo_contas.app.state import State
from varemo_contas.data.dao import Database
from varemo_contas.reports import nivelplano, runreport, visualiza
from varemo_contas.reports.engine import Report
from varemo_contas.reports.nivelplano import NivelPlano, ask_level
from varemo_contas.reports.relcontas import RelContas
from varemo_contas.reports.runreport import run_report
from varemo_contas.reports.viewer import ReportViewer
from varemo_contas.reports.visualiza import Visualiza

# Part 4.6 "Window load", verbatim: delivered caption -> (caption, tooltip).
TABLE = [
    ("Table Of Contents", "Índice", "Mostrar índice"),
    ("&Print...", "Imprimir...", "Imprimir relatório"),
    ("Copy", "Copiar", "Copiar relatório"),
    ("Find", "Localizar", "Localizar palavras no relatório"),
    ("Single View", "Vista Única", "Visualizar uma página"),
    ("Multi Page View", "Várias Páginas", "Visualizar várias páginas"),
    ("Zoom out", "Diminuir", "Reduzindo a visão"),
    ("Zoom in", "Aumentar", "Aumentando a visão"),
    ("PrevPage", "Página Anterior", "Mostra página anterior"),
    ("NextPage", "Próxima página", "Mostra próxima página"),
    ("Page Number Edit", "Digite o número da página", "Número da página mostrada"),
    ("&Back", "&Voltar", "Voltar página já mostrada"),
    ("F&orward", "&Avançar", "Avançar página já mostrada"),
]
needs_pdftotext = pytest.mark.skipif(
    shutil.which("pdftotext") is None, reason="poppler-utils (pdftotext) missing"
)


@pytest.fixture(autouse=True)
def pt_br() -> Iterator[None]:
    previous = QLocale()
    QLocale.setDefault(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))
    yield
    QLocale.setDefault(previous)


@pytest.fixture
def state(db: Database, tmp_path: Path) -> State:
    (tmp_path / "dados" / "Dados").mkdir(parents=True)
    return State(database=db, company_name="Padaria Teste", data_folder=str(tmp_path / "dados/"))


@pytest.fixture
def big_state(seeded_path: str, state: State) -> Iterator[State]:
    """A chart long enough for several pages: 2 Setores x 6 Grupos x 5 Contas x 6 Itens."""
    import sqlite3

    connection = sqlite3.connect(seeded_path)
    code = 100
    for s in range(2):
        code += 1
        setor = code
        connection.execute(
            "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (?, ?, 1)",
            (setor, f"Setor {s}"),
        )
        for g in range(6):
            code += 1
            grupo = code
            connection.execute(
                "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) VALUES (?, ?, ?)",
                (grupo, f"Grupo {s}.{g}", setor),
            )
            for k in range(5):
                code += 1
                conta = code
                connection.execute(
                    "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (?, ?, ?)",
                    (conta, f"Conta {s}.{g}.{k}", grupo),
                )
                for i in range(6):
                    code += 1
                    connection.execute(
                        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
                        "VALUES (?, ?, ?)",
                        (code, f"Item {s}.{g}.{k}.{i}", conta),
                    )
    connection.commit()
    connection.close()
    state.database.close()
    state.database = Database.open(seeded_path)
    yield state
    state.database.close()


def preview(qtbot, state: State, level: int = 4, **options) -> Visualiza:
    window = Visualiza(state, **options)
    qtbot.addWidget(window)
    window.RunReport(RelContas(state, level))
    window.resize(1000, 760)
    return window


def tool(window: Visualiza, english: str) -> QAction:
    return next(t for t in window.Visual.tools() if t.property("english_caption") == english)


def pdf_text(path: Path) -> str:
    return subprocess.run(
        ["pdftotext", "-layout", str(path), "-"], capture_output=True, text=True, check=True
    ).stdout


# --- window load -------------------------------------------------------------------------


def test_tools_are_translated_by_the_table_verbatim(qtbot, state: State) -> None:
    """Part 4.6 window load: each listed tool gets its caption and tooltip."""
    window = Visualiza(state)
    qtbot.addWidget(window)
    for english, caption, tooltip in TABLE:
        action = tool(window, english)
        assert (action.text(), action.toolTip()) == (caption, tooltip), english


def test_the_viewer_delivers_the_english_captions(qtbot) -> None:
    viewer = ReportViewer()
    qtbot.addWidget(viewer)
    captions = [t.text() for t in viewer.tools()]
    for english, _caption, _tooltip in TABLE:
        assert english in captions


def test_tools_with_other_captions_are_left_as_delivered(qtbot, state: State) -> None:
    viewer = ReportViewer()
    extra = QAction("Setup", viewer)
    extra.setToolTip("Page setup")
    viewer.toolbar.addAction(extra)
    window = Visualiza(state, viewer=viewer)
    qtbot.addWidget(window)
    assert (extra.text(), extra.toolTip()) == ("Setup", "Page setup")
    export = window.Visual.tool("ExportPdf")
    assert (export.text(), export.toolTip()) == (
        "Exportar PDF",
        "Gravar o relatório num arquivo PDF",
    )


def test_a_toolbar_lacking_tools_is_translated_as_far_as_it_goes(qtbot, state: State) -> None:
    """Part 4.6 edge case: nothing fails when listed tools are missing."""
    viewer = ReportViewer(tools=("Copy", "Find", "&Back"))
    window = Visualiza(state, viewer=viewer)
    qtbot.addWidget(window)
    assert [(t.text(), t.toolTip()) for t in window.Visual.tools()] == [
        ("Copiar", "Copiar relatório"),
        ("Localizar", "Localizar palavras no relatório"),
        ("&Voltar", "Voltar página já mostrada"),
    ]
    window.RunReport(RelContas(state, 1))
    assert window.Visual.page_count == 1


def test_display_choices_are_added_in_the_parts_order(qtbot, state: State) -> None:
    """ "Larg.Pág." at 1, "Índice" at 0, "Pág.Toda" at 2."""
    window = Visualiza(state)
    qtbot.addWidget(window)
    assert window.Visual.display_choices() == ["Índice", "Larg.Pág.", "Pág.Toda"]


def test_load_sets_the_zoom_to_100(qtbot, state: State) -> None:
    window = Visualiza(state)
    qtbot.addWidget(window)
    assert window.Visual.Zoom == 100


# --- RunReport -------------------------------------------------------------------------


def test_run_report_attaches_zooms_100_and_takes_the_caption(qtbot, state: State) -> None:
    window = Visualiza(state)
    qtbot.addWidget(window)
    window.Visual.Zoom = 50
    report = RelContas(state, 4)
    window.RunReport(report)
    assert window.Visual.ReportSource is report
    assert window.Visual.Zoom == 100
    assert window.windowTitle() == report.caption == "Plano de Contas"
    assert window.Visual.page_count == 1
    assert "DESPESAS" in window.Visual.page_text()


def test_the_viewer_fills_the_window_and_stays_filling_it_when_tiny(qtbot, state: State) -> None:
    """Part 4.6 edge case: resizing to a very small size keeps the viewer filling it."""
    window = preview(qtbot, state)
    window.show()
    qtbot.waitExposed(window)
    assert window.Visual.geometry() == window.rect()
    for width, height in ((40, 30), (3, 2), (1200, 900), (160, 90)):
        window.resize(width, height)
        QApplication.processEvents()
        assert window.Visual.geometry() == window.rect(), (width, height)
        assert window.Visual.pos().x() == 0 and window.Visual.pos().y() == 0


def test_closing_releases_the_report_source(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    report = window.Visual.ReportSource
    window.show()
    window.close()
    assert window.Visual.ReportSource is None
    assert window.Visual.document is None
    assert report.recordset is None


def test_escape_also_releases_the_report_source(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    window.show()
    qtbot.keyClick(window, Qt.Key.Key_Escape)
    assert window.Visual.ReportSource is None


# --- viewer: zoom, pages, history ------------------------------------------------------------


def test_zoom_in_and_out_step_through_the_zooms(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    tool(window, "Zoom in").trigger()
    assert window.Visual.Zoom == 125
    tool(window, "Zoom out").trigger()
    tool(window, "Zoom out").trigger()
    assert window.Visual.Zoom == 75
    page_width = window.Visual.canvas.page_pixels().width()
    assert page_width == round(210 * 0.75 * window.Visual.canvas.logicalDpiX() / 25.4)


def test_page_width_and_whole_page_choices(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    window.show()
    qtbot.waitExposed(window)
    viewer = window.Visual
    viewer.Exibicao_Click(viewer.display_choices().index("Larg.Pág."))
    viewport = viewer.scroll.viewport().width()
    assert abs(viewer.canvas.page_pixels().width() + 32 - viewport) <= 12
    viewer.Exibicao_Click(viewer.display_choices().index("Pág.Toda"))
    height = viewer.scroll.viewport().height()
    assert viewer.canvas.page_pixels().height() + 32 <= height + 2
    viewer.Exibicao_Click(viewer.display_choices().index("Índice"))
    assert not viewer.Indice.isHidden()


def test_next_previous_and_the_page_box(qtbot, big_state: State) -> None:
    window = preview(qtbot, big_state)
    window.show()
    qtbot.waitExposed(window)
    viewer = window.Visual
    count = viewer.page_count
    assert count >= 3
    assert viewer.TotalPaginas.text() == f"de {count}"
    assert not tool(window, "PrevPage").isEnabled()
    tool(window, "NextPage").trigger()
    assert viewer.current_page == 1 and viewer.NumeroPagina.text() == "2"
    tool(window, "PrevPage").trigger()
    assert viewer.current_page == 0
    viewer.NumeroPagina.setText("3")
    qtbot.keyClick(viewer.NumeroPagina, Qt.Key.Key_Return)
    assert viewer.current_page == 2
    viewer.NumeroPagina.setText("99")
    viewer.NumeroPagina_Enter()
    assert viewer.current_page == 2 and viewer.NumeroPagina.text() == "3"
    viewer.go_to_page(count - 1)
    assert not tool(window, "NextPage").isEnabled()


def test_back_and_forward_through_pages_visited(qtbot, big_state: State) -> None:
    window = preview(qtbot, big_state)
    viewer = window.Visual
    assert not tool(window, "&Back").isEnabled()
    viewer.go_to_page(2)
    viewer.go_to_page(1)
    tool(window, "&Back").trigger()
    assert viewer.current_page == 2
    tool(window, "&Back").trigger()
    assert viewer.current_page == 0
    assert not tool(window, "&Back").isEnabled()
    tool(window, "F&orward").trigger()
    assert viewer.current_page == 2
    viewer.go_to_page(0)  # a new visit forgets the pages ahead
    assert not tool(window, "F&orward").isEnabled()


def test_single_and_multiple_page_view(qtbot, big_state: State) -> None:
    window = preview(qtbot, big_state)
    window.show()
    qtbot.waitExposed(window)
    viewer = window.Visual
    tool(window, "Multi Page View").trigger()
    assert viewer.canvas.multiple and viewer.canvas.columns >= 2
    assert viewer.canvas.shown_pages() == list(range(viewer.page_count))
    assert tool(window, "Multi Page View").isChecked()
    rect = viewer.canvas.page_rect(1)
    qtbot.mouseClick(viewer.canvas, Qt.MouseButton.LeftButton, pos=rect.center().toPoint())
    assert viewer.current_page == 1
    tool(window, "Single View").trigger()
    assert not viewer.canvas.multiple and viewer.canvas.shown_pages() == [1]
    assert viewer.Zoom == 100  # the single view comes back at the zoom it had


def test_the_multiple_view_keeps_two_pages_across_when_the_window_narrows(
    qtbot, big_state: State
) -> None:
    window = preview(qtbot, big_state)
    window.show()
    qtbot.waitExposed(window)
    viewer = window.Visual
    viewer.set_multiple(True)
    tool(window, "Table Of Contents").trigger()
    window.resize(700, 600)
    QApplication.processEvents()
    assert viewer.canvas.columns >= 2
    assert viewer.canvas.width() <= viewer.scroll.viewport().width()


# --- table of contents, find, copy ---------------------------------------------------------


def test_table_of_contents_lists_the_groups_and_jumps(qtbot, big_state: State) -> None:
    window = preview(qtbot, big_state)
    viewer = window.Visual
    assert viewer.Indice.isHidden()
    tool(window, "Table Of Contents").trigger()
    assert not viewer.Indice.isHidden()
    tops = [viewer.Indice.topLevelItem(i).text(0) for i in range(viewer.Indice.topLevelItemCount())]
    assert tops == ["DESPESAS", "RECEITAS"]
    receitas = viewer.Indice.topLevelItem(1)
    setor = next(
        receitas.child(i)
        for i in range(receitas.childCount())
        if receitas.child(i).text(0) == "Setor 1"
    )
    viewer.Indice_Click(setor)
    assert viewer.current_page > 0
    assert "Setor 1" in viewer.page_text()
    tool(window, "Table Of Contents").trigger()
    assert viewer.Indice.isHidden()


def test_find_highlights_every_hit_and_next_walks_them(qtbot, big_state: State) -> None:
    window = preview(qtbot, big_state)
    viewer = window.Visual
    tool(window, "Find").trigger()
    assert not viewer.BarraLocalizar.isHidden()
    viewer.TextoLocalizar.setText("item 1.5.4")
    qtbot.keyClick(viewer.TextoLocalizar, Qt.Key.Key_Return)
    assert len(viewer.hits) == 6  # Item 1.5.4.0 .. Item 1.5.4.5, any case
    first = viewer.hits[0]
    assert viewer.current_page == first.page
    assert viewer.canvas.current_hit == first
    assert viewer.ResultadoLocalizar.text() == "1 de 6 ocorrências"
    viewer.find_next()
    assert viewer.canvas.current_hit == viewer.hits[1]
    for _ in range(5):
        viewer.find_next()
    assert viewer.canvas.current_hit == first  # wraps round
    viewer.find_previous()
    assert viewer.canvas.current_hit == viewer.hits[-1]


def test_find_ignores_accents_and_reports_no_match(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    viewer = window.Visual
    assert viewer.find("pao frances") == 2
    assert viewer.find("Impresso") == 0  # page headers repeat on every page: not searched
    viewer.TextoLocalizar.setText("inexistente")
    assert viewer.find_next() is None
    assert viewer.ResultadoLocalizar.text() == "Nenhuma ocorrência de “inexistente”"


def test_copy_puts_the_page_text_on_the_clipboard(qtbot, state: State) -> None:
    window = preview(qtbot, state)
    tool(window, "Copy").trigger()
    clipboard = QApplication.clipboard().mimeData()
    assert clipboard.text() == window.Visual.page_text()
    assert "Aluguel da loja" in clipboard.text()
    assert clipboard.hasImage()
    # An image left on the offscreen clipboard crashes the interpreter's exit: clean up.
    QApplication.clipboard().clear()


# --- export and print ---------------------------------------------------------------------------


@needs_pdftotext
def test_export_pdf_writes_the_report_to_the_chosen_path(
    qtbot, state: State, tmp_path: Path, monkeypatch
) -> None:
    asked = []

    def fake_path(parent, suggested: str) -> str:
        asked.append(suggested)
        return str(tmp_path / "plano")

    monkeypatch.setattr(visualiza, "ask_pdf_path", fake_path)
    window = preview(qtbot, state)
    tool(window, "Exportar PDF").trigger()
    assert asked and asked[0].endswith("Plano de Contas.pdf")
    written = tmp_path / "plano.pdf"
    text = pdf_text(written)
    for name in ("DESPESAS", "Despesas Administrativas", "Aluguel da loja", "CDB", "Página 1"):
        assert name in text
    assert window.Visual.Situacao.text() == "Relatório gravado em " + str(written)


def test_export_cancelled_writes_nothing(qtbot, state: State, tmp_path: Path, monkeypatch) -> None:
    monkeypatch.setattr(visualiza, "ask_pdf_path", lambda parent, suggested: None)
    window = preview(qtbot, state)
    assert window.Visual.export_pdf() is None
    assert not list(tmp_path.glob("*.pdf"))


def test_export_to_an_unwritable_path_says_so(
    qtbot, state: State, tmp_path: Path, monkeypatch, fake_desktop
) -> None:
    target = str(tmp_path / "nao-existe" / "plano.pdf")
    monkeypatch.setattr(visualiza, "ask_pdf_path", lambda parent, suggested: target)
    window = preview(qtbot, state)
    assert window.Visual.export_pdf() is None
    [box] = fake_desktop.boxes
    assert box.prompt.startswith("Não foi possível gravar o arquivo PDF:\r" + target + "\r")
    assert box.title == "Exportar PDF"
    assert box.buttons == desktop.vbExclamation


@needs_pdftotext
def test_print_paints_the_pages_chosen_on_the_printer(
    qtbot, big_state: State, tmp_path: Path, monkeypatch
) -> None:
    target = tmp_path / "impresso.pdf"

    def fake_printer(parent, document):
        printer = QPrinter(QPrinter.PrinterMode.HighResolution)
        printer.setOutputFormat(QPrinter.OutputFormat.PdfFormat)
        printer.setOutputFileName(str(target))
        printer.setPrintRange(QPrinter.PrintRange.PageRange)
        printer.setFromTo(2, 3)
        return printer

    monkeypatch.setattr(visualiza, "ask_printer", fake_printer)
    window = preview(qtbot, big_state)
    tool(window, "&Print...").trigger()
    sheets = pdf_text(target).rstrip("\f").split("\f")
    assert len(sheets) == 2
    assert "Página 2" in sheets[0] and "Página 3" in sheets[1]


def test_print_cancelled_prints_nothing(qtbot, state: State, monkeypatch) -> None:
    monkeypatch.setattr(visualiza, "ask_printer", lambda parent, document: None)
    window = preview(qtbot, state)
    assert window.Visual.print_report() is False


# --- Run report (ContaBas) ------------------------------------------------------------------


def test_run_report_1_shows_the_chart_listing_modally(qtbot, state: State, fake_desktop) -> None:
    seen = []

    def look(window) -> None:
        seen.append(
            (
                type(window).__name__,
                window.windowTitle(),
                window.Visual.Zoom,
                window.Visual.page_text(),
            )
        )
        qtbot.addWidget(window)

    fake_desktop.modal_hook = look
    result = run_report(state, 1, None, level=2)
    [(kind, title, zoom, text)] = seen
    assert (kind, title, zoom) == ("Visualiza", "Plano de Contas", 100)
    assert "Vendas Produtos" in text and "Aluguel da loja" not in text
    assert isinstance(result.Visual.ReportSource, RelContas)
    assert result.Visual.ReportSource.level == 2


def test_run_report_of_another_number_creates_and_shows_nothing(state: State, fake_desktop) -> None:
    assert run_report(state, 3) is None
    assert run_report(state, 0) is None
    assert fake_desktop.named("show_modal") == []


class Empty(Report):
    caption = "Relatório vazio"

    def __init__(self, state: State, **inputs: object) -> None:
        super().__init__()
        self.inputs = inputs


def test_run_report_2_uses_the_report_factory_given(qtbot, state: State, fake_desktop) -> None:
    fake_desktop.modal_hook = qtbot.addWidget
    result = run_report(state, 2, None, report=Empty, entries=["x"], name="Mensal")
    assert result.windowTitle() == "Relatório vazio"
    assert result.Visual.ReportSource.inputs == {"entries": ["x"], "name": "Mensal"}
    assert len(fake_desktop.named("show_modal")) == 1


def test_run_report_2_without_relpersonal_shows_nothing(
    state: State, fake_desktop, monkeypatch
) -> None:
    monkeypatch.setattr(runreport, "_relpersonal_factory", lambda: None)
    assert run_report(state, 2, None, entries=[]) is None
    assert fake_desktop.named("show_modal") == []


# --- the level dialog of "ID_PlanoContas" ---------------------------------------------------------


def test_level_dialog_offers_the_four_levels_item_first_chosen(qtbot) -> None:
    dialog = NivelPlano()
    qtbot.addWidget(dialog)
    assert [o.text().replace("&", "") for o in dialog.Opcao] == ["Setor", "Grupo", "Conta", "Item"]
    assert dialog.level() == 4
    assert (dialog.BotaoOK.text(), dialog.BotaoCancelar.text()) == ("OK", "Cancelar")
    assert dialog.windowTitle() == "Plano de Contas"


def test_ask_level_returns_the_level_chosen(qtbot, fake_desktop) -> None:
    def choose(window: NivelPlano) -> None:
        qtbot.addWidget(window)
        window.Opcao[1].setChecked(True)
        window.BotaoOK.click()

    fake_desktop.modal_hook = choose
    assert ask_level() == 2


def test_ask_level_cancelled_is_none(qtbot, fake_desktop) -> None:
    def cancel(window: NivelPlano) -> None:
        qtbot.addWidget(window)
        window.BotaoCancelar.click()

    fake_desktop.modal_hook = cancel
    assert ask_level() is None
    assert nivelplano.DEFAULT_LEVEL == 4


def test_plano_de_contas_command_asks_the_level_then_previews(qtbot, contas, fake_desktop) -> None:
    """Part 2.3 "ID_PlanoContas": the level question, then report 1 in the preview."""
    shown = []

    def hook(window) -> None:
        shown.append(window)
        if isinstance(window, NivelPlano):
            window.Opcao[2].setChecked(True)
            window.accept()
        else:
            qtbot.addWidget(window)

    fake_desktop.modal_hook = hook
    contas.tool_click("ID_PlanoContas")
    assert [type(w).__name__ for w in shown] == ["NivelPlano", "Visualiza"]
    text = shown[1].Visual.page_text()
    assert "Aluguel e condomínio" in text and "Aluguel da loja" not in text
